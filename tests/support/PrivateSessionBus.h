#pragma once

#include <QProcess>
#include <QStandardPaths>
#include <QTest>

// A session bus of the test's own, so that fake desktop services never meet the real ones.
// The daemon stops with this object.
class PrivateSessionBus
{
public:
    ~PrivateSessionBus()
    {
        m_daemon.terminate();
        m_daemon.waitForFinished(5000);
    }

    // The bus address; empty when dbus-daemon is missing or did not start.
    QString start()
    {
        const QString daemon = QStandardPaths::findExecutable("dbus-daemon");
        if (daemon.isEmpty())
            return {};
        m_daemon.start(daemon, {"--session", "--nofork", "--print-address"});
        if (!QTest::qWaitFor([&] { return m_daemon.canReadLine(); }, 10000))
            return {};
        return QString::fromUtf8(m_daemon.readLine()).trimmed();
    }

private:
    QProcess m_daemon;
};
