#include "core/VaultCipher.h"

#include "core/VaultError.h"

#include <sodium.h>

namespace pexi {

namespace {
void ensureSodium()
{
    // Once: sodium_init takes a process-wide lock on every call, and items are opened by the
    // hundred thousand on several threads.
    static const bool initialised = sodium_init() >= 0;
    if (!initialised)
        throw VaultError(QStringLiteral("The cryptography library could not be initialised."));
}

const QByteArray keyContext = QByteArrayLiteral("pexi vault key v1");
const QByteArray headerContext = QByteArrayLiteral("pexi vault header v1");
} // namespace

QByteArray VaultCipher::randomBytes(std::size_t size)
{
    ensureSodium();
    QByteArray bytes(static_cast<qsizetype>(size), Qt::Uninitialized);
    randombytes_buf(bytes.data(), size);
    return bytes;
}

SecureBytes VaultCipher::randomKey()
{
    ensureSodium();
    SecureBytes key(KeySize);
    randombytes_buf(key.data(), key.size());
    return key;
}

SecureBytes VaultCipher::deriveKey(const SecureBytes &secret, const QByteArray &salt,
                                   quint64 opsLimit, quint64 memLimit, const SecureBytes &deviceKey)
{
    ensureSodium();
    if (salt.size() != static_cast<qsizetype>(crypto_pwhash_SALTBYTES) ||
        deviceKey.size() != KeySize || opsLimit < MinOpsLimit || opsLimit > MaxOpsLimit ||
        memLimit < MinMemLimit || memLimit > MaxMemLimit)
        throw VaultError(QStringLiteral("The vault's header is damaged (its key derivation "
                                        "settings are out of range)."));

    SecureBytes stretched(KeySize);
    if (crypto_pwhash(stretched.data(), stretched.size(),
                      reinterpret_cast<const char *>(secret.data()), secret.size(),
                      reinterpret_cast<const unsigned char *>(salt.constData()), opsLimit,
                      static_cast<size_t>(memLimit), crypto_pwhash_ALG_ARGON2ID13) != 0)
        throw VaultError(QStringLiteral("Not enough memory to derive the vault key."));

    SecureBytes key(KeySize);
    crypto_generichash_state state;
    crypto_generichash_init(&state, deviceKey.data(), deviceKey.size(), key.size());
    crypto_generichash_update(&state,
                              reinterpret_cast<const unsigned char *>(keyContext.constData()),
                              static_cast<unsigned long long>(keyContext.size()));
    crypto_generichash_update(&state, stretched.data(), stretched.size());
    crypto_generichash_final(&state, key.data(), key.size());
    sodium_memzero(&state, sizeof state);
    return key;
}

VaultCipher::Sealed VaultCipher::seal(const SecureBytes &key, const QByteArray &plaintext,
                                      const QByteArray &associatedData)
{
    ensureSodium();
    Sealed sealed;
    sealed.nonce = randomBytes(crypto_aead_xchacha20poly1305_ietf_NPUBBYTES);
    sealed.ciphertext.resize(plaintext.size() + crypto_aead_xchacha20poly1305_ietf_ABYTES);
    unsigned long long length = 0;
    crypto_aead_xchacha20poly1305_ietf_encrypt(
        reinterpret_cast<unsigned char *>(sealed.ciphertext.data()), &length,
        reinterpret_cast<const unsigned char *>(plaintext.constData()),
        static_cast<unsigned long long>(plaintext.size()),
        reinterpret_cast<const unsigned char *>(associatedData.constData()),
        static_cast<unsigned long long>(associatedData.size()), nullptr,
        reinterpret_cast<const unsigned char *>(sealed.nonce.constData()), key.data());
    sealed.ciphertext.resize(static_cast<qsizetype>(length));
    return sealed;
}

std::optional<QByteArray> VaultCipher::open(const SecureBytes &key, const Sealed &sealed,
                                            const QByteArray &associatedData)
{
    QByteArray plaintext;
    if (!openInto(key, sealed, associatedData, plaintext))
        return std::nullopt;
    return plaintext;
}

bool VaultCipher::openInto(const SecureBytes &key, const Sealed &sealed,
                           const QByteArray &associatedData, QByteArray &plaintext)
{
    ensureSodium();
    if (key.size() != KeySize ||
        sealed.nonce.size() !=
            static_cast<qsizetype>(crypto_aead_xchacha20poly1305_ietf_NPUBBYTES) ||
        sealed.ciphertext.size() <
            static_cast<qsizetype>(crypto_aead_xchacha20poly1305_ietf_ABYTES))
        return false;
    plaintext.resize(sealed.ciphertext.size() - crypto_aead_xchacha20poly1305_ietf_ABYTES);
    unsigned long long length = 0;
    if (crypto_aead_xchacha20poly1305_ietf_decrypt(
            reinterpret_cast<unsigned char *>(plaintext.data()), &length, nullptr,
            reinterpret_cast<const unsigned char *>(sealed.ciphertext.constData()),
            static_cast<unsigned long long>(sealed.ciphertext.size()),
            reinterpret_cast<const unsigned char *>(associatedData.constData()),
            static_cast<unsigned long long>(associatedData.size()),
            reinterpret_cast<const unsigned char *>(sealed.nonce.constData()), key.data()) != 0)
        return false;
    plaintext.resize(static_cast<qsizetype>(length));
    return true;
}

QByteArray VaultCipher::headerMac(const SecureBytes &deviceKey, const QByteArray &message)
{
    ensureSodium();
    QByteArray mac(crypto_generichash_BYTES, Qt::Uninitialized);
    crypto_generichash_state state;
    crypto_generichash_init(&state, deviceKey.data(), deviceKey.size(), size_t(mac.size()));
    for (const QByteArray *part : {&headerContext, &message})
        crypto_generichash_update(&state,
                                  reinterpret_cast<const unsigned char *>(part->constData()),
                                  static_cast<unsigned long long>(part->size()));
    crypto_generichash_final(&state, reinterpret_cast<unsigned char *>(mac.data()),
                             size_t(mac.size()));
    return mac;
}

bool VaultCipher::macMatches(const QByteArray &mac, const QByteArray &expected)
{
    return mac.size() == expected.size() &&
           sodium_memcmp(mac.constData(), expected.constData(), size_t(mac.size())) == 0;
}

} // namespace pexi
