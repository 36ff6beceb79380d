#pragma once

#include "core/DeviceKeyStore.h"
#include "core/ImageGrid.h"
#include "core/SecureBytes.h"
#include "core/VaultFile.h"
#include "core/VaultHeader.h"

#include <QList>
#include <QStringList>

#include <memory>
#include <optional>

namespace pexi {

// One vault on disk: where it lives, its header (readable while locked), its device key and
// the making of a new one. Decrypted items live in VaultSession, never here.
class Vault
{
public:
    static QString defaultDataDirectory(); // $PEXI_DATA_DIR, else the user's data location
    static Vault &shared();
    explicit Vault(QString dataDirectory,
                   std::shared_ptr<DeviceKeyStore> deviceKeys = DeviceKeyStore::system());

    const QString &dataDirectory() const { return m_dataDirectory; }
    QString filePath() const;
    bool exists() const;

    // Makes the vault from nine pictures, three per grid in grid order; each grid is filled up
    // with twelve decoys. Throws VaultError when a vault exists or a name is unknown or repeated.
    VaultHeader create(const QList<QStringList> &chosenPictures);
    // Makes the vault with exactly these grids, pictures in these places, and the three picked
    // indices (0 to 14) of each: what the user practised is what the first unlock shows.
    // Throws VaultError when a vault exists, a picture is in two grids, or a grid has not three
    // distinct picks.
    VaultHeader create(const QList<ImageGrid> &grids, const QList<QList<int>> &pickedIndices);
    // Three grids of distinct pictures drawn at random, none shown in two grids; grid g holds
    // the names in include[g] (if any) at random places among the others.
    static QList<ImageGrid> drawGrids(const QList<QStringList> &include = {});

    // The header as last read; read from the file on first use. Throws VaultError.
    const VaultHeader &header();
    // Forgets the cached header so the next read sees a re-created vault.
    void reloadHeader();

    // The vault key for a secret, if the secret opens this vault. Runs Argon2id; slow on purpose.
    // Throws VaultError when the vault cannot be read or this device has no key for it.
    std::optional<SecureBytes> keyForSecret(const SecureBytes &secret);
    // The same with a given device key, to check a key before it is stored.
    std::optional<SecureBytes> keyForSecret(const SecureBytes &secret,
                                            const SecureBytes &deviceKey);
    // The same for a vault with `header`; reads nothing else, so it may run on any thread.
    // Throws VaultError when the header is damaged (its MAC or its costs), before deriving.
    static std::optional<SecureBytes> keyForSecret(const VaultHeader &header,
                                                   const SecureBytes &secret,
                                                   const SecureBytes &deviceKey);
    std::unique_ptr<VaultFile> openFile() const;
    // Whether `deviceKey` sealed `header` (headers made before sealing pass). With the right
    // key, false means the header is damaged; with a key from elsewhere, it may be the key.
    static bool isSealedBy(const VaultHeader &header, const SecureBytes &deviceKey);
    // Gives a header made before headers were sealed its MAC; the key has just opened it.
    static void sealHeader(VaultFile &file, const SecureBytes &deviceKey);

    DeviceKeyStore &deviceKeys() { return *m_deviceKeys; }
    std::optional<SecureBytes> deviceKey();
    // This device's key for the vault. Throws VaultError when it has none.
    SecureBytes requireDeviceKey();

    // Changes whenever the vault's files change on disk (size, time or identity).
    QByteArray fileStamp() const;

private:
    static QByteArray verifierAssociatedData(const QString &vaultId);
    static const QByteArray verifierText;

    QString m_dataDirectory;
    std::shared_ptr<DeviceKeyStore> m_deviceKeys;
    std::optional<VaultHeader> m_header;
};

} // namespace pexi
