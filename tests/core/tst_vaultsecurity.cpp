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

void writeFile(const QString &path, const QByteArray &bytes)
{
    QFile file(path);
    QVERIFY(file.open(QIODevice::WriteOnly));
    file.write(bytes);
}

// SQL that changes the first byte of a header value to another digit, so numbers stay numbers.
QString flipFirstByte(const QString &key)
{
    return QStringLiteral("UPDATE meta SET value = (CASE WHEN substr(value, 1, 1) = '1' THEN '2' "
                          "ELSE '1' END) || substr(value, 2) WHERE key = '%1'")
        .arg(key);
}

QByteArray readAll(const QString &path)
{
    QFile file(path);
    return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
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
        const QByteArray bytes = readAll(v.vault.filePath()) + readAll(v.vault.filePath() + "-wal");
        QVERIFY(bytes.size() > 0);
        for (const char *marker :
             {"TitleMarkerQX", "UserMarkerQX", "PasswordMarkerQX", "sitemarkerqx"}) {
            QVERIFY2(!bytes.contains(marker), marker);
            QVERIFY2(!bytes.contains(QString::fromLatin1(marker).toUtf8().toBase64()), marker);
        }
        // Nor any of the picture names that make the secret, beyond the grids everyone sees.
        QVERIFY(!bytes.contains(TemporaryVault::rightSecret().toUtf8()));
    }

    void permissions()
    {
        TemporaryVault v;
        QCOMPARE(QFile::permissions(v.vault.dataDirectory()) & 0x0077, QFile::Permissions());
        QCOMPARE(QFile::permissions(v.vault.filePath()),
                 QFile::ReadOwner | QFile::WriteOwner | QFile::ReadUser | QFile::WriteUser);
        const QString keyFile =
            v.keys->describeLocation(v.account.userIdentifier()->toString(QUuid::WithoutBraces));
        QCOMPARE(QFile::permissions(keyFile) & 0x0077, QFile::Permissions());
    }

    // Missing, unreadable and damaged keys are three different stories for the user.
    void deviceKeyTrouble_data()
    {
        QTest::addColumn<QString>("trouble");
        QTest::addColumn<QString>("message");
        QTest::newRow("missing") << "missing"
                                 << "no key";
        QTest::newRow("unreadable") << "directory"
                                    << "cannot be read";
        QTest::newRow("not a key") << "garbage"
                                   << "is damaged";
        QTest::newRow("another vault's key") << "other"
                                             << "not the vault's";
    }

    void deviceKeyTrouble()
    {
        QFETCH(QString, trouble);
        QFETCH(QString, message);
        TemporaryVault v;
        const QString accountId = v.account.userIdentifier()->toString(QUuid::WithoutBraces);
        const QString keyFile = v.keys->describeLocation(accountId);
        QVERIFY(QFile::remove(keyFile));
        if (trouble == "directory")
            QVERIFY(QDir().mkpath(keyFile));
        else if (trouble == "garbage")
            writeFile(keyFile, "not base64 at all\n");
        else if (trouble == "other")
            v.keys->store(accountId, pexi::VaultCipher::randomKey());
        QVERIFY_THROWS_EXCEPTION(VaultError, v.unlock()); // whatever the pictures
        try {
            v.encryption.checkRecallSecret(TemporaryVault::rightSecret());
            QFAIL("expected a VaultError");
        } catch (const VaultError &error) {
            QVERIFY2(error.message().contains(message), qPrintable(error.message()));
        }
    }

    // Damage anywhere in the header is told apart from wrong pictures, before any key is
    // derived, and the file is left as it was.
    void headerDamage_data()
    {
        QTest::addColumn<QString>("damage");
        QTest::addColumn<QString>("message");
        for (const char *key : {"vault_id", "kdf_salt", "kdf_ops_limit", "kdf_mem_limit",
                                "verifier_nonce", "verifier", "grid_1", "grid_3", "header_mac"})
            QTest::newRow(key) << flipFirstByte(key) << "header is damaged";
        // The account picks the device key: another account is one this device has no key for.
        QTest::newRow("account_id") << flipFirstByte("account_id") << "no key";
        QTest::newRow("costs out of range, header made before sealing")
            << "DELETE FROM meta WHERE key = 'header_mac'; UPDATE meta SET value = "
               "'1099511627776' WHERE key = 'kdf_mem_limit'"
            << "out of range";
    }

    void headerDamage()
    {
        QFETCH(QString, damage);
        QFETCH(QString, message);
        TemporaryVault v;
        execSql(v.vault.filePath(), "PRAGMA wal_checkpoint(TRUNCATE); " + damage);
        v.vault.reloadHeader();
        const QByteArray before = readAll(v.vault.filePath());
        try {
            v.encryption.checkRecallSecret(TemporaryVault::rightSecret());
            QFAIL("expected a VaultError");
        } catch (const VaultError &error) {
            QVERIFY2(error.message().contains(message), qPrintable(error.message()));
        }
        QCOMPARE(readAll(v.vault.filePath()), before);
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

    void directoriesArePrivateWhateverTheUmask()
    {
        const mode_t previous = ::umask(0);
        QTemporaryDir dir;
        auto keys = std::make_shared<pexi::FileDeviceKeyStore>(dir.path() + "/config/pexi/keys");
        pexi::Vault(dir.path() + "/share/pexi", keys).create(TemporaryVault::chosen());
        ::umask(previous);
        for (const char *made :
             {"/config", "/config/pexi", "/config/pexi/keys", "/share", "/share/pexi"})
            QCOMPARE(QFileInfo(dir.path() + made).permissions() & 0x0077, QFile::Permissions());
    }

    void tamperedItemsAreRefusedOthersLoad_data()
    {
        QTest::addColumn<QString>("tampering");
        QTest::addColumn<QStringList>("refused");
        QTest::newRow("flipped ciphertext byte")
            << "UPDATE items SET ciphertext = (CASE WHEN substr(ciphertext, 1, 1) = X'00' THEN "
               "X'01' ELSE X'00' END) || substr(ciphertext, 2) WHERE uuid = 'B'"
            << QStringList{"B"};
        QTest::newRow("nonce replaced")
            << "UPDATE items SET nonce = zeroblob(24) WHERE uuid = 'A'" << QStringList{"A"};
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

    void unreadableFilesGiveClearErrors_data()
    {
        QTest::addColumn<QString>("damage");
        QTest::addColumn<QString>("message");
        QTest::newRow("text file") << "text"
                                   << "is not a vault";
        QTest::newRow("empty file") << "empty"
                                    << "is not a vault";
        QTest::newRow("other sqlite database") << "foreign"
                                               << "is not a vault";
        QTest::newRow("truncated") << "truncate"
                                   << "damaged";
        QTest::newRow("future format") << "version"
                                       << "format version 99";
        QTest::newRow("header row missing") << "nosalt"
                                            << "damaged";
    }

    void unreadableFilesGiveClearErrors()
    {
        QFETCH(QString, damage);
        QFETCH(QString, message);
        TemporaryVault v;
        const QString path = v.vault.filePath();
        {
            // Checkpoint the WAL so the main file holds everything, then damage it.
            execSql(path, "PRAGMA wal_checkpoint(TRUNCATE)");
        }
        QFile file(path);
        if (damage == "text") {
            QVERIFY(file.open(QIODevice::WriteOnly | QIODevice::Truncate));
            file.write("these are not the bytes of a vault, just a note\n");
        } else if (damage == "empty") {
            QVERIFY(file.open(QIODevice::WriteOnly | QIODevice::Truncate));
        } else if (damage == "foreign") {
            QVERIFY(file.remove());
            execSql(path, "CREATE TABLE notes (body TEXT)");
        } else if (damage == "truncate") {
            QVERIFY(file.resize(1024 + 100));
        } else if (damage == "version") {
            execSql(path, "UPDATE meta SET value = '99' WHERE key = 'format_version'");
        } else if (damage == "nosalt") {
            execSql(path, "DELETE FROM meta WHERE key = 'kdf_salt'");
        }
        file.close();
        v.vault.reloadHeader();
        try {
            v.encryption.checkRecallSecret(TemporaryVault::rightSecret());
            QFAIL("expected a VaultError");
        } catch (const VaultError &error) {
            QVERIFY2(error.message().contains(message), qPrintable(error.message()));
        }
        QVERIFY(v.locker.lockState() == pexi::LockState::locked);
        QVERIFY(v.account.userIdentifier() == std::nullopt);
        QVERIFY(pexi::GridLibrary(v.vault).grids().isEmpty());
    }

    void refusesToOverwriteAVault()
    {
        TemporaryVault v;
        const QByteArray before = readAll(v.vault.filePath());
        QVERIFY_THROWS_EXCEPTION(VaultError, v.vault.create(TemporaryVault::chosen()));
        QCOMPARE(readAll(v.vault.filePath()), before);
    }

    void creationRules_data()
    {
        QTest::addColumn<QList<QStringList>>("pictures");
        const QStringList n = pexi::PictureLibrary::names();
        QTest::newRow("unknown picture")
            << QList<QStringList>{{n[0], n[1], "no-such-picture"}, n.mid(3, 3), n.mid(6, 3)};
        QTest::newRow("picture twice")
            << QList<QStringList>{n.mid(0, 3), {n[0], n[4], n[5]}, n.mid(6, 3)};
        QTest::newRow("two grids") << QList<QStringList>{n.mid(0, 3), n.mid(3, 3)};
        QTest::newRow("four in a grid")
            << QList<QStringList>{n.mid(0, 4), n.mid(4, 3), n.mid(7, 3)};
    }

    void creationRules()
    {
        QFETCH(QList<QStringList>, pictures);
        TemporaryVault v(false);
        QVERIFY_THROWS_EXCEPTION(VaultError, v.vault.create(pictures));
        QVERIFY(!v.vault.exists());
    }

    void gridsHoldTheChosenPicturesAndDistinctDecoys()
    {
        TemporaryVault v;
        const QList<pexi::ImageGrid> grids = pexi::GridLibrary(v.vault).grids();
        QCOMPARE(grids.size(), 3);
        const QList<QStringList> chosen = TemporaryVault::chosen();
        QSet<QString> seen;
        for (int g = 0; g < 3; ++g) {
            for (const QString &name : chosen[g])
                QVERIFY(grids[g].pictureNames().contains(name));
            for (const QString &name : grids[g].pictureNames())
                seen.insert(name);
        }
        QCOMPARE(seen.size(), 45);
        QVERIFY(!v.vault.header().accountId.isNull());
        QCOMPARE(v.account.userIdentifier(), v.vault.header().accountId);
    }

    // Where the chosen pictures sit is drawn anew for every vault: fixed places would give the
    // secret away to anyone who knows how vaults are made.
    void chosenPicturesSitInRandomPlaces()
    {
        QSet<QString> placements;
        for (int i = 0; i < 4; ++i) {
            TemporaryVault v;
            QString places;
            const QList<pexi::ImageGrid> grids = pexi::GridLibrary(v.vault).grids();
            for (int g = 0; g < 3; ++g) {
                for (int at = 0; at < 15; ++at)
                    places +=
                        TemporaryVault::chosen()[g].contains(grids[g].pictureName(at)) ? '*' : '.';
            }
            placements.insert(places);
        }
        // Four equal placements out of 455^3 possible ones only happen when nothing is drawn.
        QVERIFY(placements.size() > 1);
    }
};

QTEST_GUILESS_MAIN(TestVaultSecurity)
#include "tst_vaultsecurity.moc"
