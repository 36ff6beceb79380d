#include "support/ProcessOutput.h"

#include <QFileInfo>
#include <QProcess>
#include <QTcpServer>
#include <QTcpSocket>
#include <QTemporaryDir>
#include <QTest>

#include <memory>

// The real pexi-worker, several copies of it for one user (one runtime directory): exactly one
// serves the extensions, a later one hands over and exits 0. Every copy is ended by the test.
class TestWorkerInstances : public QObject
{
    Q_OBJECT

    QTemporaryDir m_root;
    quint16 m_port = 0;

    std::unique_ptr<QProcess> start(const QStringList &arguments = {})
    {
        auto worker = std::make_unique<QProcess>();
        QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
        environment.insert("XDG_RUNTIME_DIR", m_root.filePath("runtime"));
        environment.insert("XDG_CONFIG_HOME", m_root.filePath("config"));
        environment.insert("PEXI_DATA_DIR", m_root.filePath("data"));
        environment.insert("PEXI_NO_KEYRING", "1");
        environment.insert("PEXI_EXTENSION_PORT", QString::number(m_port));
        // Nothing answers there: no analytics leave the machine, no desktop services are met.
        environment.insert("PEXI_ANALYTICS_BASE", "http://127.0.0.1:9/");
        environment.insert("DBUS_SESSION_BUS_ADDRESS", "unix:path=" + m_root.filePath("no-bus"));
        worker->setProcessEnvironment(environment);
        worker->setProcessChannelMode(QProcess::MergedChannels);
        worker->start(PEXI_BIN_DIR "/pexi-worker", arguments);
        return worker;
    }
    bool serving() const
    {
        QTcpSocket socket;
        socket.connectToHost("127.0.0.1", m_port);
        return socket.waitForConnected(1000);
    }
    static void stop(QProcess &worker)
    {
        worker.terminate();
        QVERIFY(worker.waitForFinished(10000));
        QCOMPARE(worker.exitCode(), 0);
    }

private slots:
    void init()
    {
        QTcpServer probe;
        QVERIFY(probe.listen(QHostAddress::LocalHost));
        m_port = probe.serverPort();
    }

    // Two copies started at the same instant, several times over: one serves and opens its
    // window for the other (neither asks for it at launch), which exits 0.
    void startedTogether()
    {
        for (int round = 0; round < 5; ++round) {
            auto first = start();
            auto second = start();
            QVERIFY(QTest::qWaitFor([&] {
                return first->state() == QProcess::NotRunning ||
                       second->state() == QProcess::NotRunning;
            }));
            QProcess &loser = first->state() == QProcess::NotRunning ? *first : *second;
            QProcess &winner = &loser == first.get() ? *second : *first;
            QCOMPARE(loser.exitStatus(), QProcess::NormalExit);
            QCOMPARE(loser.exitCode(), 0);
            QVERIFY(loser.readAll().contains("another worker is running"));
            QByteArray output;
            QVERIFY(waitForOutput(winner, "floating window opens at", output));
            QVERIFY(serving());
            QCOMPARE(winner.state(), QProcess::Running);
            stop(winner);
        }
    }

    // A copy killed outright leaves its lock and its socket behind; the next copy serves anyway
    // and the one after it hands over to that one.
    void crashedCopyIsTakenOver()
    {
        auto crashed = start();
        QVERIFY(QTest::qWaitFor([&] { return serving(); }, 10000));
        crashed->kill();
        QVERIFY(crashed->waitForFinished(10000));
        QVERIFY(QFile::exists(m_root.filePath("runtime/pexi/worker.socket")));
        QCOMPARE(QFileInfo(m_root.filePath("runtime/pexi")).permissions() & 0x0FFF,
                 QFileDevice::ReadUser | QFileDevice::WriteUser | QFileDevice::ExeUser);

        auto next = start();
        QVERIFY(QTest::qWaitFor([&] { return serving(); }, 10000));
        auto later = start();
        QVERIFY(later->waitForFinished(10000));
        QCOMPARE(later->exitCode(), 0);
        QByteArray output;
        QVERIFY(waitForOutput(*next, "floating window opens at", output));
        stop(*next);
    }
};

QTEST_GUILESS_MAIN(TestWorkerInstances)
#include "tst_workerinstances.moc"
