#pragma once

#include "core/SecureBytes.h"

#include <QByteArray>

#include <optional>

namespace pexi {

// Key derivation and authenticated encryption of the vault.
class VaultCipher
{
public:
    static constexpr std::size_t KeySize = 32;
    static constexpr std::size_t SaltSize = 16;
    // Argon2id: 64 MiB and 3 passes; a picture secret has ~26 bits, so the device key,
    // not this cost, is what defeats offline guessing. The cost still slows guessing on a
    // device that holds both.
    static constexpr quint64 DefaultOpsLimit = 3;
    static constexpr quint64 DefaultMemLimit = 64ull * 1024 * 1024;
    // Costs a vault may ask for. Anything outside is damage or a trap (a header asking for
    // terabytes of memory): refused before deriving.
    static constexpr quint64 MinOpsLimit = 1;
    static constexpr quint64 MaxOpsLimit = 16;
    static constexpr quint64 MinMemLimit = 8ull * 1024 * 1024;
    static constexpr quint64 MaxMemLimit = 1024ull * 1024 * 1024;

    struct Sealed
    {
        QByteArray nonce;
        QByteArray ciphertext;
    };

    static QByteArray randomBytes(std::size_t size);
    static SecureBytes randomKey();

    // Argon2id over the secret, then BLAKE2b keyed with the device key: both are needed.
    static SecureBytes deriveKey(const SecureBytes &secret, const QByteArray &salt,
                                 quint64 opsLimit, quint64 memLimit, const SecureBytes &deviceKey);

    // XChaCha20-Poly1305 with a fresh random nonce; `associatedData` binds the ciphertext to
    // its place (an item's uuid), so rows cannot be swapped unnoticed.
    static Sealed seal(const SecureBytes &key, const QByteArray &plaintext,
                       const QByteArray &associatedData);
    static std::optional<QByteArray> open(const SecureBytes &key, const Sealed &sealed,
                                          const QByteArray &associatedData);
    // The same into `plaintext`, whose capacity is reused: no allocation per item at unlock.
    static bool openInto(const SecureBytes &key, const Sealed &sealed,
                         const QByteArray &associatedData, QByteArray &plaintext);

    // Keyed BLAKE2b over `message`, under the device key, apart from the vault key's use of it.
    static QByteArray headerMac(const SecureBytes &deviceKey, const QByteArray &message);
    static bool macMatches(const QByteArray &mac, const QByteArray &expected);
};

} // namespace pexi
