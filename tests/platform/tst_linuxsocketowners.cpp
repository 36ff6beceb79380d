#include "platform/LinuxSocketOwners.h"

#include <QTcpServer>
#include <QTcpSocket>
#include <QTest>

#include <fcntl.h>
#include <sys/socket.h>
#include <sys/wait.h>
#include <unistd.h>

using namespace pexi;

namespace {

constexpr uid_t nobody = 65534;

// Connects to the socket listening on `listener` from a child process running as `uid`, which
// holds the connection until the write end of the pipe `hold` is closed, then exits.
pid_t connectAs(uid_t uid, int listener, const int hold[2])
{
    const pid_t child = ::fork();
    if (child != 0)
        return child;
    ::close(hold[1]);
    if ((uid != ::geteuid() && (::setgid(uid) != 0 || ::setuid(uid) != 0)))
        ::_exit(2);
    sockaddr_storage address{};
    socklen_t length = sizeof address;
    ::getsockname(listener, reinterpret_cast<sockaddr *>(&address), &length);
    const int s = ::socket(address.ss_family, SOCK_STREAM, 0);
    if (::connect(s, reinterpret_cast<const sockaddr *>(&address), length) != 0)
        ::_exit(3);
    char byte;
    while (::read(hold[0], &byte, 1) > 0) {
    }
    ::_exit(0);
}

} // namespace

class TestLinuxSocketOwners : public QObject
{
    Q_OBJECT

private slots:
    void theOwnerOfThePeerIsFound_data()
    {
        QTest::addColumn<bool>("procNet");
        QTest::addColumn<bool>("ipv6");
        QTest::addColumn<bool>("otherUser");
        for (const bool procNet : {false, true}) {
            for (const bool ipv6 : {false, true}) {
                for (const bool other : {false, true}) {
                    QTest::addRow("%s %s %s", procNet ? "/proc/net" : "sock_diag",
                                  ipv6 ? "IPv6" : "IPv4", other ? "another user" : "this user")
                        << procNet << ipv6 << other;
                }
            }
        }
    }
    void theOwnerOfThePeerIsFound()
    {
        QFETCH(bool, procNet);
        QFETCH(bool, ipv6);
        QFETCH(bool, otherUser);
        if (otherUser && ::geteuid() != 0)
            QSKIP("only root can connect as another user");
        QTcpServer server;
        if (!server.listen(ipv6 ? QHostAddress::LocalHostIPv6 : QHostAddress::LocalHost))
            QSKIP("no loopback for this address family");
        int hold[2];
        QVERIFY(::pipe2(hold, O_CLOEXEC) == 0);
        const uid_t uid = otherUser ? nobody : ::geteuid();
        const pid_t child = connectAs(uid, int(server.socketDescriptor()), hold);
        ::close(hold[0]);
        const bool connected = server.waitForNewConnection(5000);
        const int accepted =
            connected ? int(server.nextPendingConnection()->socketDescriptor()) : -1;
        const std::optional<uid_t> owner = procNet ? LinuxSocketOwners::fromProcNet(accepted)
                                                   : LinuxSocketOwners::fromSockDiag(accepted);
        ::close(hold[1]);
        ::waitpid(child, nullptr, 0);
        QVERIFY(connected);
        QCOMPARE(owner, std::optional<uid_t>(uid));
    }

    void aSocketWithoutAPeerHasNoOwner()
    {
        const int unconnected = ::socket(AF_INET, SOCK_STREAM, 0);
        QCOMPARE(LinuxSocketOwners().ownerOfPeer(unconnected), std::nullopt);
        ::close(unconnected);
    }
};

QTEST_GUILESS_MAIN(TestLinuxSocketOwners)
#include "tst_linuxsocketowners.moc"
