#pragma once

#include "app/AnalyticsLogger.h"

#include <QDateTime>
#include <QHash>
#include <QRegularExpression>
#include <QTcpServer>
#include <QTcpSocket>

// A plain HTTP/1.1 server on loopback. It answers every request with `status` (0 drops the
// connection) and describes it: "user properties" or the event name, once the address and the
// body have been found to be the exact ones for `userId`; otherwise what was wrong.
class AnalyticsServer : public QObject
{
public:
    int status = 200;
    QString userId;
    QStringList requests; // sorted, each once: Qt sends again when a connection drops

    AnalyticsServer()
    {
        connect(&m_server, &QTcpServer::newConnection, this, [this] {
            while (QTcpSocket *socket = m_server.nextPendingConnection()) {
                connect(socket, &QTcpSocket::readyRead, this, [this, socket] { read(socket); });
                connect(socket, &QTcpSocket::disconnected, socket, &QObject::deleteLater);
            }
        });
        m_server.listen(QHostAddress::LocalHost, 0);
    }
    quint16 port() const { return m_server.serverPort(); }

private:
    void read(QTcpSocket *socket)
    {
        QByteArray &buffer = m_buffers[socket];
        buffer += socket->readAll();
        const qsizetype headerEnd = buffer.indexOf("\r\n\r\n");
        static const QRegularExpression lengthHeader("\r\ncontent-length: *(\\d+)",
                                                     QRegularExpression::CaseInsensitiveOption);
        const qsizetype length =
            lengthHeader.match(buffer.left(headerEnd)).captured(1).toLongLong();
        if (headerEnd < 0 || buffer.size() < headerEnd + 4 + length)
            return;
        requests << describe(buffer.left(headerEnd),
                             QString::fromUtf8(buffer.mid(headerEnd + 4, length)));
        requests.sort();
        requests.removeDuplicates();
        m_buffers.remove(socket);
        if (status == 0)
            return socket->abort();
        socket->write("HTTP/1.1 " + QByteArray::number(status) +
                      " Answer\r\nContent-Length: 0\r\nConnection: close\r\n\r\n");
        socket->disconnectFromHost();
    }
    QString describe(const QString &head, const QString &body) const
    {
        static const QRegularExpression address(
            "^POST /graph/v2\\.10/[0-9]{16}/(activities|user_properties) ");
        static const QRegularExpression event(
            "\"_eventName\":\"([^\"]*)\", \"_logTime\" : (\\d+),");
        const QString endpoint = address.match(head).captured(1);
        const QString name = event.match(body).captured(1);
        const qint64 logTime = event.match(body).captured(2).toLongLong();
        const bool properties = endpoint == "user_properties";
        if (endpoint.isEmpty() ||
            body != (properties ? pexi::AnalyticsLogger::userPropertiesBody(userId)
                                : pexi::AnalyticsLogger::eventBody(name, logTime, userId)) ||
            (!properties && qAbs(QDateTime::currentSecsSinceEpoch() - logTime) > 60))
            return "bad request: " + head + "\n" + body;
        return properties ? "user properties" : name;
    }

    QTcpServer m_server;
    QHash<QTcpSocket *, QByteArray> m_buffers;
};
