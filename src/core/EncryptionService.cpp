#include "core/EncryptionService.h"

#include "core/Vault.h"

namespace pexi {

EncryptionService &EncryptionService::shared()
{
    static EncryptionService service(Vault::shared());
    return service;
}

EncryptionService::EncryptionService(Vault &vault) : m_vault(vault)
{
}

bool EncryptionService::checkRecallSecret(const QString &secret)
{
    SecureBytes candidate = SecureBytes::fromUtf8(secret);
    std::optional<SecureBytes> key = m_vault.keyForSecret(candidate);
    forgetKeys();
    if (!key)
        return false;
    m_checkedSecret = std::move(candidate);
    m_checkedKey = std::move(*key);
    return true;
}

std::optional<SecureBytes> EncryptionService::keyForSecret(const SecureBytes &secret)
{
    if (!m_checkedKey.isEmpty() && m_checkedSecret.equals(secret))
        return m_checkedKey.clone();
    return m_vault.keyForSecret(secret);
}

void EncryptionService::forgetKeys()
{
    m_checkedSecret.clear();
    m_checkedKey.clear();
}

} // namespace pexi
