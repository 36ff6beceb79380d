#pragma once

#include <QPointF>

#include <functional>

namespace pexi {

class BrowserController;
class ExtensionServer;
class Locker;
class MiniAppEvent;
class SavePasswordController;
class WebSocket;
class WindowPresenter;

// Answers the extensions' commands. install() registers one handler per command on the server;
// the lock check is registered twice on purpose, so each check gets two identical answers.
class ExtensionHandler
{
public:
    using MouseLocation = std::function<QPointF()>;

    // Handed in by whoever wires the worker; all must outlive the server's handlers.
    struct Services
    {
        Locker &locker;
        BrowserController &browsers;
        SavePasswordController &capture;
        WindowPresenter &window;
        // Where the window opens when an icon click names no point.
        MouseLocation mouseLocation;
    };

    static void install(ExtensionServer &server, Services services);

private:
    explicit ExtensionHandler(Services services);

    // Every handler takes the asking socket and the event, so that one table registers them all.
    void extensionIconClicked(WebSocket *socket, const MiniAppEvent &event);
    void credentialSearch(WebSocket *socket, const MiniAppEvent &event);
    void lockCheck(WebSocket *socket, const MiniAppEvent &event);
    void credentialRequest(WebSocket *socket, const MiniAppEvent &event);
    void storeCredential(WebSocket *socket, const MiniAppEvent &event);
    void commitCredential(WebSocket *socket, const MiniAppEvent &event);
    void abortCredential(WebSocket *socket, const MiniAppEvent &event);

    Services m_services;
};

} // namespace pexi
