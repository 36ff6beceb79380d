#include "support/Files.h"
#include "support/TemporaryVault.h"

#include "core/Inventory.h"
#include "core/VaultCipher.h"
#include "core/VaultError.h"

#include <QTest>

#include <sys/stat.h>

#include <sqlite3.h>

using pexi::Inventory;
using pexi::InventoryItem;
using pexi::VaultError;

namespace {

void execSql(const QString &path, const QString &sql)
{
    sqlite3 *db = nullptr;
    QCOMPARE(sqlite3_open(path.toUtf8().constData(), &db), SQLITE_OK);
    char *error = nullptr;
    const int rc = sqlite3_exec(db, sql.toUtf8().constData(), nullptr, nullptr, &error);
    const QString message = QString::fromUtf8(error ? error : "");
    sqlite3_free(error);
    sqlite3_close(db);
    QVERIFY2(rc == SQLITE_OK, qPrintable(message));
}

// SQL that changes the first byte of a header value to another digit, so numbers stay numbers.
QString flipFirstByte(const QString &key)
{
    return QStringLiteral("UPDATE meta SET value = (CASE WHEN hex(substr(value, 1, 1)) = '31' "
                          "THEN '2' ELSE '1' END) || substr(value, 2) WHERE key = '%1'")
        .arg(key);
}

// What the user is told when the right pictures cannot open the vault.
QString refusal(TemporaryVault &v)
{
    try {
        v.encryption.checkRecallSecret(TemporaryVault::rightSecret());
    } catch (const VaultError &error) {
        return error.message();
    }
    return QStringLiteral("(opened)");
}

} // namespace

