#include "core/VaultOpener.h"

#include "core/Vault.h"
#include "core/VaultError.h"
#include "core/VaultFile.h"
#include "core/VaultSession.h"

namespace pexi {

VaultOpener::VaultOpener(Vault &vault)
    : m_filePath(vault.filePath()), m_header(vault.header()), m_deviceKey(vault.requireDeviceKey())
{
}

std::unique_ptr<VaultSession> VaultOpener::open(const SecureBytes &secret) const
{
    std::optional<SecureBytes> key = Vault::keyForSecret(m_header, secret, m_deviceKey);
    if (!key)
        return nullptr;
    std::unique_ptr<VaultFile> file = VaultFile::open(m_filePath);
    // Re-created since this opener was made: the key belongs to the vault that is gone.
    if (file->header().vaultId != m_header.vaultId)
        throw VaultError(QStringLiteral("The vault was replaced while it was being opened."));
    Vault::sealHeader(*file, m_deviceKey);
    return std::make_unique<VaultSession>(std::move(file), std::move(*key));
}

} // namespace pexi
