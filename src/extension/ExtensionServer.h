#pragma once

#include "core/NotificationCenter.h"
#include "extension/Command.h"
#include "websocket/WebSocketServer.h"

#include <QHash>
#include <QList>
#include <QObject>

#include <functional>
#include <memory>
#include <optional>

namespace pexi {

class BrowserController;
class JsonReader;
class Locker;
class MiniAppEvent;

// The local WebSocket endpoint of the browser extensions. Opens each frame's envelope, tells
// browser tracking who spoke, builds the event and hands it to the handlers registered for its
// command; pushes the lock state to every socket on each lock and unlock. It answers nothing by
// itself. Lives on the main thread; so do its callbacks and the handlers.
class ExtensionServer : public QObject
{
    Q_OBJECT
public:
    using Handler = std::function<void(WebSocket *socket, const MiniAppEvent &event)>;

    static constexpr quint16 DefaultPort = 4000;
    // Nothing a real extension sends comes near these; they keep a misbehaving page or process
    // from exhausting the worker.
    static constexpr qint64 MaxMessageBytes = 1024 * 1024;
    static constexpr int MaxOpenSockets = 256;

    // Port 4000, or $PEXI_EXTENSION_PORT (for tests).
    static ExtensionServer &instance();
    // Connections are taken from processes of this user only, as `owners` tells.
    ExtensionServer(quint16 port, Locker &locker, BrowserController &browsers,
                    NotificationCenter &center = NotificationCenter::defaultCenter(),
                    const SocketOwners &owners = SocketOwners::system(), QObject *parent = nullptr);
    ~ExtensionServer() override;

    // Listens on 127.0.0.1 and starts the lock-state pushes. False when it cannot listen.
    bool start();
    void stop();
    // The port actually listened on (differs from the one asked for when that was 0).
    quint16 port() const;

    void broadcast(const QString &text);
    void registerHandler(Command command, Handler handler);

    const QList<WebSocket *> &openWebSockets() const { return m_openWebSockets; }

    // Web pages may open sockets to 127.0.0.1 too, and say where they come from; so do
    // extensions. Taken: no origin (a native client), or one extension's own. Anything else,
    // whatever a browser may come up with next, is turned down.
    static bool isAllowedOrigin(const std::optional<QString> &origin);

    // One text message, UTF-8, as received on `socket`; public so the fuzzer can drive it.
    void handleTextMessage(WebSocket *socket, const QByteArray &text);

private:
    int admit(const WebSocketHandshake::Request &request);
    void onNewConnection(WebSocket *socket);
    void onDisconnected(WebSocket *socket);
    void pushLockState();

    quint16 m_port;
    WebSocketServer m_server;
    // One parser for every message: after the first few it reads without allocating.
    std::unique_ptr<JsonReader> m_reader;
    Locker &m_locker;
    BrowserController &m_browsers;
    NotificationCenter &m_center;
    std::optional<ObserverToken> m_pexiLockObserver;
    std::optional<ObserverToken> m_pexiUnlockObserver;
    QList<WebSocket *> m_openWebSockets;
    QHash<Command, QList<Handler>> m_handlers;
};

} // namespace pexi
