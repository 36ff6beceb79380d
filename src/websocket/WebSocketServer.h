#pragma once

#include "websocket/WebSocket.h"

#include <QHostAddress>
#include <QObject>
#include <QTcpServer>

namespace pexi {

// Listens for WebSocket clients and hands each one on once its opening handshake is taken.
// Connections still in their handshake belong to the server; an open one belongs to whoever
// takes it from `newConnection` (it stays a child of the server until reparented).
class WebSocketServer : public QObject
{
    Q_OBJECT
public:
    // Connections beyond this many in their opening handshake are closed at once.
    static constexpr int MaxHandshakes = 256;

    WebSocketServer(qint64 maxMessageBytes, WebSocket::Admission admission,
                    QObject *parent = nullptr);

    bool listen(const QHostAddress &address, quint16 port);
    // Stops listening; connections already made are not touched.
    void close();
    bool isListening() const { return m_listener.isListening(); }
    quint16 serverPort() const { return m_listener.serverPort(); }
    QString errorString() const { return m_listener.errorString(); }

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

    qint64 m_maxMessageBytes;
    WebSocket::Admission m_admission;
    Listener m_listener;
    int m_handshakes = 0;
};

} // namespace pexi
