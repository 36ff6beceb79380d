#include "support/TemporaryVault.h"

#include "core/Inventory.h"
#include "core/VaultCipher.h"
#include "core/VaultError.h"

#include <QTest>

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

    void otherDeviceKeyDoesNotOpen()
    {
        TemporaryVault v;
        const QString accountId = v.account.userIdentifier()->toString(QUuid::WithoutBraces);
        v.keys->store(accountId, pexi::VaultCipher::randomKey());
        QVERIFY(!v.unlock());
        QVERIFY(!v.encryption.checkRecallSecret(TemporaryVault::rightSecret()));
    }

    void missingDeviceKeyIsAnError()
    {
        TemporaryVault v;
        QVERIFY(QDir(v.dir.path() + "/keys").removeRecursively());
        try {
            v.encryption.checkRecallSecret(TemporaryVault::rightSecret());
            QFAIL("expected a VaultError");
        } catch (const VaultError &error) {
            QVERIFY2(error.message().contains("no key"), qPrintable(error.message()));
        }
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
