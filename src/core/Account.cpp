#include "core/Account.h"

#include "core/Vault.h"
#include "core/VaultError.h"

namespace pexi {

Account &Account::shared()
{
    static Account account(Vault::shared());
    return account;
}

Account::Account(Vault &vault) : m_vault(vault)
{
}

std::optional<QUuid> Account::userIdentifier() const
{
    if (!m_vault.exists())
        return std::nullopt;
    try {
        return m_vault.header().accountId;
    } catch (const VaultError &) {
        return std::nullopt;
    }
}

void Account::takeRecallSecret(const QString &secret)
{
    m_secret = SecureBytes::fromUtf8(secret);
}

const SecureBytes &Account::recallSecret() const
{
    return m_secret;
}

void Account::forgetRecallSecret()
{
    m_secret.clear();
}

} // namespace pexi
