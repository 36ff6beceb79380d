#pragma once

#include "platform/SocketOwners.h"

namespace pexi {

// Finds the peer's socket by the exact four-tuple of the connection, seen from its side (its
// address and port as source, ours as destination), in the kernel's table of TCP sockets: over
// NETLINK_SOCK_DIAG, or in /proc/net/tcp and tcp6 where that is not available. IPv4 and IPv6.
class LinuxSocketOwners : public SocketOwners
{
public:
    std::optional<uid_t> ownerOfPeer(int descriptor) const override;

    // The two ways, each on its own, for tests.
    static std::optional<uid_t> fromSockDiag(int descriptor);
    static std::optional<uid_t> fromProcNet(int descriptor);
};

} // namespace pexi
