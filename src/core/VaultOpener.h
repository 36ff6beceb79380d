#pragma once

#include "core/SecureBytes.h"
#include "core/VaultHeader.h"

#include <QString>

#include <memory>

namespace pexi {

class Vault;
class VaultSession;

// The slow half of an unlock, made to run off the thread that shows the vault: what it needs of
// the vault (where it is, its header, this device's key) is taken when it is made, on the
// calling thread, so open() shares nothing and posts nothing. Locker::install() is the quick
// half, back on the caller's thread.
class VaultOpener
{
public:
    // Throws VaultError when there is no readable vault or this device has no key for it.
    explicit VaultOpener(Vault &vault);

    // Derives the key of `secret` and decrypts every item: from a tenth of a second to about a
    // second. Null when the secret does not open the vault. Throws VaultError when the file
    // cannot be read.
    std::unique_ptr<VaultSession> open(const SecureBytes &secret) const;

private:
    QString m_filePath;
    VaultHeader m_header;
    SecureBytes m_deviceKey;
};

} // namespace pexi
