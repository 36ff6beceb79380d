#pragma once

#include "app/Window.h"

#include <memory>

namespace pexi {

class ColorSchemeMonitor;
class SavePasswordController;
class UserNotificationCenter;

// The worker's start-up and shut-down, in the order the parts depend on each other. It owns
// what the bridge is handed from up here: the notification centre, the window presenter and the
// capture of logins. Lives on the main thread, inside the application object's lifetime.
class AppDelegate
{
public:
    AppDelegate();
    ~AppDelegate();

    // Preference defaults, sync with its lock-on-change handler, the extension server and its
    // handlers, and the launch analytics. False when the server cannot listen.
    bool applicationDidFinishLaunching();
    void applicationWillTerminate();

private:
    // Feeds the appearance whether the desktop prefers dark colours.
    std::unique_ptr<ColorSchemeMonitor> m_colorScheme;
    // In this order, so that the capture lets go of the centre before the centre goes.
    std::unique_ptr<UserNotificationCenter> m_notifications;
    Window m_window;
    std::unique_ptr<SavePasswordController> m_capture;
};

} // namespace pexi
