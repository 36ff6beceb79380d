#pragma once

#include <optional>

#include <sys/types.h>

namespace pexi {

// Tells which user owns the other end of a TCP connection made on this machine, so that the
// endpoint can turn away the processes of other users before they say anything.
class SocketOwners
{
public:
    virtual ~SocketOwners() = default;

    // The implementation of this platform.
    static const SocketOwners &system();

    // The uid owning the peer's socket of the connected TCP socket `descriptor`; nothing when it
    // cannot be told (the peer is not on this machine, or it is already gone).
    virtual std::optional<uid_t> ownerOfPeer(int descriptor) const = 0;
};

} // namespace pexi
