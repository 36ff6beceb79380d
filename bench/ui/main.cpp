// The unlock as the user meets it: from the last pick, a real key press on the real recall
// screen (offscreen), to the screen telling its delegate, as a ratio to the key derivation
// alone measured in the same run; and the longest the main event loop stood still meanwhile,
// which the worker-thread unlock keeps short; the password list (ListBench.h) and the floating
// window (WindowBench.h). Prints NAME VALUE UNIT lines.
#include "bench/BenchVault.h"
#include "bench/ui/ListBench.h"
#include "bench/ui/WindowBench.h"
#include "support/DesktopDoubles.h"

#include "extension/BrowserController.h"
#include "recall/RecallCollectionViewController.h"
#include "recall/RecallViewController.h"
#include "recall/RecallViewControllerDelegate.h"
#include "recall/SlidingStackedWidget.h"

#include <QApplication>
#include <QElapsedTimer>
#include <QProcess>
#include <QTest>
#include <QTimer>

using namespace pexi;

namespace {

constexpr int runs = 7;

// The key derivation alone, with the secret the screen's picks make.
double kdfMs(BenchVault &bench)
{
    const SecureBytes secret = SecureBytes::fromUtf8(bench.secret);
    QElapsedTimer timer;
    timer.start();
    if (!bench.vault.keyForSecret(secret))
        qFatal("bench secret did not open the vault");
    return timer.nsecsElapsed() / 1e6;
}

// The letters of the user's pictures on each page, as they would type them.
QList<QList<char>> lettersOf(GridLibrary &grids)
{
    QList<QList<char>> letters;
    const QList<ImageGrid> all = grids.grids();
    for (int page = 0; page < all.size(); ++page) {
        QList<char> typed;
        for (const QString &name : BenchVault::chosen().at(page)) {
            const qsizetype index = all.at(page).pictureNames().indexOf(name);
            typed.append(RecallCollectionViewController::letters.at(index).at(0).toLatin1());
        }
        letters.append(typed);
    }
    return letters;
}

struct Timing : RecallViewControllerDelegate
{
    void recallViewControllerDidUnlock(RecallViewController *) override
    {
        unlockedMs = sinceLastPick.nsecsElapsed() / 1e6;
    }
    QElapsedTimer sinceLastPick;
    double unlockedMs = -1;
};

struct Figures
{
    double unlockMs;
    double kdfMs;
    double stallMs;
};

Figures unlockThroughScreen(BenchVault &bench)
{
    GridLibrary grids(bench.vault);
    NullLauncher launcher;
    BrowserController browser(launcher);
    RecallViewController screen({grids, bench.vault, bench.locker, browser, launcher});
    Timing timing;
    screen.setDelegate(&timing);
    screen.resize(320, 460);
    screen.show();
    const QList<QList<char>> letters = lettersOf(grids);

    // A 1 ms timer: the gap between two of its ticks is how long the loop did not turn.
    QElapsedTimer sinceTick;
    double stall = 0;
    bool measuring = false;
    QTimer ticker;
    ticker.setTimerType(Qt::PreciseTimer);
    QObject::connect(&ticker, &QTimer::timeout, [&] {
        if (measuring)
            stall = std::max(stall, sinceTick.nsecsElapsed() / 1e6);
        sinceTick.restart();
    });
    ticker.start(1);

    QList<double> times;
    QList<double> kdfs;
    for (int run = 0; run < runs; ++run) {
        // A moment after the last lock, as a person unlocks: the items of the session before are
        // dropped in the background and are not this unlock's cost. The floor is measured in
        // each run, so that a machine slowed for a while slows both alike.
        QTest::qWait(300);
        kdfs.append(kdfMs(bench));
        for (int page = 0; page < letters.size(); ++page) {
            for (int pick = 0; pick < letters.at(page).size(); ++pick) {
                const bool last = page == letters.size() - 1 && pick == letters.at(page).size() - 1;
                if (last) {
                    // A person takes longer to find a picture than the page takes to slide in.
                    QTest::qWait(SlidingStackedWidget::slideDurationMs + 50);
                    timing.unlockedMs = -1;
                    sinceTick.restart();
                    measuring = true;
                    timing.sinceLastPick.start();
                }
                QTest::keyClick(screen.page(screen.selectedIndex()), letters.at(page).at(pick));
                QCoreApplication::processEvents(); // the pick drawn, as the user would see it
            }
        }
        // The keyClick above counts as a stall too, when the main thread does the work.
        stall = std::max(stall, sinceTick.nsecsElapsed() / 1e6);

        while (timing.unlockedMs < 0)
            QCoreApplication::processEvents(QEventLoop::WaitForMoreEvents);
        measuring = false;
        times.append(timing.unlockedMs);
        bench.locker.lock();
    }
    return {median(times), median(kdfs), stall};
}

} // namespace

int main(int argc, char *argv[])
{
    if (qEnvironmentVariableIsEmpty("QT_QPA_PLATFORM"))
        qputenv("QT_QPA_PLATFORM", "offscreen");
    qputenv("PEXI_NO_KEYRING", "1");
    QApplication app(argc, argv);
    // "window", "list" or "unlock" runs that part alone. Without one, each part runs in a process
    // of its own, so that the memory one reports is not what another left behind.
    const QString only = app.arguments().value(1);
    if (only.isEmpty()) {
        for (const char *part : {"window", "list", "unlock"}) {
            QProcess child;
            child.setProcessChannelMode(QProcess::ForwardedChannels);
            child.start(QCoreApplication::applicationFilePath(), {QString::fromLatin1(part)});
            if (!child.waitForFinished(15 * 60 * 1000)) {
                child.kill();
                child.waitForFinished();
                qFatal("bench-ui %s did not finish within 15 minutes", part);
            }
        }
        return 0;
    }
    if (only == QLatin1String("window"))
        benchWindow();
    if (only == QLatin1String("list"))
        benchList();
    if (only != QLatin1String("unlock"))
        return 0;

    double stall = 0;
    for (const auto &[count, label] : {std::pair{1000, "1k"}, {10000, "10k"}, {100000, "100k"}}) {
        BenchVault bench(count);
        const Figures figures = unlockThroughScreen(bench);
        stall = std::max(stall, figures.stallMs);
        print(qPrintable(QStringLiteral("unlock_%1_vs_kdf").arg(label)),
              figures.unlockMs / figures.kdfMs, "ratio");
    }
    print("unlock_main_thread_stall_max", stall, "ms");
    return 0;
}
