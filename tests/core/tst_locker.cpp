#include "support/TemporaryVault.h"

#include "core/Inventory.h"
#include "core/SyncService.h"
#include "core/VaultOpener.h"
#include "core/VaultSession.h"

#include <QProcess>
#include <QSignalSpy>
#include <QTest>
#include <QThread>

using pexi::Inventory;
using pexi::InventoryItem;
using pexi::Locker;
using pexi::LockState;

class TestLocker : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void initTestCase() { qputenv("PEXI_NO_KEYRING", "1"); }

    void unlock_data()
    {
        QTest::addColumn<QString>("secret");
        QTest::addColumn<bool>("opens");
        QTest::newRow("right pictures") << TemporaryVault::rightSecret() << true;
        QTest::newRow("one wrong picture") << TemporaryVault::wrongSecret() << false;
        QTest::newRow("nothing picked") << QString() << false;
        QList<QStringList> reordered = TemporaryVault::chosen();
        std::reverse(reordered[0].begin(), reordered[0].end());
        QTest::newRow("order inside a grid does not matter")
            << pexi::GridLibrary::recallSecretForNames(reordered) << true;
        QList<QStringList> swapped = TemporaryVault::chosen();
        std::swap(swapped[0], swapped[1]);
        QTest::newRow("grids swapped") << pexi::GridLibrary::recallSecretForNames(swapped) << false;
    }

    void unlock()
    {
        QFETCH(QString, secret);
        QFETCH(bool, opens);
        TemporaryVault v;
        QCOMPARE(v.encryption.checkRecallSecret(secret), opens);
        QCOMPARE(v.unlock(secret), opens);
        QCOMPARE(v.locker.lockState(), opens ? LockState::unlocked : LockState::locked);
        QCOMPARE(v.locker.runWithInventory([](Inventory &) {}), opens);
    }

    void lockForgetsEverything()
    {
        TemporaryVault v;
        QVERIFY(v.unlock());
        v.locker.lock();
        QCOMPARE(v.locker.lockState(), LockState::locked);
        bool ran = false;
        QVERIFY(!v.locker.runWithInventory([&](Inventory &) { ran = true; }));
        QVERIFY(!ran);
        // The secret went with the lock: unlocking again needs the pictures again.
        QVERIFY(!v.locker.unlock());
        QVERIFY(v.unlock());
    }

    // The slow half runs on a worker thread and touches nothing shared; the quick half, back on
    // this thread, installs the session and posts the notification here.
    void splitUnlock_data()
    {
        QTest::addColumn<QString>("secret");
        QTest::addColumn<bool>("recreatedMeanwhile");
        QTest::addColumn<bool>("opens");
        QTest::newRow("right pictures") << TemporaryVault::rightSecret() << false << true;
        QTest::newRow("wrong pictures") << TemporaryVault::wrongSecret() << false << false;
        QTest::newRow("vault made anew meanwhile")
            << TemporaryVault::rightSecret() << true << false;
    }

    void splitUnlock()
    {
        QFETCH(QString, secret);
        QFETCH(bool, recreatedMeanwhile);
        QFETCH(bool, opens);
        TemporaryVault v;
        QVERIFY(v.unlock());
        v.locker.runWithInventory(
            [](Inventory &inventory) { inventory.upsert(InventoryItem("Kept", {}, "p")); });
        v.locker.lock();

        QThread *notifiedOn = nullptr;
        v.center.addObserver(
            Locker::PexiUnlockedNotification, &v.locker,
            [&](const QString &, const void *) { notifiedOn = QThread::currentThread(); });
        const pexi::VaultOpener opener(v.vault);
        std::unique_ptr<pexi::VaultSession> session;
        QThread *worker =
            QThread::create([&] { session = opener.open(pexi::SecureBytes::fromUtf8(secret)); });
        worker->start();
        QVERIFY(worker->wait(30000));
        delete worker;
        QCOMPARE(notifiedOn, nullptr);
        QCOMPARE(bool(session), secret == TemporaryVault::rightSecret());
        if (recreatedMeanwhile) {
            QVERIFY(QFile::remove(v.vault.filePath()));
            pexi::Vault(v.vault.dataDirectory(), v.keys).create(TemporaryVault::chosen());
            v.vault.reloadHeader();
        }
        QCOMPARE(session && v.locker.install(std::move(session)), opens);
        QCOMPARE(v.locker.lockState(), opens ? LockState::unlocked : LockState::locked);
        QCOMPARE(notifiedOn, opens ? QThread::currentThread() : nullptr);
        if (opens) {
            v.locker.runWithInventory([](Inventory &inventory) {
                QCOMPARE(inventory.itemList().value(0).title(), QStringLiteral("Kept"));
            });
        }
    }

    void notifications()
    {
        TemporaryVault v;
        QStringList fromLocker;
        QStringList fromAnyone;
        QStringList fromOther;
        int otherObject = 0;
        const auto record = [](QStringList &into) {
            return [&into](const QString &name, const void *) { into.append(name); };
        };
        auto &center = v.center;
        const auto lockedToken =
            center.addObserver(Locker::PexiLockedNotification, &v.locker, record(fromLocker));
        center.addObserver(Locker::PexiUnlockedNotification, &v.locker, record(fromLocker));
        center.addObserver(Locker::PexiLockedNotification, nullptr, record(fromAnyone));
        center.addObserver(Locker::PexiLockedNotification, &otherObject, record(fromOther));

        QVERIFY(v.unlock());
        QVERIFY(v.unlock()); // already open: no second notification
        v.locker.lock();
        v.locker.lock(); // already locked: none either
        QCOMPARE(fromLocker,
                 (QStringList{Locker::PexiUnlockedNotification, Locker::PexiLockedNotification}));
        QCOMPARE(fromAnyone, QStringList{Locker::PexiLockedNotification});
        QVERIFY(fromOther.isEmpty());

        center.removeObserver(lockedToken);
        QVERIFY(v.unlock());
        v.locker.lock();
        QCOMPARE(fromLocker.count(Locker::PexiLockedNotification), 1);
        QCOMPARE(fromLocker.count(Locker::PexiUnlockedNotification), 2);
    }

    void observersRunOnPostingThread()
    {
        pexi::NotificationCenter center;
        QThread *ranOn = nullptr;
        center.addObserver(
            "n", nullptr, [&](const QString &, const void *) { ranOn = QThread::currentThread(); });
        QThread *poster = QThread::create([&] { center.post("n", nullptr); });
        poster->start();
        QVERIFY(poster->wait(5000));
        QCOMPARE(ranOn, poster);
        delete poster;
    }

    // Another process adds an item while the vault is open here: the file watch notices, the
    // open inventory picks it up and its listeners hear of it.
    void syncPicksUpOtherProcessWrites()
    {
        TemporaryVault v;
        QVERIFY(v.unlock());
        pexi::SyncService sync(v.vault, v.locker);
        QSignalSpy changes(&v.locker, &Locker::inventoryChanged);
        int updated = 0;
        int storeChanged = 0;
        sync.setInventoryUpdatedHandler([&] { ++updated; });
        sync.setRemoteStoreChangedHandler([&] { ++storeChanged; });
        sync.start();

        v.locker.runWithInventory(
            [](Inventory &inventory) { inventory.upsert(InventoryItem("Mine", {}, "p")); });
        QCOMPARE(changes.size(), 1);
        sync.checkNow();
        QCOMPARE(updated, 0); // our own write is not news to sync

        QProcess tool;
        QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
        environment.insert("XDG_CONFIG_HOME", v.dir.path() + "/unused");
        environment.insert("PEXI_RECALL", recallLetters(v));
        tool.setProcessEnvironment(environment);
        tool.start(PEXI_BIN_DIR "/pexi-vault",
                   {"--data-dir", v.vault.dataDirectory(), "add", "--title", "From CLI"});
        QVERIFY(tool.waitForStarted());
        tool.write("typed\n");
        tool.closeWriteChannel();
        QVERIFY(tool.waitForFinished(30000));
        QCOMPARE(tool.exitCode(), 1); // no device key in its config: refused, nothing written
        sync.checkNow();
        QCOMPARE(updated, 0);

        environment.insert("XDG_CONFIG_HOME", v.dir.path() + "/config");
        QDir().mkpath(v.dir.path() + "/config/pexi");
        QVERIFY(QFile::link(v.dir.path() + "/keys", v.dir.path() + "/config/pexi/device-keys"));
        tool.setProcessEnvironment(environment);
        tool.start(PEXI_BIN_DIR "/pexi-vault",
                   {"--data-dir", v.vault.dataDirectory(), "add", "--title", "From CLI"});
        tool.write("typed\n");
        tool.closeWriteChannel();
        QVERIFY(tool.waitForFinished(30000));
        QCOMPARE(tool.exitCode(), 0);
        QTRY_COMPARE_WITH_TIMEOUT(updated, 1, 10000);
        QCOMPARE(storeChanged, 0);
        QCOMPARE(changes.size(), 2);
        QCOMPARE(changes.last().first().value<pexi::InventoryChange>().added.size(), 1);
        v.locker.runWithInventory([](Inventory &inventory) {
            QCOMPARE(inventory.search("from cli").size(), 1);
            QCOMPARE(inventory.search("from cli").first().password(), QStringLiteral("typed"));
        });

        // The vault is made anew underneath (new keys and grids): the store changed.
        QVERIFY(QFile::remove(v.vault.filePath()));
        QFile::remove(v.vault.filePath() + "-wal");
        QFile::remove(v.vault.filePath() + "-shm");
        pexi::Vault(v.vault.dataDirectory(), v.keys).create(TemporaryVault::chosen());
        QTRY_COMPARE_WITH_TIMEOUT(storeChanged, 1, 10000);
    }

private:
    static QString recallLetters(TemporaryVault &v)
    {
        const QList<QStringList> chosen = TemporaryVault::chosen();
        QStringList groups;
        const auto grids = pexi::GridLibrary(v.vault).grids();
        for (int g = 0; g < 3; ++g) {
            QString group;
            for (int i = 0; i < 15; ++i) {
                if (chosen[g].contains(grids[g].pictureName(i)))
                    group.append(QChar('A' + i));
            }
            groups.append(group);
        }
        return groups.join(' ');
    }
};

QTEST_GUILESS_MAIN(TestLocker)
#include "tst_locker.moc"
