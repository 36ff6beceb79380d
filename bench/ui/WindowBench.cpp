#include "bench/ui/WindowBench.h"

#include "bench/BenchVault.h"
#include "support/DesktopDoubles.h"
#include "support/TemporaryPreferences.h"

#include "app/SettingsPopupMenu.h"
#include "app/Window.h"
#include "core/SyncService.h"
#include "extension/BrowserController.h"
#include "ui/Appearance.h"

#include <QApplication>
#include <QElapsedTimer>
#include <QTest>

#include <functional>

#include <malloc.h>

using namespace pexi;

namespace {

constexpr int runs = 9;

// Sees every paint in the application: only the window being shown paints meanwhile.
class PaintWatch : public QObject
{
public:
    PaintWatch() { qApp->installEventFilter(this); }
    bool painted = false;

protected:
    bool eventFilter(QObject *, QEvent *event) override
    {
        if (event->type() == QEvent::Paint)
            painted = true;
        return false;
    }
};

struct Shown
{
    double callMs;  // the call alone: building the screens and showing
    double paintMs; // to the end of the event-loop turn that painted what it showed
};

Shown toFirstPaint(PaintWatch &watch, const std::function<void()> &show)
{
    watch.painted = false;
    QElapsedTimer timer;
    timer.start();
    show();
    const double call = timer.nsecsElapsed() / 1e6;
    while (!watch.painted) {
        if (timer.elapsed() > 10000)
            qFatal("nothing painted within 10 s");
        QCoreApplication::processEvents();
    }
    return {call, timer.nsecsElapsed() / 1e6};
}

// Windows closed or deleted later go now, so that one run does not pay for the last, and the
// event loop turns for a moment with nothing to do, as it does between a person's clicks, which
// come seconds apart: the worker makes the next window ahead then, and a click shows it.
void settle()
{
    QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
    QTest::qWait(20);
}

// The floating window over a bench vault, with the desktop's services stood in for.
struct WindowOnVault
{
    explicit WindowOnVault(BenchVault &bench) : bench(bench)
    {
        preferences->setShowWelcomeScreen(false);
    }
    FloatingWindow *floating() { return window.windowController().window(); }

    BenchVault &bench;
    GridLibrary grids{bench.vault};
    NullLauncher launcher;
    BrowserController browser{launcher};
    NullApplicationLauncher applications;
    TemporaryPreferences store;
    std::unique_ptr<Preferences> preferences = store.preferences();
    SyncService sync{bench.vault, bench.locker};
    NullEventLogger analytics;
    SettingsPopupMenu settingsMenu{{bench.locker, browser, launcher, applications, *preferences}};
    Window window{{{grids, bench.vault, bench.locker, browser, launcher},
                   {bench.locker, sync, analytics, settingsMenu, browser},
                   *preferences}};
};

double showVsEmptyWindow(WindowOnVault &shown)
{
    PaintWatch watch;
    // The first showing makes its window then and there, and loads pictures and style for good.
    print("window_first_show_ms",
          toFirstPaint(watch,
                       [&] {
                           shown.window.showAt({400, 40});
                       })
              .paintMs,
          "ms");
    const QSize size = shown.floating()->size();
    QList<double> calls;
    QList<double> windows;
    QList<double> empties;
    // Alternating, so that a busy machine slows both alike.
    for (int run = 0; run < runs; ++run) {
        // The window a person saw last has gone by the time they click again.
        shown.floating()->close();
        settle();
        const Shown window = toFirstPaint(watch, [&] { shown.window.showAt({400, 40}); });
        calls.append(window.callMs);
        windows.append(window.paintMs);
        settle();
        QWidget empty(nullptr, Qt::Tool | Qt::FramelessWindowHint);
        empty.setAttribute(Qt::WA_TranslucentBackground);
        empty.resize(size);
        empties.append(toFirstPaint(watch, [&] { empty.show(); }).paintMs);
    }
    shown.floating()->close();
    settle();
    print("window_show_ms", median(windows), "ms");
    print("window_show_call_ms", median(calls), "ms");
    print("empty_window_show_ms", median(empties), "ms");
    return median(windows) / median(empties);
}

} // namespace

void benchWindow()
{
    // The worker's fonts, style and style sheet, which every showing is polished and drawn with.
    Appearance::instance().apply();
    BenchVault bench(10000);
    // Making the vault here left freed heap behind that the worker, which only opens its vault,
    // never has: handed back, so that the memory below is the open vault's and the window's.
    malloc_trim(0);
    print("rss_locked_no_window", residentMiB(), "MiB");
    WindowOnVault shown(bench);
    print("window_show_vs_empty_window", showVsEmptyWindow(shown), "ratio");

    bench.unlock();
    settle();
    print("rss_unlocked_10k_no_window", residentMiB(), "MiB");
    shown.window.showAt({400, 40});
    // The list is slid in at once when the vault is open; its rows drawn by the next turns.
    QTest::qWait(500);
    print("rss_window_10k", residentMiB(), "MiB");
    shown.floating()->close();
    settle();
    bench.locker.lock();
}
