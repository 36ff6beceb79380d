#pragma once

#include "websocket/WebSocket.h"

#include <QByteArray>
#include <QCoreApplication>
#include <QDeadlineTimer>

#include <memory>

#include <poll.h>
#include <sys/socket.h>
#include <unistd.h>

// A client frame as browsers send them: masked, final unless told, with the given first-byte
// flags (reserved bits) when a test needs a broken one.
inline QByteArray clientFrame(pexi::WebSocketProtocol::Opcode opcode, const QByteArray &payload,
                              bool final = true, quint8 reservedBits = 0, bool masked = true)
{
    QByteArray frame;
    frame.append(char((final ? 0x80 : 0) | reservedBits | quint8(opcode)));
    const quint8 maskBit = masked ? 0x80 : 0;
    const quint64 length = quint64(payload.size());
    if (length < 126) {
        frame.append(char(maskBit | length));
    } else if (length <= 0xffff) {
        frame.append(char(maskBit | 126));
        frame.append(char(length >> 8));
        frame.append(char(length & 0xff));
    } else {
        frame.append(char(maskBit | 127));
        for (int shift = 56; shift >= 0; shift -= 8)
            frame.append(char((length >> shift) & 0xff));
    }
    const char mask[4] = {0x37, char(0xfa), 0x21, 0x3d};
    if (masked)
        frame.append(mask, 4);
    for (qsizetype i = 0; i < payload.size(); ++i)
        frame.append(masked ? char(payload.at(i) ^ mask[i % 4]) : payload.at(i));
    return frame;
}

inline QByteArray upgradeRequest(const QByteArray &extraHeaders = {})
{
    return "GET / HTTP/1.1\r\nHost: 127.0.0.1\r\nUpgrade: websocket\r\nConnection: Upgrade\r\n"
           "Sec-WebSocket-Key: dGhlIHNhbXBsZSBub25jZQ==\r\nSec-WebSocket-Version: 13\r\n" +
           extraHeaders + "\r\n";
}

// The server's end of a WebSocket over one end of a socket pair; the test plays the client on
// the other end with plain reads and writes.
class WebSocketPair
{
public:
    explicit WebSocketPair(
        pexi::WebSocket::Admission admission = [](const auto &) { return 0; },
        qint64 maxMessageBytes = 1024 * 1024)
    {
        int ends[2] = {-1, -1};
        if (::socketpair(AF_UNIX, SOCK_STREAM, 0, ends) != 0)
            return;
        client = ends[0];
        server = std::make_unique<pexi::WebSocket>(ends[1], maxMessageBytes, std::move(admission));
        QObject::connect(server.get(), &pexi::WebSocket::textMessageReceived,
                         [this](const QByteArray &text) { texts.append(text); });
        QObject::connect(server.get(), &pexi::WebSocket::disconnected,
                         [this] { disconnected = true; });
    }
    ~WebSocketPair()
    {
        if (client >= 0)
            ::close(client);
    }

    void write(const QByteArray &bytes) const
    {
        for (qsizetype done = 0; done < bytes.size();) {
            const ssize_t n =
                ::write(client, bytes.constData() + done, size_t(bytes.size() - done));
            if (n <= 0)
                return;
            done += n;
        }
    }

    // Runs the event loop until `done` holds or the time is up.
    template <typename Condition> static bool waitFor(Condition done, int ms = 5000)
    {
        const QDeadlineTimer deadline(ms);
        while (!done() && !deadline.hasExpired())
            QCoreApplication::processEvents(QEventLoop::AllEvents, 10);
        return done();
    }

    // Sends the upgrade request and reads the server's answer to it.
    QByteArray handshake(const QByteArray &extraHeaders = {})
    {
        write(upgradeRequest(extraHeaders));
        waitFor([this] { return read().contains("\r\n\r\n") || disconnected; });
        const qsizetype end = received.indexOf("\r\n\r\n");
        const QByteArray answer = end < 0 ? received : received.first(end + 4);
        received.remove(0, answer.size());
        return answer;
    }

    // What the server wrote to the client so far, read after a turn of the event loop.
    QByteArray &read()
    {
        QCoreApplication::processEvents();
        char chunk[64 * 1024];
        pollfd ready{client, POLLIN, 0};
        while (::poll(&ready, 1, 0) > 0 && (ready.revents & POLLIN)) {
            const ssize_t n = ::read(client, chunk, sizeof chunk);
            if (n <= 0) {
                peerClosed = true;
                break;
            }
            received.append(chunk, n);
        }
        return received;
    }

    int client = -1;
    std::unique_ptr<pexi::WebSocket> server;
    QByteArrayList texts;
    QByteArray received;
    bool disconnected = false;
    bool peerClosed = false;
};
