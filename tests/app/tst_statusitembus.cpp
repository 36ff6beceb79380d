#include "app/StatusMenuController.h"
#include "capture/WindowPresenter.h"
#include "core/Log.h"
#include "support/PrivateSessionBus.h"
#include "support/ProcessOutput.h"
#include "support/TemporaryPreferences.h"
#include "support/TemporaryVault.h"
#include "ui/Appearance.h"

#include <QApplication>
#include <QDBusArgument>
#include <QDBusConnection>
#include <QDBusContext>
#include <QDBusMessage>
#include <QDBusVariant>
#include <QProcess>
#include <QSocketNotifier>
#include <QTest>

#include <unistd.h>

using namespace pexi;

// What a desktop shell runs for tray items, reduced to what an item needs to register.
class FakeStatusNotifierWatcher : public QObject, protected QDBusContext
{
    Q_OBJECT
    Q_CLASSINFO("D-Bus Interface", "org.kde.StatusNotifierWatcher")
    Q_PROPERTY(bool IsStatusNotifierHostRegistered READ hostRegistered)
    Q_PROPERTY(int ProtocolVersion READ protocolVersion)
    Q_PROPERTY(QStringList RegisteredStatusNotifierItems MEMBER items)
public:
    bool hostRegistered() const { return true; }
    int protocolVersion() const { return 0; }
    QStringList items;

public slots:
    void RegisterStatusNotifierItem(const QString &service)
    {
        items << (service.startsWith('/') ? message().service() : service);
    }
    void RegisterStatusNotifierHost(const QString &) {}
};

namespace {

const QString itemInterface = "org.kde.StatusNotifierItem";

// Says where the window would open, which is all the bus test looks for.
class LoggingWindow : public WindowPresenter
{
public:
    void showAt(QPointF) override { logLine(QStringLiteral("floating window opens at")); }
    void showAt(QPointF point, const InventoryItem &) override { showAt(point); }
};

// The status item of the worker in a process of its own, as the worker sets it up; it locks and
// unlocks its vault at the lines "lock" and "unlock" on its input, and answers each line.
int runStatusItem(int argc, char *argv[])
{
    QApplication application(argc, argv);
    TemporaryVault vault;
    TemporaryPreferences temporary;
    const auto preferences = temporary.preferences();
    LoggingWindow window;
    StatusMenuController controller(
        {window, vault.locker, vault.center, *preferences, Appearance::instance()});
    QSocketNotifier input(STDIN_FILENO, QSocketNotifier::Read);
    QObject::connect(&input, &QSocketNotifier::activated, [&] {
        char line[64] = {};
        const ssize_t length = ::read(STDIN_FILENO, line, sizeof line - 1);
        if (length <= 0)
            return QApplication::quit();
        if (qstrncmp(line, "unlock", 6) == 0)
            vault.unlock();
        else if (qstrncmp(line, "lock", 4) == 0)
            vault.locker.lock();
        ::printf("done %s", line);
        ::fflush(stdout);
    });
    return QApplication::exec();
}

// The labels of a dbusmenu layout (ia{sv}av), depth first, with their ids.
void readLayout(const QDBusArgument &argument, QList<QPair<int, QString>> &entries)
{
    int id = 0;
    QVariantMap properties;
    argument.beginStructure();
    argument >> id >> properties;
    if (properties.contains("label"))
        entries.append({id, properties.value("label").toString()});
    argument.beginArray();
    while (!argument.atEnd()) {
        QDBusVariant child;
        argument >> child;
        readLayout(child.variant().value<QDBusArgument>(), entries);
    }
    argument.endArray();
    argument.endStructure();
}

} // namespace

class TestStatusItemBus : public QObject
{
    Q_OBJECT

    PrivateSessionBus m_daemon;
    QString m_address;
    QProcess m_display;
    QString m_displayName;
    QDBusConnection m_bus{"shell"};
    FakeStatusNotifierWatcher m_watcher;
    QProcess m_item;
    QByteArray m_output;

