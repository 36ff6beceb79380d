#pragma once

#include "support/StandardOutputCapture.h"

#include <QNetworkRequest>
#include <QStringList>
#include <QTest>
#include <QWebSocket>

#include <algorithm>

// One extension's end of a connection to the worker's server: a real WebSocket on loopback that
// keeps the texts it hears.
class ExtensionClient
{
public:
    static constexpr int waitMs = 10000;
    // All answers to one frame leave the server in one write, so only the first is waited for
    // long: a frame answered too few times fails the test at once, not at the time limit.
    static constexpr int furtherAnswersMs = 1000;

    explicit ExtensionClient(quint16 port, const QByteArray &origin = {})
    {
        QObject::connect(&socket, &QWebSocket::connected, [this] { wasConnected = true; });
        QObject::connect(&socket, &QWebSocket::disconnected, [this] { wasDisconnected = true; });
        QObject::connect(&socket, &QWebSocket::textMessageReceived,
                         [this](const QString &text) { texts.append(text); });
        QNetworkRequest request(QUrl(QStringLiteral("ws://127.0.0.1:%1/").arg(port)));
        if (!origin.isEmpty())
            request.setRawHeader("Origin", origin);
        socket.open(request);
    }

    bool waitConnected()
    {
        (void)QTest::qWaitFor([this] { return wasConnected || wasDisconnected; }, waitMs);
        return wasConnected;
    }
    bool waitDisconnected()
    {
        return QTest::qWaitFor([this] { return wasDisconnected; }, waitMs);
    }
    void send(const QByteArray &frame) { socket.sendTextMessage(QString::fromUtf8(frame)); }

    // Frames on one socket are handled in order, so once the `answers` answers to a lock check
    // sent now are in (texts naming its session), everything before it was handled. Returns the
    // texts that came before them.
    QStringList settle(int answers)
    {
        const QString session = QStringLiteral("settle-%1").arg(++m_settles);
        send("{\"data\":{\"command\":\"pexi_lock_check\",\"session\":\"" + session.toUtf8() +
             "\"}}");
        const auto count = [&] { return texts.filter(session).size(); };
        if (!QTest::qWaitFor([&] { return count() > 0; }, waitMs) ||
            !QTest::qWaitFor([&] { return count() == answers; }, furtherAnswersMs))
            return {QStringLiteral("%1 answers to %2").arg(count()).arg(session)};
        const auto first = std::find_if(texts.cbegin(), texts.cend(), [&](const QString &text) {
            return text.contains(session);
        });
        const QStringList before(texts.cbegin(), first);
        texts.clear();
        return before;
    }

    QWebSocket socket;
    QStringList texts;
    bool wasConnected = false, wasDisconnected = false;

private:
    int m_settles = 0;
};

// The lines logged since the last look, without the bookkeeping of connections opening.
inline QStringList serverLog(StandardOutputCapture &output)
{
    QStringList lines = output.takeLines();
    lines.removeAll(QStringLiteral("websocket opened!"));
    return lines;
}
