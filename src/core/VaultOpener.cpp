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
    std::unique_ptr<VaultFile> file = VaultFile::open(m_filePath);
    // Re-created since this opener was made: the key belongs to the vault that is gone.
    if (file->header().vaultId != m_header.vaultId)
        throw VaultError(QStringLiteral("The vault was replaced while it was being opened."));
    return VaultSession::open(std::move(file), [&]() -> std::optional<SecureBytes> {
        std::optional<SecureBytes> key = Vault::keyForSecret(m_header, secret, m_deviceKey);
        // On a connection of its own: the session's is busy reading meanwhile.
        if (key && m_header.mac.isEmpty())
            Vault::sealHeader(*VaultFile::open(m_filePath), m_deviceKey);
        return key;
    });
}

} // namespace pexi
