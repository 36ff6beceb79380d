#include "websocket/WebSocketServer.h"

#include <unistd.h>

namespace pexi {

WebSocketServer::WebSocketServer(qint64 maxMessageBytes, WebSocket::Admission admission,
                                 QObject *parent)
    : QObject(parent), m_maxMessageBytes(maxMessageBytes), m_admission(std::move(admission)),
      m_listener(*this)
{
    connect(&m_listener, &QTcpServer::acceptError, this,
            [this] { emit acceptError(m_listener.errorString()); });
}

bool WebSocketServer::listen(const QHostAddress &address, quint16 port)
{
    return m_listener.listen(address, port);
}

void WebSocketServer::close()
{
    m_listener.close();
}

void WebSocketServer::accept(qintptr descriptor)
{
    if (m_handshakes >= MaxHandshakes) {
        ::close(int(descriptor));
        return;
    }
    ++m_handshakes;
    auto *socket = new WebSocket(descriptor, m_maxMessageBytes, m_admission, this);
    connect(socket, &WebSocket::connected, this, [this, socket] {
        --m_handshakes;
        socket->disconnect(this);
        emit newConnection(socket);
    });
    connect(socket, &WebSocket::disconnected, this, [this, socket] {
        // Refused, malformed or abandoned before it was open.
        --m_handshakes;
        socket->deleteLater();
    });
}

} // namespace pexi
