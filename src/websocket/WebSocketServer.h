#pragma once

#include "platform/SocketOwners.h"
#include "websocket/MemoryBudget.h"
#include "websocket/RefusalLog.h"
#include "websocket/WebSocket.h"

#include <QHostAddress>
#include <QList>
#include <QObject>
#include <QTcpServer>

#include <memory>

namespace pexi {

// Listens for WebSocket clients and hands each one on once its opening handshake is taken.
// Connections still in their handshake belong to the server; an open one belongs to whoever
// takes it from `newConnection` (it stays a child of the server until reparented).
//
// Only processes of the user running the server get as far as the handshake: the owner of each
// peer's socket is looked up as soon as it connects, and anyone else's connection is closed.
// Whatever the sockets buffer, open or not, is held to one budget.
class WebSocketServer : public QObject
{
    Q_OBJECT
public:
    // Connections in their opening handshake at most; one more makes room by dropping the one
    // that has waited longest, so that idle connections cannot keep a real client out.
    static constexpr int MaxHandshakes = 256;
    // While more than half the handshake slots are taken, a handshake gets this long at most.
    static constexpr int CrowdedHandshakeTimeoutMs = 2000;
    // What the buffers of all the connections may hold together.
    static constexpr qint64 MaxBufferedBytes = 64 * 1024 * 1024;

    WebSocketServer(qint64 maxMessageBytes, WebSocket::Admission admission,
                    const SocketOwners &owners, QObject *parent = nullptr);

    bool listen(const QHostAddress &address, quint16 port);
    // Stops listening; connections already made are not touched.
    void close();
    bool isListening() const { return m_listener.isListening(); }
    quint16 serverPort() const { return m_listener.serverPort(); }
    QString errorString() const { return m_listener.errorString(); }

    // Where turned-away connections are logged, by this server and by its admission.
    RefusalLog &refusals() { return m_refusals; }
    const MemoryBudget &budget() const { return *m_budget; }
    int handshakesUnderWay() const { return int(m_handshaking.size()); }

signals:
    void newConnection(WebSocket *socket);
    // Accepting a connection failed, for instance for want of file descriptors.
    void acceptError(const QString &error);

private:
    // Hands over accepted sockets as bare descriptors rather than as QTcpSockets.
    class Listener : public QTcpServer
    {
    public:
        explicit Listener(WebSocketServer &server) : m_server(server) {}

    protected:
        void incomingConnection(qintptr descriptor) override { m_server.accept(descriptor); }

    private:
        WebSocketServer &m_server;
    };

    void accept(qintptr descriptor);
    bool isOurs(int descriptor);

    qint64 m_maxMessageBytes;
    WebSocket::Admission m_admission;
    const SocketOwners &m_owners;
    std::shared_ptr<MemoryBudget> m_budget;
    RefusalLog m_refusals;
    Listener m_listener;
    QList<WebSocket *> m_handshaking; // oldest first
};

} // namespace pexi
