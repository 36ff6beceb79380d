#include "core/Vault.h"

#include "core/GridLibrary.h"
#include "core/PictureLibrary.h"
#include "core/PrivateDirectory.h"
#include "core/VaultCipher.h"
#include "core/VaultError.h"

#include <QDir>
#include <QFileInfo>
#include <QSet>
#include <QStandardPaths>

#include <algorithm>

#include <sodium.h>
#include <sys/stat.h>

namespace pexi {

const QByteArray Vault::verifierText = QByteArrayLiteral("pexi vault verifier");

namespace {
const QString vaultFileName = QStringLiteral("vault.pexi");

// Uniform index below `bound`, from the system's cryptographic generator.
int uniformBelow(int bound)
{
    return int(randombytes_uniform(quint32(bound)));
}

template <typename List> void secureShuffle(List &list)
{
    for (int i = int(list.size()) - 1; i > 0; --i)
        list.swapItemsAt(i, uniformBelow(i + 1));
}
} // namespace

QString Vault::defaultDataDirectory()
{
    const QString fromEnvironment = qEnvironmentVariable("PEXI_DATA_DIR");
    if (!fromEnvironment.isEmpty())
        return fromEnvironment;
    return QStandardPaths::writableLocation(QStandardPaths::GenericDataLocation) +
           QStringLiteral("/pexi");
}

Vault &Vault::shared()
{
    static Vault vault(defaultDataDirectory());
    return vault;
}

Vault::Vault(QString dataDirectory, std::shared_ptr<DeviceKeyStore> deviceKeys)
    : m_dataDirectory(std::move(dataDirectory)), m_deviceKeys(std::move(deviceKeys))
{
}

QString Vault::filePath() const
{
    return m_dataDirectory + QLatin1Char('/') + vaultFileName;
}

bool Vault::exists() const
{
    return QFileInfo::exists(filePath());
}

QByteArray Vault::verifierAssociatedData(const QString &vaultId)
{
    return QByteArrayLiteral("verifier:") + vaultId.toUtf8();
}

VaultHeader Vault::create(const QList<QStringList> &chosenPictures)
{
    if (exists())
        throw VaultError(QStringLiteral("A vault already exists at %1.").arg(filePath()));
    if (chosenPictures.size() != 3)
        throw VaultError(QStringLiteral("A vault needs pictures for exactly three grids."));
    QSet<QString> chosen;
    for (const QStringList &grid : chosenPictures) {
        if (grid.size() != 3)
            throw VaultError(QStringLiteral("Each grid needs exactly three pictures."));
        for (const QString &name : grid) {
            if (!PictureLibrary::contains(name))
                throw VaultError(QStringLiteral("There is no picture named \"%1\".").arg(name));
            if (chosen.contains(name))
                throw VaultError(QStringLiteral("The picture \"%1\" is chosen twice.").arg(name));
            chosen.insert(name);
        }
    }

    const QList<ImageGrid> grids = drawGrids(chosenPictures);
    QList<QList<int>> picked;
    for (int grid = 0; grid < 3; ++grid) {
        QList<int> indices;
        for (const QString &name : chosenPictures.at(grid))
            indices.append(int(grids.at(grid).pictureNames().indexOf(name)));
        picked.append(indices);
    }
    return create(grids, picked);
}

VaultHeader Vault::create(const QList<ImageGrid> &grids, const QList<QList<int>> &pickedIndices)
{
    if (exists())
        throw VaultError(QStringLiteral("A vault already exists at %1.").arg(filePath()));
    if (grids.size() != 3 || pickedIndices.size() != 3)
        throw VaultError(QStringLiteral("A vault needs exactly three grids."));
    QSet<QString> shown;
    for (int grid = 0; grid < 3; ++grid) {
        const QStringList &names = grids.at(grid).pictureNames();
        if (names.size() != ImageGrid::PictureCount)
            throw VaultError(QStringLiteral("Each grid needs fifteen pictures."));
        for (const QString &name : names) {
            if (shown.contains(name))
                throw VaultError(QStringLiteral("The picture \"%1\" is in two grids.").arg(name));
            shown.insert(name);
        }
        const QList<int> &picks = pickedIndices.at(grid);
        const bool inGrid = std::all_of(picks.begin(), picks.end(), [](int index) {
            return index >= 0 && index < ImageGrid::PictureCount;
        });
        if (picks.size() != 3 || QSet<int>(picks.begin(), picks.end()).size() != 3 || !inGrid)
            throw VaultError(QStringLiteral("Each grid needs three different pictures picked."));
    }

    VaultHeader header;
    header.vaultId = QString::fromLatin1(VaultCipher::randomBytes(16).toHex());
    header.accountId = QUuid::createUuid();
    header.salt = VaultCipher::randomBytes(VaultCipher::SaltSize);
    header.opsLimit = VaultCipher::DefaultOpsLimit;
    header.memLimit = VaultCipher::DefaultMemLimit;
    for (const ImageGrid &grid : grids)
        header.grids.append(grid.pictureNames());

    const QString accountId = header.accountId.toString(QUuid::WithoutBraces);
    const SecureBytes deviceKey = VaultCipher::randomKey();
    const SecureBytes secret =
        SecureBytes::fromUtf8(GridLibrary::recallSecretFor(grids, pickedIndices));
    const SecureBytes key =
        VaultCipher::deriveKey(secret, header.salt, header.opsLimit, header.memLimit, deviceKey);
    const VaultCipher::Sealed verifier =
        VaultCipher::seal(key, verifierText, verifierAssociatedData(header.vaultId));
    header.verifierNonce = verifier.nonce;
    header.verifier = verifier.ciphertext;
    header.mac = VaultCipher::headerMac(deviceKey, header.authenticatedBytes());

    if (!makePrivateDirectory(m_dataDirectory))
        throw VaultError(
            QStringLiteral("Cannot create the data directory %1.").arg(m_dataDirectory));
    // The key goes first: a vault file must never exist without the key that opens it.
    m_deviceKeys->store(accountId, deviceKey);
    VaultFile::create(filePath(), header);
    m_header = header;
    return header;
}

QList<ImageGrid> Vault::drawGrids(const QList<QStringList> &include)
{
    QSet<QString> included;
    for (const QStringList &names : include)
        included.unite(QSet<QString>(names.begin(), names.end()));
    // Each of the others is used once across the three grids, so no grid shows a picture twice
    // and no included picture appears as another grid's decoy.
    QStringList others;
    for (const QString &name : PictureLibrary::names()) {
        if (!included.contains(name))
            others.append(name);
    }
    secureShuffle(others);

    QList<ImageGrid> grids;
    qsizetype taken = 0;
    for (int grid = 0; grid < 3; ++grid) {
        QStringList pictures = include.value(grid);
        const qsizetype missing = ImageGrid::PictureCount - pictures.size();
        pictures.append(others.mid(taken, missing));
        taken += missing;
        secureShuffle(pictures);
        grids.append(ImageGrid(pictures));
    }
    return grids;
}

const VaultHeader &Vault::header()
{
    if (!m_header)
        m_header = openFile()->header();
    return *m_header;
}

void Vault::reloadHeader()
{
    m_header.reset();
}

std::unique_ptr<VaultFile> Vault::openFile() const
{
    return VaultFile::open(filePath());
}

std::optional<SecureBytes> Vault::deviceKey()
{
    return m_deviceKeys->load(header().accountId.toString(QUuid::WithoutBraces));
}

SecureBytes Vault::requireDeviceKey()
{
    std::optional<SecureBytes> device = deviceKey();
    if (!device)
        throw VaultError(QStringLiteral("This device has no key for the vault at %1; import it "
                                        "with \"pexi-vault import-device-key\".")
                             .arg(filePath()));
    return std::move(*device);
}

std::optional<SecureBytes> Vault::keyForSecret(const SecureBytes &secret)
{
    return keyForSecret(secret, requireDeviceKey());
}

std::optional<SecureBytes> Vault::keyForSecret(const SecureBytes &secret,
                                               const SecureBytes &deviceKey)
{
    std::optional<SecureBytes> key = keyForSecret(header(), secret, deviceKey);
    if (key && header().mac.isEmpty()) {
        sealHeader(*openFile(), deviceKey);
        reloadHeader();
    }
    return key;
}

bool Vault::isSealedBy(const VaultHeader &header, const SecureBytes &deviceKey)
{
    return header.mac.isEmpty() ||
           VaultCipher::macMatches(header.mac,
                                   VaultCipher::headerMac(deviceKey, header.authenticatedBytes()));
}

void Vault::sealHeader(VaultFile &file, const SecureBytes &deviceKey)
{
    if (file.header().mac.isEmpty())
        file.writeHeaderMac(VaultCipher::headerMac(deviceKey, file.header().authenticatedBytes()));
}

std::optional<SecureBytes> Vault::keyForSecret(const VaultHeader &header, const SecureBytes &secret,
                                               const SecureBytes &deviceKey)
{
    // Checked before deriving: damage to the salt or the costs would otherwise look like wrong
    // pictures, and a header asking for absurd costs must not get to spend them.
    if (!isSealedBy(header, deviceKey))
        throw VaultError(QStringLiteral("The vault's header is damaged, or this device's key "
                                        "is not the vault's; the file was left untouched."));
    SecureBytes key =
        VaultCipher::deriveKey(secret, header.salt, header.opsLimit, header.memLimit, deviceKey);
    const auto opened = VaultCipher::open(key, {header.verifierNonce, header.verifier},
                                          verifierAssociatedData(header.vaultId));
    if (!opened || *opened != verifierText)
        return std::nullopt;
    return key;
}

QByteArray Vault::fileStamp() const
{
    QByteArray stamp;
    for (const QString &suffix : {QString(), QStringLiteral("-wal")}) {
        struct stat info
        {
        };
        if (::stat(QFile::encodeName(filePath() + suffix).constData(), &info) == 0) {
            stamp += QByteArray::number(qulonglong(info.st_ino)) + ':' +
                     QByteArray::number(qlonglong(info.st_size)) + ':' +
                     QByteArray::number(qlonglong(info.st_mtim.tv_sec)) + '.' +
                     QByteArray::number(qlonglong(info.st_mtim.tv_nsec)) + ';';
        } else {
            stamp += "-;";
        }
    }
    return stamp;
}

} // namespace pexi
