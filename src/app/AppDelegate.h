#pragma once

#include "app/LoggingWindow.h"

#include <memory>

namespace pexi {

class ColorSchemeMonitor;
class SavePasswordController;
class SingleInstance;
class StatusMenuController;
class UserNotificationCenter;

// The worker's start-up and shut-down, in the order the parts depend on each other. It owns
// what the bridge is handed from up here: the notification centre, the window presenter and the
// capture of logins. Lives on the main thread, inside the application object's lifetime.
class AppDelegate
{
public:
    enum class LaunchResult { serving, handedOver, failed };

    AppDelegate();
    ~AppDelegate();

    // One worker per user (a later copy hands over to the running one and stops here), preference
    // defaults, sync with its lock-on-change handler, the extension server and its handlers, the
    // status item, the launch analytics and, when the launch command asks, the window. Failed
    // when the server cannot listen.
    LaunchResult applicationDidFinishLaunching();
    void applicationWillTerminate();
    // Another copy was started: the window opens at the launch position.
    void applicationShouldHandleReopen();

private:
    std::unique_ptr<SingleInstance> m_singleInstance;
    // Feeds the appearance whether the desktop prefers dark colours.
    std::unique_ptr<ColorSchemeMonitor> m_colorScheme;
    // In this order, so that the capture lets go of the centre before the centre goes.
    std::unique_ptr<UserNotificationCenter> m_notifications;
    // Until the floating window exists, opening it is only logged.
    LoggingWindow m_window;
    // Shows m_window, so goes before it.
    std::unique_ptr<StatusMenuController> m_statusMenu;
    std::unique_ptr<SavePasswordController> m_capture;
};

} // namespace pexi
