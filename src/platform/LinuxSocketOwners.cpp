#include "platform/LinuxSocketOwners.h"

#include <QFile>
#include <QList>

#include <array>
#include <cstring>

#include <arpa/inet.h>
#include <linux/inet_diag.h>
#include <linux/netlink.h>
#include <linux/sock_diag.h>
#include <netinet/in.h>
#include <sys/socket.h>
#include <sys/time.h>
#include <unistd.h>

namespace pexi {

namespace {

// One end of a connection: family, address in network order (4 or 16 bytes), port in host order.
struct Endpoint
{
    int family = AF_UNSPEC;
    std::array<quint8, 16> address{};
    quint16 port = 0;

    int addressBytes() const { return family == AF_INET ? 4 : 16; }
};

std::optional<Endpoint> endpoint(const sockaddr_storage &storage)
{
    Endpoint end;
    if (storage.ss_family == AF_INET) {
        const auto &in = reinterpret_cast<const sockaddr_in &>(storage);
        end.family = AF_INET;
        std::memcpy(end.address.data(), &in.sin_addr, 4);
        end.port = ntohs(in.sin_port);
        return end;
    }
    if (storage.ss_family == AF_INET6) {
        const auto &in6 = reinterpret_cast<const sockaddr_in6 &>(storage);
        end.port = ntohs(in6.sin6_port);
        if (IN6_IS_ADDR_V4MAPPED(&in6.sin6_addr)) {
            // A dual-stack listener: the peer is an IPv4 socket.
            end.family = AF_INET;
            std::memcpy(end.address.data(), in6.sin6_addr.s6_addr + 12, 4);
        } else {
            end.family = AF_INET6;
            std::memcpy(end.address.data(), in6.sin6_addr.s6_addr, 16);
        }
        return end;
    }
    return std::nullopt;
}

// The connection as the peer's socket sees it: its end first, ours second.
struct Connection
{
    Endpoint peer;
    Endpoint ours;
};

std::optional<Connection> connectionOf(int descriptor)
{
    sockaddr_storage peer{}, ours{};
    socklen_t peerLength = sizeof peer, ourLength = sizeof ours;
    if (::getpeername(descriptor, reinterpret_cast<sockaddr *>(&peer), &peerLength) != 0 ||
        ::getsockname(descriptor, reinterpret_cast<sockaddr *>(&ours), &ourLength) != 0)
        return std::nullopt;
    const auto peerEnd = endpoint(peer), ourEnd = endpoint(ours);
    if (!peerEnd || !ourEnd || peerEnd->family != ourEnd->family)
        return std::nullopt;
    return Connection{*peerEnd, *ourEnd};
}

// A file descriptor closed when it goes out of scope.
class Descriptor
{
public:
    explicit Descriptor(int descriptor) : m_descriptor(descriptor) {}
    ~Descriptor()
    {
        if (m_descriptor >= 0)
            ::close(m_descriptor);
    }
    Descriptor(const Descriptor &) = delete;
    Descriptor &operator=(const Descriptor &) = delete;
    int get() const { return m_descriptor; }

private:
    int m_descriptor;
};

// How /proc/net/tcp writes an address and port: each 32-bit word of the address as the kernel
// holds it, in hexadecimal, then the port.
QByteArray procNetText(const Endpoint &end)
{
    QByteArray text;
    for (int word = 0; word < end.addressBytes() / 4; ++word) {
        quint32 value;
        std::memcpy(&value, end.address.data() + 4 * word, 4);
        text += QByteArray::number(value, 16).rightJustified(8, '0');
    }
    return (text + ':' + QByteArray::number(end.port, 16).rightJustified(4, '0')).toUpper();
}

} // namespace

const SocketOwners &SocketOwners::system()
{
    static const LinuxSocketOwners owners;
    return owners;
}

std::optional<uid_t> LinuxSocketOwners::ownerOfPeer(int descriptor) const
{
    if (const auto owner = fromSockDiag(descriptor))
        return owner;
    return fromProcNet(descriptor);
}

std::optional<uid_t> LinuxSocketOwners::fromSockDiag(int descriptor)
{
    const auto connection = connectionOf(descriptor);
    if (!connection)
        return std::nullopt;
    const Descriptor diag(::socket(AF_NETLINK, SOCK_DGRAM | SOCK_CLOEXEC, NETLINK_SOCK_DIAG));
    if (diag.get() < 0)
        return std::nullopt;
    // The kernel answers at once; a bound keeps a broken one from stalling the event loop.
    const timeval bound{1, 0};
    ::setsockopt(diag.get(), SOL_SOCKET, SO_RCVTIMEO, &bound, sizeof bound);

    struct
    {
        nlmsghdr header;
        inet_diag_req_v2 request;
    } query{};
    query.header.nlmsg_len = sizeof query;
    query.header.nlmsg_type = SOCK_DIAG_BY_FAMILY;
    query.header.nlmsg_flags = NLM_F_REQUEST; // one socket, looked up by its exact identity
    query.request.sdiag_family = quint8(connection->peer.family);
    query.request.sdiag_protocol = IPPROTO_TCP;
    query.request.idiag_states = ~0u;
    inet_diag_sockid &id = query.request.id;
    id.idiag_sport = htons(connection->peer.port);
    id.idiag_dport = htons(connection->ours.port);
    std::memcpy(id.idiag_src, connection->peer.address.data(), connection->peer.addressBytes());
    std::memcpy(id.idiag_dst, connection->ours.address.data(), connection->ours.addressBytes());
    id.idiag_cookie[0] = id.idiag_cookie[1] = INET_DIAG_NOCOOKIE;
    sockaddr_nl kernel{};
    kernel.nl_family = AF_NETLINK;
    if (::sendto(diag.get(), &query, sizeof query, 0, reinterpret_cast<sockaddr *>(&kernel),
                 sizeof kernel) != ssize_t(sizeof query))
        return std::nullopt;

    alignas(nlmsghdr) char answer[8192];
    const ssize_t length = ::recv(diag.get(), answer, sizeof answer, 0);
    if (length < ssize_t(NLMSG_LENGTH(sizeof(inet_diag_msg))))
        return std::nullopt;
    const auto *header = reinterpret_cast<const nlmsghdr *>(answer);
    if (header->nlmsg_type != SOCK_DIAG_BY_FAMILY ||
        header->nlmsg_len < NLMSG_LENGTH(sizeof(inet_diag_msg)))
        return std::nullopt; // NLMSG_ERROR: no such socket
    const auto *found = static_cast<const inet_diag_msg *>(NLMSG_DATA(header));
    if (found->id.idiag_sport != id.idiag_sport || found->id.idiag_dport != id.idiag_dport ||
        std::memcmp(found->id.idiag_src, id.idiag_src, sizeof id.idiag_src) != 0)
        return std::nullopt;
    return uid_t(found->idiag_uid);
}

std::optional<uid_t> LinuxSocketOwners::fromProcNet(int descriptor)
{
    const auto connection = connectionOf(descriptor);
    if (!connection)
        return std::nullopt;
    QFile table(connection->peer.family == AF_INET ? QStringLiteral("/proc/net/tcp")
                                                   : QStringLiteral("/proc/net/tcp6"));
    if (!table.open(QIODevice::ReadOnly))
        return std::nullopt;
    const QByteArray local = procNetText(connection->peer);
    const QByteArray remote = procNetText(connection->ours);
    table.readLine(); // the column names
    while (!table.atEnd()) {
        // sl, local address, remote address, state, queues, timer, retransmits, uid, ...
        const QList<QByteArray> fields = table.readLine().simplified().split(' ');
        if (fields.size() > 7 && fields.at(1) == local && fields.at(2) == remote) {
            bool ok = false;
            const uint uid = fields.at(7).toUInt(&ok);
            return ok ? std::optional<uid_t>(uid_t(uid)) : std::nullopt;
        }
    }
    return std::nullopt;
}

} // namespace pexi
