#pragma once

#include "core/SecureBytes.h"

#include <QString>

#include <memory>
#include <optional>

namespace pexi {

// Where this device keeps the 256-bit key that every vault key is bound to. It never lives in
// the vault file, so a copied or synced vault is useless without it.
class DeviceKeyStore
{
public:
    virtual ~DeviceKeyStore() = default;
    // Keys are kept per vault, by the vault's account id.
    virtual std::optional<SecureBytes> load(const QString &accountId) = 0;
    // Throws VaultError when the key cannot be stored.
    virtual void store(const QString &accountId, const SecureBytes &key) = 0;
    virtual QString describeLocation(const QString &accountId) const = 0;

    // The keyring when a Secret Service answers on the session bus, else a 0600 file under the
    // user's configuration directory.
    static std::shared_ptr<DeviceKeyStore> system();

    static QString encode(const SecureBytes &key);
    static std::optional<SecureBytes> decode(const QString &text);
};

// One file per vault in a 0700 directory, each file 0600.
class FileDeviceKeyStore : public DeviceKeyStore
{
public:
    explicit FileDeviceKeyStore(QString directory);
    // $XDG_CONFIG_HOME/pexi/device-keys (or ~/.config/pexi/device-keys).
    static QString defaultDirectory();

    std::optional<SecureBytes> load(const QString &accountId) override;
    void store(const QString &accountId, const SecureBytes &key) override;
    QString describeLocation(const QString &accountId) const override;

private:
    QString pathFor(const QString &accountId) const;
    QString m_directory;
};

// The desktop keyring through QtKeychain. Reads fall back to the file store, so a key written
// before a keyring was available is still found.
class KeyringDeviceKeyStore : public DeviceKeyStore
{
public:
    explicit KeyringDeviceKeyStore(std::shared_ptr<FileDeviceKeyStore> fallback);
    static bool isAvailable();

    std::optional<SecureBytes> load(const QString &accountId) override;
    void store(const QString &accountId, const SecureBytes &key) override;
    QString describeLocation(const QString &accountId) const override;

private:
    std::shared_ptr<FileDeviceKeyStore> m_fallback;
};

} // namespace pexi
