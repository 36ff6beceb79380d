#include "platform/LinuxSocketOwners.h"

#include <QTest>

#include <arpa/inet.h>
#include <fcntl.h>
#include <netinet/in.h>
#include <poll.h>
#include <sys/socket.h>
#include <sys/wait.h>
#include <unistd.h>

using namespace pexi;

namespace {

constexpr uid_t nobody = 65534;

// A listening socket on the loopback of `family`, port chosen by the system.
int listenOnLoopback(int family, sockaddr_storage &address, socklen_t &length)
{
    const int listener = ::socket(family, SOCK_STREAM | SOCK_CLOEXEC, 0);
    address = {};
    if (family == AF_INET) {
        auto &in = reinterpret_cast<sockaddr_in &>(address);
        in.sin_family = AF_INET;
        in.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
        length = sizeof in;
    } else {
        auto &in6 = reinterpret_cast<sockaddr_in6 &>(address);
        in6.sin6_family = AF_INET6;
        in6.sin6_addr = in6addr_loopback;
        length = sizeof in6;
    }
    if (listener < 0 || ::bind(listener, reinterpret_cast<sockaddr *>(&address), length) != 0 ||
        ::listen(listener, 4) != 0 ||
        ::getsockname(listener, reinterpret_cast<sockaddr *>(&address), &length) != 0) {
        if (listener >= 0)
            ::close(listener);
        return -1;
    }
    return listener;
}

// Connects to `address` from a child process running as `uid`, which holds the connection
// until the write end of the pipe `hold` is closed, then exits.
pid_t connectAs(uid_t uid, const sockaddr_storage &address, socklen_t length, const int hold[2])
{
    const pid_t child = ::fork();
    if (child != 0)
        return child;
    ::close(hold[1]);
    if ((uid != ::geteuid() && (::setgid(uid) != 0 || ::setuid(uid) != 0)))
        ::_exit(2);
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
        QTest::addColumn<int>("family");
        QTest::addColumn<bool>("otherUser");
        for (const bool procNet : {false, true}) {
            for (const int family : {AF_INET, AF_INET6}) {
                for (const bool other : {false, true}) {
                    const QByteArray name = QByteArray(procNet ? "/proc/net" : "sock_diag") +
                                            (family == AF_INET ? " IPv4" : " IPv6") +
                                            (other ? " another user" : " this user");
                    QTest::newRow(name.constData()) << procNet << family << other;
                }
            }
        }
    }
    void theOwnerOfThePeerIsFound()
    {
        QFETCH(bool, procNet);
        QFETCH(int, family);
        QFETCH(bool, otherUser);
        if (otherUser && ::geteuid() != 0)
            QSKIP("only root can connect as another user");
        sockaddr_storage address;
        socklen_t length = 0;
        const int listener = listenOnLoopback(family, address, length);
        if (listener < 0)
            QSKIP("no loopback for this address family");
        int hold[2];
        QVERIFY(::pipe2(hold, O_CLOEXEC) == 0);
        const uid_t uid = otherUser ? nobody : ::geteuid();
        const pid_t child = connectAs(uid, address, length, hold);
        ::close(hold[0]);
        pollfd ready{listener, POLLIN, 0};
        const bool connected = ::poll(&ready, 1, 5000) == 1;
        const int accepted = connected ? ::accept(listener, nullptr, nullptr) : -1;
        const std::optional<uid_t> owner = procNet ? LinuxSocketOwners::fromProcNet(accepted)
                                                   : LinuxSocketOwners::fromSockDiag(accepted);
        ::close(hold[1]);
        int status = 0;
        ::waitpid(child, &status, 0);
        ::close(accepted);
        ::close(listener);
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
