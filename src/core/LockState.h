#pragma once

namespace pexi {

// The first case is the locked one; callers compare against it and treat anything else as open.
enum class LockState { locked, unlocked };

} // namespace pexi
