#pragma once

namespace pexi {

// The worker's start-up and shut-down, in the order the parts depend on each other.
class AppDelegate
{
public:
    // Preference defaults, sync with its lock-on-change handler, the extension server and its
    // handlers, and the launch analytics. False when the server cannot listen.
    bool applicationDidFinishLaunching();
    void applicationWillTerminate();
};

} // namespace pexi