    void startItem()
    {
        QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
        environment.insert("QT_QPA_PLATFORM", "xcb");
        environment.insert("DISPLAY", m_displayName);
        environment.insert("DBUS_SESSION_BUS_ADDRESS", m_address);
        environment.remove("QT_QPA_PLATFORMTHEME");
        environment.remove("XDG_CURRENT_DESKTOP");
        m_item.setProcessEnvironment(environment);
        m_output.clear();
        m_item.start(QCoreApplication::applicationFilePath(), {"--status-item"});
        QVERIFY(m_item.waitForStarted());
    }
    // Sends a line and waits for the item's answer, keeping what it printed.
    bool tell(const QByteArray &line)
    {
        m_item.write(line + '\n');
        return said("done " + line);
    }
    bool said(const QByteArray &text) { return waitForOutput(m_item, text, m_output); }
    QVariant property(const QString &service, const QString &name)
    {
        QDBusMessage get = QDBusMessage::createMethodCall(service, "/StatusNotifierItem",
                                                          "org.freedesktop.DBus.Properties", "Get");
        get << itemInterface << name;
        const QDBusMessage reply = m_bus.call(get);
        return reply.arguments().value(0).value<QDBusVariant>().variant();
    }
    // The largest picture of the icon, as the shell would draw it.
    QByteArray iconPixmap(const QString &service)
    {
        const QDBusArgument argument = property(service, "IconPixmap").value<QDBusArgument>();
        QByteArray largest;
        argument.beginArray();
        while (!argument.atEnd()) {
            int width = 0, height = 0;
            QByteArray bytes;
            argument.beginStructure();
            argument >> width >> height >> bytes;
            argument.endStructure();
            if (bytes.size() > largest.size())
                largest = bytes;
        }
        argument.endArray();
        return largest;
    }

private slots:
    void initTestCase()
    {
        if (QStandardPaths::findExecutable("Xvfb").isEmpty())
            QSKIP("no Xvfb to give the item an X display");
        m_address = m_daemon.start();
        if (m_address.isEmpty())
            QSKIP("no dbus-daemon to run a private bus");
        m_bus = QDBusConnection::connectToBus(m_address, "shell");
        QVERIFY(m_bus.isConnected());
        // The server writes the number it took, so that it never meets another test's.
        m_display.start("Xvfb",
                        {"-displayfd", "1", "-nolisten", "tcp", "-screen", "0", "1280x800x24"});
        QVERIFY(QTest::qWaitFor([&] { return m_display.canReadLine(); }, 20000));
        m_displayName = ':' + QString::fromLatin1(m_display.readLine()).trimmed();
    }
    void cleanupTestCase()
    {
        m_display.terminate();
        m_display.waitForFinished(5000);
    }
    void cleanup()
    {
        m_item.closeWriteChannel();
        if (!m_item.waitForFinished(10000))
            m_item.kill();
        m_bus.unregisterService("org.kde.StatusNotifierWatcher");
        m_bus.unregisterObject("/StatusNotifierWatcher");
        m_watcher.items.clear();
    }

    // With a shell's watcher on the bus the item registers, its icon follows an
    // unlock and a lock, and its menu's "Open Pexi" opens the window.
    void followsTheLock()
    {
        QVERIFY(m_bus.registerObject("/StatusNotifierWatcher", &m_watcher,
                                     QDBusConnection::ExportAllContents));
        QVERIFY(m_bus.registerService("org.kde.StatusNotifierWatcher"));
        startItem();
        QVERIFY(QTest::qWaitFor([&] { return !m_watcher.items.isEmpty(); }, 20000));
        const QString service = m_watcher.items.first();

        const QByteArray locked = iconPixmap(service);
        QVERIFY(!locked.isEmpty());
        QVERIFY(tell("unlock"));
        const QByteArray unlocked = iconPixmap(service);
        QVERIFY(!unlocked.isEmpty() && unlocked != locked);
        QVERIFY(tell("lock"));
        QCOMPARE(iconPixmap(service), locked);

        const QString menu = property(service, "Menu").value<QDBusObjectPath>().path();
        QDBusMessage getLayout =
            QDBusMessage::createMethodCall(service, menu, "com.canonical.dbusmenu", "GetLayout");
        getLayout << 0 << -1 << QStringList{"label"};
        const QDBusMessage layout = m_bus.call(getLayout);
        QCOMPARE(layout.type(), QDBusMessage::ReplyMessage);
        QList<QPair<int, QString>> entries;
        readLayout(layout.arguments().value(1).value<QDBusArgument>(), entries);
        QStringList labels;
        for (const auto &entry : entries)
            labels << entry.second;
        QCOMPARE(labels, QStringList({"Open Pexi", "Preferences…", "Quit Pexi"}));

        QDBusMessage click =
            QDBusMessage::createMethodCall(service, menu, "com.canonical.dbusmenu", "Event");
        click << entries.first().first << QString("clicked") << QVariant::fromValue(QDBusVariant(0))
              << 0u;
        m_bus.call(click);
        QVERIFY(said("floating window opens at"));
    }

    // Without one, the item says so once and the process goes on.
    void noTrayHost()
    {
        startItem();
        QVERIFY(said("no system tray on this desktop"));
        QVERIFY(tell("unlock"));
        QCOMPARE(m_output.count("no system tray"), 1);
        QVERIFY(m_watcher.items.isEmpty());
    }
};

int main(int argc, char *argv[])
{
    if (argc > 1 && qstrcmp(argv[1], "--status-item") == 0)
        return runStatusItem(argc, argv);
    QApplication application(argc, argv);
    TestStatusItemBus test;
    return QTest::qExec(&test, argc, argv);
}

#include "tst_statusitembus.moc"
