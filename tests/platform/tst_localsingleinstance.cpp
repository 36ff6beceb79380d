#include "platform/LocalSingleInstance.h"

#include <QDir>
#include <QFile>
#include <QSignalSpy>
#include <QTemporaryDir>
#include <QTest>

#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/un.h>
#include <unistd.h>

using namespace pexi;
using Claim = SingleInstance::Claim;

class TestLocalSingleInstance : public QObject
{
    Q_OBJECT

    // A socket file nobody listens on, as a copy that crashed leaves it.
    static bool leaveDanglingSocket(const QString &path)
    {
        sockaddr_un address{};
        address.sun_family = AF_UNIX;
        qstrncpy(address.sun_path, QFile::encodeName(path).constData(), sizeof address.sun_path);
        const int fd = ::socket(AF_UNIX, SOCK_STREAM, 0);
        const bool bound = ::bind(fd, reinterpret_cast<sockaddr *>(&address), sizeof address) == 0;
        ::close(fd);
        return bound;
    }

private slots:
    // Three copies in turn in one directory: the first serves, the later ones hand over and the
    // first hears each of them once. `leftBehind` is what a crashed copy left there.
    void handOver_data()
    {
        QTest::addColumn<QString>("leftBehind");
        QTest::newRow("fresh") << "";
        QTest::newRow("dangling socket") << "socket";
        QTest::newRow("directory of another mode") << "open directory";
    }
    void handOver()
    {
        QFETCH(QString, leftBehind);
        QTemporaryDir root;
        const QString directory = root.filePath("runtime/pexi");
        if (leftBehind == "socket") {
            QVERIFY(QDir().mkpath(directory));
            QVERIFY(leaveDanglingSocket(directory + "/worker.socket"));
        } else if (leftBehind == "open directory") {
            QVERIFY(QDir().mkpath(directory));
            QCOMPARE(::chmod(QFile::encodeName(directory).constData(), 0777), 0);
        }

        LocalSingleInstance first(directory);
        QSignalSpy reopened(&first, &SingleInstance::reopen);
        QCOMPARE(first.claim(), Claim::serving);
        struct stat status;
        QCOMPARE(::stat(QFile::encodeName(directory).constData(), &status), 0);
        QCOMPARE(status.st_mode & 0777, 0700u);
        for (int later = 1; later <= 2; ++later) {
            LocalSingleInstance copy(directory);
            QCOMPARE(copy.claim(), Claim::anotherIsServing);
            QTRY_COMPARE(reopened.count(), later);
        }
    }

    // Once the serving copy ends, the next one serves, whatever the last one left.
    void servingCopyEnds()
    {
        QTemporaryDir root;
        {
            LocalSingleInstance first(root.path());
            QCOMPARE(first.claim(), Claim::serving);
        }
        LocalSingleInstance next(root.path());
        QCOMPARE(next.claim(), Claim::serving);
    }
};

QTEST_MAIN(TestLocalSingleInstance)
#include "tst_localsingleinstance.moc"
