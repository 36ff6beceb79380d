#include "core/DeviceKeyStore.h"

#include "core/PrivateDirectory.h"
#include "core/VaultCipher.h"
#include "core/VaultError.h"

#include <QCoreApplication>
#include <QDBusConnection>
#include <QDBusConnectionInterface>
#include <QDir>
#include <QEventLoop>
#include <QSaveFile>
#include <QStandardPaths>
#include <QTimer>

#include <qt6keychain/keychain.h>
#include <sodium.h>

namespace pexi {

namespace {
const QString keyringService = QStringLiteral("Pexi device key");

QString keyringKey(const QString &accountId)
{
    return QStringLiteral("vault-%1").arg(accountId);
}

// Runs a QtKeychain job to completion; QtKeychain only reports through signals.
bool runJob(QKeychain::Job &job)
{
    QEventLoop loop;
    QObject::connect(&job, &QKeychain::Job::finished, &loop, &QEventLoop::quit);
    QTimer::singleShot(10000, &loop, &QEventLoop::quit);
    job.setAutoDelete(false);
    job.start();
    loop.exec();
    return job.error() == QKeychain::NoError;
}
} // namespace

QString DeviceKeyStore::encode(const SecureBytes &key)
{
    return QString::fromLatin1(
        QByteArray(reinterpret_cast<const char *>(key.data()), qsizetype(key.size())).toBase64());
}

std::optional<SecureBytes> DeviceKeyStore::decode(const QString &text)
{
    const auto decoded = QByteArray::fromBase64Encoding(text.trimmed().toLatin1(),
                                                        QByteArray::AbortOnBase64DecodingErrors);
    QByteArray bytes = decoded.decoded;
    std::optional<SecureBytes> key;
    if (decoded && bytes.size() == qsizetype(VaultCipher::KeySize))
        key = SecureBytes::fromBytes(bytes);
    sodium_memzero(bytes.data(), size_t(bytes.size()));
    return key;
}

std::shared_ptr<DeviceKeyStore> DeviceKeyStore::system()
{
    auto files = std::make_shared<FileDeviceKeyStore>(FileDeviceKeyStore::defaultDirectory());
    if (KeyringDeviceKeyStore::isAvailable())
        return std::make_shared<KeyringDeviceKeyStore>(files);
    return files;
}

FileDeviceKeyStore::FileDeviceKeyStore(QString directory) : m_directory(std::move(directory))
{
}

QString FileDeviceKeyStore::defaultDirectory()
{
    return QStandardPaths::writableLocation(QStandardPaths::GenericConfigLocation) +
           QStringLiteral("/pexi/device-keys");
}

QString FileDeviceKeyStore::pathFor(const QString &accountId) const
{
    return m_directory + QLatin1Char('/') + accountId;
}

std::optional<SecureBytes> FileDeviceKeyStore::load(const QString &accountId)
{
    QFile file(pathFor(accountId));
    if (!file.exists())
        return std::nullopt;
    // There but not usable is not the same as missing: importing a key again would not help.
    if (!file.open(QIODevice::ReadOnly))
        throw VaultError(QStringLiteral("The device key %1 is there but cannot be read (%2).")
                             .arg(file.fileName(), file.errorString()));
    QByteArray text = file.read(256);
    auto key = decode(QString::fromLatin1(text));
    sodium_memzero(text.data(), size_t(text.size()));
    if (!key)
        throw VaultError(QStringLiteral("The device key %1 is damaged; it was left untouched.")
                             .arg(file.fileName()));
    return key;
}

void FileDeviceKeyStore::store(const QString &accountId, const SecureBytes &key)
{
    if (!makePrivateDirectory(m_directory))
        throw VaultError(QStringLiteral("Cannot create %1 for the device key.").arg(m_directory));
    QSaveFile file(pathFor(accountId));
    // Restrict before any byte of the key is written.
    if (!file.open(QIODevice::WriteOnly) ||
        !file.setPermissions(QFile::ReadOwner | QFile::WriteOwner))
        throw VaultError(
            QStringLiteral("Cannot write the device key to %1.").arg(pathFor(accountId)));
    QByteArray text = encode(key).toLatin1() + '\n';
    file.write(text);
    sodium_memzero(text.data(), size_t(text.size()));
    if (!file.commit())
        throw VaultError(
            QStringLiteral("Cannot write the device key to %1.").arg(pathFor(accountId)));
}

QString FileDeviceKeyStore::describeLocation(const QString &accountId) const
{
    return pathFor(accountId);
}

KeyringDeviceKeyStore::KeyringDeviceKeyStore(std::shared_ptr<FileDeviceKeyStore> fallback)
    : m_fallback(std::move(fallback))
{
}

bool KeyringDeviceKeyStore::isAvailable()
{
    if (!QCoreApplication::instance() || qEnvironmentVariableIsSet("PEXI_NO_KEYRING"))
        return false;
    QDBusConnection bus = QDBusConnection::sessionBus();
    return bus.isConnected() && bus.interface() &&
           bus.interface()->isServiceRegistered(QStringLiteral("org.freedesktop.secrets"));
}

std::optional<SecureBytes> KeyringDeviceKeyStore::load(const QString &accountId)
{
    if (auto key = m_fallback->load(accountId))
        return key;
    QKeychain::ReadPasswordJob job(keyringService);
    job.setKey(keyringKey(accountId));
    if (!runJob(job))
        return std::nullopt;
    return decode(job.textData());
}

void KeyringDeviceKeyStore::store(const QString &accountId, const SecureBytes &key)
{
    QKeychain::WritePasswordJob job(keyringService);
    job.setKey(keyringKey(accountId));
    job.setTextData(encode(key));
    if (!runJob(job)) {
        // A keyring that refuses (locked, dismissed prompt) must not cost the user the vault.
        m_fallback->store(accountId, key);
    }
}

QString KeyringDeviceKeyStore::describeLocation(const QString &) const
{
    return QStringLiteral("the desktop keyring (%1)").arg(keyringService);
}

} // namespace pexi
