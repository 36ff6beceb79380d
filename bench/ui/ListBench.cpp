#include "bench/ui/ListBench.h"

#include "bench/BenchVault.h"
#include "support/DesktopDoubles.h"
#include "support/TemporaryPreferences.h"

#include "app/SettingsPopupMenu.h"
#include "app/SettingsPopupMenuWindow.h"
#include "core/SyncService.h"
#include "extension/BrowserController.h"
#include "inventory/InventoryViewController.h"
#include "ui/Appearance.h"

#include <QApplication>
#include <QElapsedTimer>
#include <QLineEdit>
#include <QListView>
#include <QTest>

using namespace pexi;

namespace {

constexpr int runs = 7;

// The list on screen over a bench vault, with the desktop's services stood in for.
struct ListOnScreen
{
    explicit ListOnScreen(BenchVault &bench) : bench(bench)
    {
        bench.unlock();
        screen.resize(340, 440);
        screen.show();
        if (!QTest::qWaitForWindowExposed(&screen))
            qFatal("the list did not show");
        search = screen.findChild<QLineEdit *>();
        list = screen.findChild<QListView *>();
    }
    ~ListOnScreen() { bench.locker.lock(); }

    // Until the list on screen shows what the model holds.
    void repainted()
    {
        QCoreApplication::processEvents();
        list->viewport()->repaint();
    }

    BenchVault &bench;
    SyncService sync{bench.vault, bench.locker};
    NullLauncher launcher;
    BrowserController browser{launcher};
    NullApplicationLauncher applications;
    TemporaryPreferences preferencesStore;
    std::unique_ptr<Preferences> preferences = preferencesStore.preferences();
    SettingsPopupMenu settings{{bench.locker, browser, launcher, applications, *preferences}};
    NullEventLogger analytics;
    InventoryViewController screen{{bench.locker, sync, analytics, settings}};
    QLineEdit *search = nullptr;
    QListView *list = nullptr;
};

// One key in the search field, from `before` to the repainted list, against the core's search
// for the text it leaves.
double keystrokeVsSearch(ListOnScreen &shown, const QString &before, Qt::Key key)
{
    QList<double> keystrokes;
    QList<double> searches;
    for (int run = 0; run < runs; ++run) {
        shown.search->setText(before);
        shown.repainted();
        QElapsedTimer timer;
        timer.start();
        QTest::keyClick(shown.search, key);
        shown.repainted();
        keystrokes.append(timer.nsecsElapsed() / 1e6);

        const QString after = shown.search->text();
        timer.restart();
        qsizetype found = 0;
        shown.bench.locker.runWithInventory(
            [&](Inventory &inventory) { found = inventory.search(after).size(); });
        searches.append(timer.nsecsElapsed() / 1e6);
        if (found != shown.screen.model().rowCount())
            qFatal("the list does not show what the core found");
    }
    shown.search->clear();
    return median(keystrokes) / median(searches);
}

// From the flow's call until the list on screen shows the change.
template <class Flow> double untilShown(ListOnScreen &shown, Flow flow)
{
    QList<double> times;
    for (int run = 0; run < runs; ++run) {
        QElapsedTimer timer;
        timer.start();
        flow(run);
        shown.repainted();
        times.append(timer.nsecsElapsed() / 1e6);
    }
    return median(times);
}

} // namespace

void benchList()
{
    // The worker's fonts, style and style sheet: the list, its field and its scroll bar as drawn
    // on screen.
    Appearance::instance().apply();
    for (const auto &[count, label] : {std::pair{10000, "10k"}, {100000, "100k"}}) {
        BenchVault bench(count);
        ListOnScreen shown(bench);
        // A key typed narrows what the last one found; one taken back asks the core again.
        print(qPrintable(QStringLiteral("search_keystroke_%1_vs_core_search").arg(label)),
              keystrokeVsSearch(shown, QStringLiteral("account 12"), Qt::Key_3), "ratio");
        print(qPrintable(QStringLiteral("search_backspace_%1_vs_core_search").arg(label)),
              keystrokeVsSearch(shown, QStringLiteral("account 123"), Qt::Key_Backspace), "ratio");
        if (count < 100000)
            continue;
        print("rss_list_100k", residentMiB(), "MiB");
        InventoryViewController &screen = shown.screen;
        print("refresh_after_save_100k",
              untilShown(shown,
                         [&](int run) {
                             screen.didAddPassword(InventoryItem(
                                 QStringLiteral("Account new %1").arg(run),
                                 QStringLiteral("new@mail.example"), QStringLiteral("password")));
                         }),
              "ms");
        print("refresh_after_edit_100k",
              untilShown(shown,
                         [&](int run) {
                             InventoryItem item = screen.model().item(run * 1000);
                             item.setTitle(QStringLiteral("Renamed %1").arg(run));
                             screen.didUpdatePassword(item);
                         }),
              "ms");
        print(
            "refresh_after_delete_100k",
            untilShown(shown,
                       [&](int run) { screen.didDeletePassword(screen.model().item(run * 1000)); }),
            "ms");
    }
}
