#include "websocket/WebSocketServer.h"

#include <unistd.h>

namespace pexi {

WebSocketServer::WebSocketServer(qint64 maxMessageBytes, WebSocket::Admission admission,
                                 const SocketOwners &owners, QObject *parent)
    : QObject(parent), m_maxMessageBytes(maxMessageBytes), m_admission(std::move(admission)),
      m_owners(owners), m_budget(std::make_shared<MemoryBudget>(MaxBufferedBytes)),
      m_listener(*this)
{
    connect(&m_listener, &QTcpServer::acceptError, this,
            [this] { emit acceptError(m_listener.errorString()); });
}

bool WebSocketServer::listen(const QHostAddress &address, quint16 port)
{
    // Room in the kernel's queue for a full table of handshakes and more, so that a burst of
    // connections is taken at once rather than retried by the clients seconds later.
    m_listener.setListenBacklogSize(2 * MaxHandshakes);
    return m_listener.listen(address, port);
}

void WebSocketServer::close()
{
    m_listener.close();
}

bool WebSocketServer::isOurs(int descriptor)
{
    const std::optional<uid_t> owner = m_owners.ownerOfPeer(descriptor);
    if (!owner) {
        m_refusals.log(QStringLiteral("refused connection: its owner could not be told"));
        return false;
    }
    if (*owner != ::geteuid()) {
        m_refusals.log(QStringLiteral("refused connection from another user (uid %1)").arg(*owner));
        return false;
    }
    return true;
}

void WebSocketServer::accept(qintptr descriptor)
{
    if (!isOurs(int(descriptor))) {
        ::close(int(descriptor));
        return;
    }
    if (m_handshaking.size() >= MaxHandshakes)
        m_handshaking.first()->abort(); // leaves the list at once
    auto *socket = new WebSocket(descriptor, m_maxMessageBytes, m_admission, m_budget, this);
    m_handshaking.append(socket);
    if (m_handshaking.size() > MaxHandshakes / 2) {
        for (WebSocket *waiting : std::as_const(m_handshaking))
            waiting->limitHandshakeTime(CrowdedHandshakeTimeoutMs);
    }
    connect(socket, &WebSocket::connected, this, [this, socket] {
        m_handshaking.removeOne(socket);
        socket->disconnect(this);
        emit newConnection(socket);
    });
    connect(socket, &WebSocket::disconnected, this, [this, socket] {
        // Refused, malformed or abandoned before it was open.
        m_handshaking.removeOne(socket);
        socket->deleteLater();
    });
}

} // namespace pexi
