#pragma once

#include <functional>

#include <QPointF>

namespace pexi {

class BrowserController;
class ExtensionServer;
class Locker;
class MiniAppEvent;
class SavePasswordController;
class WebSocket;
class Window;

// Answers the extensions' commands. install() registers one handler per command on the server;
// the lock check is registered twice on purpose, so each check gets two identical answers.
class ExtensionHandler
{
public:
    using MouseLocation = std::function<QPointF()>;

    // Left empty, each collaborator is the process's shared one.
    struct Services
    {
        Locker *locker = nullptr;
        BrowserController *browsers = nullptr;
        SavePasswordController *capture = nullptr;
        Window *window = nullptr;
        MouseLocation mouseLocation;
    };

    static void install(ExtensionServer &server);
    static void install(ExtensionServer &server, Services services);

private:
    explicit ExtensionHandler(Services services);

    void extensionIconClicked(const MiniAppEvent &event);
    void credentialSearch(WebSocket *socket, const MiniAppEvent &event);
    void lockCheck(WebSocket *socket, const MiniAppEvent &event);
    void credentialRequest(WebSocket *socket, const MiniAppEvent &event);
    void storeCredential(const MiniAppEvent &event);
    void commitCredential();
    void abortCredential();

    Locker &locker() const;
    BrowserController &browsers() const;
    SavePasswordController &capture() const;
    Window &window() const;

    Services m_services;
};

} // namespace pexi
