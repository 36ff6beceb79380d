// Vault figures: unlock time by vault size and search time by inventory size, each also as a
// ratio to a floor measured in the same run (the key derivation alone for unlocks, one pass
// over the item list for searches). Prints NAME VALUE UNIT lines.
#include "core/Account.h"
#include "core/EncryptionService.h"
#include "core/GridLibrary.h"
#include "core/Inventory.h"
#include "core/Locker.h"
#include "core/PictureLibrary.h"
#include "core/Vault.h"

#include <QCoreApplication>
#include <QElapsedTimer>
#include <QTemporaryDir>

#include <algorithm>
#include <cstdio>

using namespace pexi;

namespace {

struct Bench
{
    QTemporaryDir dir;
    std::shared_ptr<FileDeviceKeyStore> keys =
        std::make_shared<FileDeviceKeyStore>(dir.path() + "/keys");
    Vault vault{dir.path() + "/data", keys};
    Account account{vault};
    EncryptionService encryption{vault};
    Locker locker{vault, account, encryption};
    QString secret;

    explicit Bench(int items)
    {
        const QStringList names = PictureLibrary::names();
        const QList<QStringList> chosen{names.mid(0, 3), names.mid(3, 3), names.mid(6, 3)};
        vault.create(chosen);
        secret = GridLibrary::recallSecretForNames(chosen);
        unlock();
        QList<InventoryItem> batch;
        for (int i = 0; i < items; ++i) {
            const QString n = QString::number(i);
            batch.append(InventoryItem("Account " + n, "user" + n + "@mail.example",
                                       "password-" + n,
                                       "https://login.site" + QString::number(i % 5000) + ".com/"));
        }
        locker.runWithInventory([&](Inventory &inventory) { inventory.add(batch); });
        locker.lock();
    }

    void unlock()
    {
        account.takeRecallSecret(secret);
        if (!locker.unlock())
            qFatal("bench vault did not unlock");
    }
};

double median(QList<double> values)
{
    std::sort(values.begin(), values.end());
    return values.at(values.size() / 2);
}

void print(const char *name, double value, const char *unit)
{
    std::printf("%s %.*f %s\n", name, value < 10 ? 3 : 1, value, unit);
    std::fflush(stdout);
}

double unlockMs(Bench &bench)
{
    QList<double> runs;
    for (int i = 0; i < 3; ++i) {
        QElapsedTimer timer;
        timer.start();
        bench.unlock();
        runs.append(timer.nsecsElapsed() / 1e6);
        bench.locker.lock();
    }
    return median(runs);
}

// Median microseconds of `operation` over the open inventory.
double searchUs(Bench &bench, const std::function<int(Inventory &)> &operation)
{
    QList<double> runs;
    int sink = 0;
    bench.locker.runWithInventory([&](Inventory &inventory) {
        operation(inventory); // warm: the list order is built lazily
        for (int i = 0; i < 21; ++i) {
            QElapsedTimer timer;
            timer.start();
            sink += operation(inventory);
            runs.append(timer.nsecsElapsed() / 1e3);
        }
    });
    if (sink < 0)
        std::puts("");
    return median(runs);
}

} // namespace

int main(int argc, char *argv[])
{
    QCoreApplication app(argc, argv);
    qputenv("PEXI_NO_KEYRING", "1");

    Bench empty(0);
    const double kdf = unlockMs(empty);
    print("unlock_floor_kdf_only", kdf, "ms");

    for (const auto &[count, label] : {std::pair{1000, "1k"}, {10000, "10k"}, {100000, "100k"}}) {
        Bench bench(count);
        const double ms = unlockMs(bench);
        print(qPrintable(QStringLiteral("unlock_%1_items").arg(label)), ms, "ms");
        print(qPrintable(QStringLiteral("unlock_%1_items_vs_kdf").arg(label)), ms / kdf, "ratio");
        if (count < 10000)
            continue;
        bench.unlock();
        const double floor =
            searchUs(bench, [](Inventory &inventory) { return int(inventory.itemList().size()); });
        const double text = searchUs(
            bench, [](Inventory &inventory) { return int(inventory.search("user42@").size()); });
        const HostnameInfo host = HostnameInfo::fromString("https://www.site42.com");
        const double byHost = searchUs(bench, [&](Inventory &inventory) {
            return int(inventory.itemsMatchingHost(host).size());
        });
        print(qPrintable(QStringLiteral("list_%1_items").arg(label)), floor, "us");
        print(qPrintable(QStringLiteral("search_%1_items").arg(label)), text, "us");
        print(qPrintable(QStringLiteral("search_%1_items_vs_list").arg(label)), text / floor,
              "ratio");
        print(qPrintable(QStringLiteral("host_lookup_%1_items").arg(label)), byHost, "us");
        // The first listing after a change (made in memory, as sync does, to leave the disk out):
        // the order follows each change, nothing is sorted again.
        QList<InventoryItem> sample;
        bench.locker.runWithInventory(
            [&](Inventory &inventory) { sample = inventory.itemList().mid(0, 100); });
        int renamed = 0;
        const double afterChange = searchUs(bench, [&](Inventory &inventory) {
            InventoryItem item = sample.at(renamed % sample.size());
            item.setTitle("Renamed " + QString::number(++renamed));
            inventory.load({item});
            return int(inventory.itemList().size());
        });
        print(qPrintable(QStringLiteral("change_then_list_%1_items").arg(label)), afterChange,
              "us");
        print(qPrintable(QStringLiteral("change_then_list_%1_items_vs_list").arg(label)),
              afterChange / floor, "ratio");
        bench.locker.lock();
    }
    return 0;
}
