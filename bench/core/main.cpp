// Vault figures: unlock time by vault size and search time by inventory size, each also as a
// ratio to a floor measured in the same run (the key derivation alone for unlocks, one pass
// over the item list for searches). Prints NAME VALUE UNIT lines.
#include "bench/BenchVault.h"

#include <QCoreApplication>
#include <QElapsedTimer>
#include <QThread>

using namespace pexi;

namespace {

using Bench = BenchVault;

// Median of five unlocks, each a moment after the last lock, as a person unlocks: the items of
// the previous session are dropped in the background and are not this unlock's cost.
double unlockMs(Bench &bench)
{
    QList<double> runs;
    for (int i = 0; i < 5; ++i) {
        QThread::msleep(300);
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
    // Every site distinct: nothing of parsing one login's site serves another.
    Bench distinct(100000, 100000);
    print("unlock_100k_items_distinct_sites_vs_kdf", unlockMs(distinct) / kdf, "ratio");
    return 0;
}