class TestVaultSecurity : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void initTestCase() { qputenv("PEXI_NO_KEYRING", "1"); }

    void fileHoldsNothingReadable()
    {
        TemporaryVault v;
        QVERIFY(v.unlock());
        v.locker.runWithInventory([](Inventory &inventory) {
            inventory.upsert(InventoryItem("TitleMarkerQX", QString("UserMarkerQX"),
                                           "PasswordMarkerQX", QString("sitemarkerqx.example")));
        });
        v.locker.lock();
        const QByteArray bytes =
            readFile(v.vault.filePath()) + readFile(v.vault.filePath() + "-wal");
        QVERIFY(bytes.size() > 0);
        for (const char *marker :
             {"TitleMarkerQX", "UserMarkerQX", "PasswordMarkerQX", "sitemarkerqx"}) {
            QVERIFY2(!bytes.contains(marker), marker);
            QVERIFY2(!bytes.contains(QString::fromLatin1(marker).toUtf8().toBase64()), marker);
        }
        // Nor any of the picture names that make the secret, beyond the grids everyone sees.
        QVERIFY(!bytes.contains(TemporaryVault::rightSecret().toUtf8()));
    }

    void filesArePrivateWhateverTheUmask()
    {
        const mode_t previous = ::umask(0);
        QTemporaryDir dir;
        auto keys = std::make_shared<pexi::FileDeviceKeyStore>(dir.path() + "/config/pexi/keys");
        pexi::Vault vault(dir.path() + "/share/pexi", keys);
        vault.create(TemporaryVault::chosen());
        ::umask(previous);
        for (const char *made :
             {"/config", "/config/pexi", "/config/pexi/keys", "/share", "/share/pexi"})
            QCOMPARE(QFileInfo(dir.path() + made).permissions() & 0x0077, QFile::Permissions());
        QCOMPARE(QFile::permissions(vault.filePath()),
                 QFile::ReadOwner | QFile::WriteOwner | QFile::ReadUser | QFile::WriteUser);
        const QString keyFile =
            keys->describeLocation(vault.header().accountId.toString(QUuid::WithoutBraces));
        QCOMPARE(QFile::permissions(keyFile) & 0x0077, QFile::Permissions());
    }

    // A file that is no vault, one damaged anywhere in its header, and a device key missing,
    // unreadable, damaged or another vault's are each told apart from wrong pictures before any
    // key is derived; the file is left as it was and nothing is opened. The damage is SQL on the
    // checkpointed file, or what becomes of the file or the key.
    void damagedFilesAreToldApart_data()
    {
        QTest::addColumn<QString>("damage");
        QTest::addColumn<QString>("message");
        QTest::addColumn<bool>("headerRead"); // the account can still be told
        const auto row = [](const char *name, const QString &damage, const char *message,
                            bool headerRead) {
            QTest::newRow(name) << damage << QString(message) << headerRead;
        };
        for (const char *key : {"vault_id", "kdf_salt", "kdf_ops_limit", "kdf_mem_limit",
                                "verifier_nonce", "verifier", "grid_1", "grid_3", "header_mac"})
            row(key, flipFirstByte(key), "header is damaged", true);
        // The account picks the device key: another account is one this device has no key for.
        row("account_id", flipFirstByte("account_id"), "no key", true);
        row("costs out of range, header made before sealing",
            "DELETE FROM meta WHERE key = 'header_mac'; UPDATE meta SET value = '1099511627776' "
            "WHERE key = 'kdf_mem_limit'",
            "out of range", true);
        row("future format", "UPDATE meta SET value = '99' WHERE key = 'format_version'",
            "format version 99", false);
        row("header row missing", "DELETE FROM meta WHERE key = 'kdf_salt'", "damaged", false);
        row("text file", "text", "is not a vault", false);
        row("empty file", "empty", "is not a vault", false);
        row("other sqlite database", "foreign", "is not a vault", false);
        row("truncated", "truncate", "damaged", false);
        row("key missing", "key missing", "no key", true);
        row("key unreadable", "key directory", "cannot be read", true);
        row("key not a key", "key garbage", "is damaged", true);
        row("another vault's key", "key other", "not the vault's", true);
    }

    void damagedFilesAreToldApart()
    {
        QFETCH(QString, damage);
        QFETCH(QString, message);
        QFETCH(bool, headerRead);
        TemporaryVault v;
        const QString path = v.vault.filePath();
        execSql(path, "PRAGMA wal_checkpoint(TRUNCATE)");
        if (damage == "text" || damage == "empty") {
            QVERIFY(writeFile(path, damage == "text" ? "not the bytes of a vault, a note\n" : ""));
        } else if (damage == "foreign") {
            QVERIFY(QFile::remove(path));
            execSql(path, "CREATE TABLE notes (body TEXT)");
        } else if (damage == "truncate") {
            QVERIFY(QFile::resize(path, 1024 + 100));
        } else if (damage.startsWith("key ")) {
            const QString accountId = v.account.userIdentifier()->toString(QUuid::WithoutBraces);
            const QString keyFile = v.keys->describeLocation(accountId);
            QVERIFY(QFile::remove(keyFile));
            if (damage == "key directory")
                QVERIFY(QDir().mkpath(keyFile));
            else if (damage == "key garbage")
                QVERIFY(writeFile(keyFile, "not base64 at all\n"));
            else if (damage == "key other")
                v.keys->store(accountId, pexi::VaultCipher::randomKey());
        } else {
            execSql(path, damage);
        }
        v.vault.reloadHeader();
        const QByteArray before = readFile(path);
        QVERIFY2(refusal(v).contains(message), qPrintable(refusal(v)));
        QCOMPARE(v.locker.lockState(), pexi::LockState::locked);
        QCOMPARE(v.account.userIdentifier().has_value(), headerRead);
        QCOMPARE(readFile(path), before);
    }

    // Vaults made before headers were sealed keep opening, and are sealed by that unlock.
    void unsealedHeaderIsSealedAtUnlock()
    {
        TemporaryVault v;
        execSql(v.vault.filePath(), "DELETE FROM meta WHERE key = 'header_mac'");
        v.vault.reloadHeader();
        QVERIFY(v.vault.header().mac.isEmpty());
        QVERIFY(v.unlock());
        v.vault.reloadHeader();
        QVERIFY(!v.vault.header().mac.isEmpty());
        v.locker.lock();
        execSql(v.vault.filePath(), flipFirstByte("grid_2"));
        v.vault.reloadHeader();
        QVERIFY_THROWS_EXCEPTION(VaultError, v.unlock());
    }

    void tamperedItemsAreRefusedOthersLoad_data()
    {
        QTest::addColumn<QString>("tampering");
        QTest::addColumn<QStringList>("refused");
        QTest::newRow("flipped ciphertext byte")
            << "UPDATE items SET ciphertext = (CASE WHEN substr(ciphertext, 1, 1) = X'00' THEN "
               "X'01' ELSE X'00' END) || substr(ciphertext, 2) WHERE uuid = 'B'"
            << QStringList{"B"};
        QTest::newRow("rows swapped")
            << "UPDATE items SET ciphertext = (SELECT ciphertext FROM items WHERE uuid = 'C'), "
               "nonce = (SELECT nonce FROM items WHERE uuid = 'C') WHERE uuid = 'A'"
            << QStringList{"A"};
        QTest::newRow("truncated ciphertext")
            << "UPDATE items SET ciphertext = substr(ciphertext, 1, 10) WHERE uuid = 'C'"
            << QStringList{"C"};
    }

    void tamperedItemsAreRefusedOthersLoad()
    {
        QFETCH(QString, tampering);
        QFETCH(QStringList, refused);
        TemporaryVault v;
        QVERIFY(v.unlock());
        v.locker.runWithInventory([](Inventory &inventory) {
            for (const char *uuid : {"A", "B", "C"})
                inventory.upsert(
                    InventoryItem(QString("Item ") + uuid, {}, "pw", {}, {}, {}, uuid));
        });
        v.locker.lock();
        execSql(v.vault.filePath(), tampering);
        QVERIFY(v.unlock());
        QCOMPARE(v.locker.unreadableItems(), refused);
        v.locker.runWithInventory([&](Inventory &inventory) {
            QCOMPARE(inventory.count(), 3 - refused.size());
            for (const QString &uuid : refused)
                QVERIFY(!inventory.item(uuid));
        });
    }

    // Refused pictures (as names, or as grids a screen showed with the picks made on them), or a
    // vault already there, leave the directory as it was.
    void creationRules_data()
    {
        QTest::addColumn<bool>("existing");
        QTest::addColumn<QList<QStringList>>("pictures"); // names, or grids when there are picks
        QTest::addColumn<QList<QList<int>>>("picks");
        const QStringList n = pexi::PictureLibrary::names();
        const QList<QList<int>> none;
        QTest::newRow("over a vault") << true << TemporaryVault::chosen() << none;
        QTest::newRow("unknown picture")
            << false
            << QList<QStringList>{{n[0], n[1], "no-such-picture"}, n.mid(3, 3), n.mid(6, 3)}
            << none;
        QTest::newRow("picture twice")
            << false << QList<QStringList>{n.mid(0, 3), {n[0], n[4], n[5]}, n.mid(6, 3)} << none;
        QTest::newRow("two grids") << false << QList<QStringList>{n.mid(0, 3), n.mid(3, 3)} << none;
        QTest::newRow("four in a grid")
            << false << QList<QStringList>{n.mid(0, 4), n.mid(4, 3), n.mid(7, 3)} << none;
        const QList<QStringList> grids{n.mid(0, 15), n.mid(15, 15), n.mid(30, 15)};
        QList<QStringList> shared = grids;
        shared[2][4] = n[1];
        QTest::newRow("shown: picture in two grids")
            << false << shared << QList<QList<int>>{{0, 7, 14}, {3, 2, 1}, {9, 10, 11}};
        QTest::newRow("shown: two picks")
            << false << grids << QList<QList<int>>{{0, 7}, {3, 2, 1}, {9, 10, 11}};
        QTest::newRow("shown: pick twice")
            << false << grids << QList<QList<int>>{{0, 7, 14}, {3, 3, 1}, {9, 10, 11}};
        QTest::newRow("shown: pick off the grid")
            << false << grids << QList<QList<int>>{{0, 7, 15}, {3, 2, 1}, {9, 10, 11}};
    }

    void creationRules()
    {
        QFETCH(bool, existing);
        QFETCH(QList<QStringList>, pictures);
        QFETCH(QList<QList<int>>, picks);
        TemporaryVault v(existing);
        const QByteArray before = readFile(v.vault.filePath());
        QList<pexi::ImageGrid> shown;
        for (const QStringList &names : picks.isEmpty() ? QList<QStringList>() : pictures)
            shown.append(pexi::ImageGrid(names));
        QVERIFY_THROWS_EXCEPTION(VaultError, picks.isEmpty() ? v.vault.create(pictures)
                                                             : v.vault.create(shown, picks));
        QCOMPARE(QFileInfo::exists(v.vault.dataDirectory()), existing);
        QCOMPARE(readFile(v.vault.filePath()), before);
    }

    // The grids hold the chosen pictures among distinct decoys, and where the chosen ones sit is
    // drawn anew for every vault: fixed places would give the secret away to anyone who knows
    // how vaults are made.
    void gridsHideTheChosenPicturesInRandomPlaces()
    {
        const QList<QStringList> chosen = TemporaryVault::chosen();
        QSet<QString> placements;
        for (int i = 0; i < 4; ++i) {
            TemporaryVault v;
            QCOMPARE(v.account.userIdentifier(), v.vault.header().accountId);
            const QList<pexi::ImageGrid> grids = pexi::GridLibrary(v.vault).grids();
            QCOMPARE(grids.size(), 3);
            QSet<QString> seen;
            QString places;
            for (int g = 0; g < 3; ++g) {
                for (int at = 0; at < 15; ++at) {
                    seen.insert(grids[g].pictureName(at));
                    places += chosen[g].contains(grids[g].pictureName(at)) ? '*' : '.';
                }
            }
            QCOMPARE(seen.size(), 45);
            QCOMPARE(places.count('*'), 9);
            placements.insert(places);
        }
        // Four equal placements out of 455^3 possible ones only happen when nothing is drawn.
        QVERIFY(placements.size() > 1);
    }
};

QTEST_GUILESS_MAIN(TestVaultSecurity)
#include "tst_vaultsecurity.moc"
