// The real pexi-worker starting with its tray, as on a desktop: an X display (Xvfb) and a session
// bus of its own where this program plays the shell's StatusNotifierWatcher. From exec to the
// extension port listening and the tray item registered with the shell, the later of the two;
// then the worker's memory once idle with its tray. The same figures without a tray host
// (offscreen, no bus), for what the tray costs. Prints NAME VALUE UNIT lines.
#include "bench/BenchVault.h"
#include "bench/WorkerProcess.h"
#include "support/PrivateSessionBus.h"

#include <QCoreApplication>
#include <QDBusConnection>
#include <QDBusContext>
#include <QDBusMessage>
#include <QTemporaryDir>

#include <optional>

namespace {

constexpr int runs = 9;

// What a desktop shell runs for tray items: it tells the items a host draws them and notes
// when one registers.
class StatusNotifierWatcher : public QObject, protected QDBusContext
{
    Q_OBJECT
    Q_CLASSINFO("D-Bus Interface", "org.kde.StatusNotifierWatcher")
    Q_PROPERTY(bool IsStatusNotifierHostRegistered READ hostRegistered)
    Q_PROPERTY(int ProtocolVersion READ protocolVersion)
public:
    bool hostRegistered() const { return true; }
    int protocolVersion() const { return 0; }
    std::optional<WorkerProcess::Clock::time_point> registered;

public slots:
    void RegisterStatusNotifierItem(const QString &) { registered = WorkerProcess::Clock::now(); }
    void RegisterStatusNotifierHost(const QString &) {}
};

// An X display of this program's own; the server writes the number it took.
class PrivateDisplay
{
public:
    ~PrivateDisplay()
    {
        m_server.terminate();
        m_server.waitForFinished(5000);
    }
    QString start()
    {
        m_server.start(QStringLiteral("Xvfb"), {QStringLiteral("-displayfd"), QStringLiteral("1"),
                                                QStringLiteral("-nolisten"), QStringLiteral("tcp"),
                                                QStringLiteral("-screen"), QStringLiteral("0"),
                                                QStringLiteral("1280x800x24")});
        if (!m_server.waitForStarted(10000) || !m_server.waitForReadyRead(20000))
            qFatal("Xvfb did not start");
        return u':' + QString::fromLatin1(m_server.readLine()).trimmed();
    }

private:
    QProcess m_server;
};

struct Startup
{
    double listeningMs = 0;
    double readyMs = 0; // listening and, with a watcher, the tray item registered
};

// One worker from exec until it listens and, when `watcher` is given, its tray item registered.
Startup startOnce(WorkerProcess &worker, StatusNotifierWatcher *watcher)
{
    if (watcher)
        watcher->registered.reset();
    std::optional<double> listening;
    while (!listening || (watcher && !watcher->registered)) {
        if (worker.msSinceExec() > 20000)
            qFatal("pexi-worker was not ready within 20 s");
        QCoreApplication::processEvents(); // the watcher hears the item here
        if (!listening && accepts(worker.port()))
            listening = worker.msSinceExec();
        worker.failIfExited();
        std::this_thread::sleep_for(std::chrono::microseconds(200));
    }
    const double registered = watcher ? worker.msSinceExec(*watcher->registered) : 0;
    return {*listening, std::max(*listening, registered)};
}

// The median start-up over `runs` workers after one to warm the page cache, and the memory of
// one more left idle for a second.
void measure(const QString &binary, const QProcessEnvironment &environment,
             StatusNotifierWatcher *watcher, const QString &suffix)
{
    QList<double> listening;
    QList<double> ready;
    for (int run = 0; run <= runs; ++run) {
        WorkerProcess worker(binary, environment, freePort());
        const Startup startup = startOnce(worker, watcher);
        if (run == 0)
            continue;
        listening.append(startup.listeningMs);
        ready.append(startup.readyMs);
    }
    WorkerProcess worker(binary, environment, freePort());
    startOnce(worker, watcher);
    const auto idle = WorkerProcess::Clock::now() + std::chrono::seconds(1);
    while (WorkerProcess::Clock::now() < idle) {
        QCoreApplication::processEvents();
        std::this_thread::sleep_for(std::chrono::milliseconds(5));
    }
    if (watcher) {
        print("exec_to_listening_with_tray_host", median(listening), "ms");
        print("exec_to_tray_and_listening", median(ready), "ms");
        print("idle_rss_with_tray", worker.residentMiB(), "MiB");
    } else {
        print(qPrintable("exec_to_listening" + suffix), median(listening), "ms");
        print(qPrintable("idle_rss" + suffix), worker.residentMiB(), "MiB");
    }
}

} // namespace

int main(int argc, char *argv[])
{
    QCoreApplication app(argc, argv);
    const QString binDir = QCoreApplication::applicationDirPath();
    const QString worker = binDir + QStringLiteral("/pexi-worker");

    QTemporaryDir root;
    QProcessEnvironment environment = isolatedWorkerEnvironment(root.path());
    // The desktop's own theme and bus stay out of it.
    environment.remove(QStringLiteral("QT_QPA_PLATFORMTHEME"));
    environment.remove(QStringLiteral("XDG_CURRENT_DESKTOP"));
    environment.remove(QStringLiteral("DBUS_SESSION_BUS_ADDRESS"));
    makeWorkerVault(binDir + QStringLiteral("/pexi-vault"), environment);

    QProcessEnvironment offscreen = environment;
    offscreen.insert(QStringLiteral("QT_QPA_PLATFORM"), QStringLiteral("offscreen"));
    measure(worker, offscreen, nullptr, QStringLiteral("_without_tray_host"));

    PrivateDisplay display;
    PrivateSessionBus bus;
    const QString address = bus.start();
    if (address.isEmpty())
        qFatal("dbus-daemon did not start");
    QDBusConnection shell = QDBusConnection::connectToBus(address, QStringLiteral("shell"));
    StatusNotifierWatcher watcher;
    if (!shell.registerObject(QStringLiteral("/StatusNotifierWatcher"), &watcher,
                              QDBusConnection::ExportAllContents) ||
        !shell.registerService(QStringLiteral("org.kde.StatusNotifierWatcher")))
        qFatal("the watcher did not register on the private bus");
    QProcessEnvironment desktop = environment;
    desktop.insert(QStringLiteral("QT_QPA_PLATFORM"), QStringLiteral("xcb"));
    desktop.insert(QStringLiteral("DISPLAY"), display.start());
    desktop.insert(QStringLiteral("DBUS_SESSION_BUS_ADDRESS"), address);
    measure(worker, desktop, &watcher, QString());
    return 0;
}

#include "main.moc"
