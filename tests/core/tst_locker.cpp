#include "support/TemporaryVault.h"

#include "core/Inventory.h"
#include "core/SyncService.h"
#include "core/VaultOpener.h"
#include "core/VaultSession.h"

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

    // Opened at once, or in two halves: the slow one on a worker thread, touching nothing shared;
    // the quick one back on this thread installs the session and posts the notification here.
    void unlock_data()
    {
        QTest::addColumn<QString>("secret");
        QTest::addColumn<bool>("opens");
        QTest::addColumn<bool>("recreatedMeanwhile"); // between the two halves
        QTest::newRow("right pictures") << TemporaryVault::rightSecret() << true << false;
        QTest::newRow("one wrong picture") << TemporaryVault::wrongSecret() << false << false;
        QTest::newRow("nothing picked") << QString() << false << false;
        QList<QStringList> reordered = TemporaryVault::chosen();
        std::reverse(reordered[0].begin(), reordered[0].end());
        QTest::newRow("order inside a grid does not matter")
            << pexi::GridLibrary::recallSecretForNames(reordered) << true << false;
        QList<QStringList> swapped = TemporaryVault::chosen();
        std::swap(swapped[0], swapped[1]);
        QTest::newRow("grids swapped")
            << pexi::GridLibrary::recallSecretForNames(swapped) << false << false;
        QTest::newRow("vault made anew meanwhile") << TemporaryVault::rightSecret() << true << true;
    }

    void unlock()
    {
        QFETCH(QString, secret);
        QFETCH(bool, opens);
        QFETCH(bool, recreatedMeanwhile);
        TemporaryVault v;
        QCOMPARE(v.encryption.checkRecallSecret(secret), opens);
        QCOMPARE(v.unlock(secret), opens);
        QCOMPARE(v.locker.lockState(), opens ? LockState::unlocked : LockState::locked);
        QCOMPARE(v.locker.runWithInventory([](Inventory &inventory) {
            inventory.upsert(InventoryItem("Kept", {}, "p"));
        }),
                 opens);
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
        QCOMPARE(bool(session), opens);
        if (recreatedMeanwhile) {
            QVERIFY(QFile::remove(v.vault.filePath()));
            pexi::Vault(v.vault.dataDirectory(), v.keys).create(TemporaryVault::chosen());
            v.vault.reloadHeader();
        }
        const bool installs = opens && !recreatedMeanwhile;
        QCOMPARE(session && v.locker.install(std::move(session)), installs);
        QCOMPARE(v.locker.lockState(), installs ? LockState::unlocked : LockState::locked);
        QCOMPARE(notifiedOn, installs ? QThread::currentThread() : nullptr);
        if (installs) {
            v.locker.runWithInventory([](Inventory &inventory) {
                QCOMPARE(inventory.itemList().value(0).title(), QStringLiteral("Kept"));
            });
        }
    }

    void lockAndNotifications()
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
        const QString journal = v.vault.filePath() + "-wal";
        QVERIFY(QFile::exists(journal));
        v.locker.lock();
        // Only the items are dropped on another thread: the file is closed (and its journal folded
        // in) before lock() returns.
        QVERIFY(!QFile::exists(journal));
        v.locker.lock(); // already locked: none either
        bool ran = false;
        QVERIFY(!v.locker.runWithInventory([&](Inventory &) { ran = true; }));
        QVERIFY(!ran);
        QVERIFY(!v.locker.unlock()); // the secret went with the lock
        QCOMPARE(fromLocker,
                 (QStringList{Locker::PexiUnlockedNotification, Locker::PexiLockedNotification}));
        QCOMPARE(fromAnyone, QStringList{Locker::PexiLockedNotification});
        QVERIFY(fromOther.isEmpty());

        center.removeObserver(lockedToken);
        QVERIFY(v.unlock());
        v.locker.lock();
        QCOMPARE(fromLocker.count(Locker::PexiLockedNotification), 1);
        QCOMPARE(fromLocker.count(Locker::PexiUnlockedNotification), 2);

        // Observers run on the thread that posts.
        QThread *ranOn = nullptr;
        center.addObserver(
            "n", nullptr, [&](const QString &, const void *) { ranOn = QThread::currentThread(); });
        const std::unique_ptr<QThread> poster(QThread::create([&] { center.post("n", nullptr); }));
        poster->start();
        QVERIFY(poster->wait(5000));
        QCOMPARE(ranOn, poster.get());
    }

    // Another opener adds an item while the vault is open here: the file watch notices, the open
    // inventory picks it up and its listeners hear of it.
    void syncPicksUpOtherWrites()
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

        TemporaryVault elsewhere(false, &v);
        QVERIFY(elsewhere.unlock());
        elsewhere.locker.runWithInventory([](Inventory &inventory) {
            inventory.upsert(InventoryItem("From elsewhere", {}, "e"));
        });
        QTRY_COMPARE_WITH_TIMEOUT(updated, 1, 10000);
        QCOMPARE(storeChanged, 0);
        QCOMPARE(changes.size(), 2);
        QCOMPARE(changes.last().first().value<pexi::InventoryChange>().added.size(), 1);
        v.locker.runWithInventory([](Inventory &inventory) {
            QCOMPARE(inventory.search("from elsewhere").value(0).password(), QStringLiteral("e"));
        });

        // The vault is made anew underneath (new keys and grids): the store changed.
        for (const QString suffix : {"", "-wal", "-shm"})
            QFile::remove(v.vault.filePath() + suffix);
        pexi::Vault(v.vault.dataDirectory(), v.keys).create(TemporaryVault::chosen());
        QTRY_COMPARE_WITH_TIMEOUT(storeChanged, 1, 10000);
    }
};

QTEST_GUILESS_MAIN(TestLocker)
#include "tst_locker.moc"
