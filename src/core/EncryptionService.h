#pragma once

#include "core/SecureBytes.h"

#include <QString>

#include <optional>

namespace pexi {

class Vault;

// Checks a recall secret by deriving the vault key and decrypting the vault's verifier.
// The key of the last secret that passed is kept for the unlock that follows, so the slow
// key derivation runs once per unlock.
class EncryptionService
{
public:
    static EncryptionService &shared();
    explicit EncryptionService(Vault &vault);

    // Throws VaultError when the vault cannot be read or this device has no key for it.
    bool checkRecallSecret(const QString &secret);
    // The vault key for `secret`: the cached one when it was just checked, else derived now.
    // None when the secret does not open the vault.
    std::optional<SecureBytes> keyForSecret(const SecureBytes &secret);
    void forgetKeys();

private:
    Vault &m_vault;
    SecureBytes m_checkedSecret;
    SecureBytes m_checkedKey;
};

} // namespace pexi
