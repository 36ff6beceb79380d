#pragma once

#include "websocket/MemoryBudget.h"
#include "websocket/WebSocketFrameReader.h"
#include "websocket/WebSocketHandshake.h"
#include "websocket/WebSocketProtocol.h"

#include <QByteArray>
#include <QObject>
#include <QString>
#include <QStringEncoder>
#include <QTimer>

#include <functional>
#include <memory>

class QSocketNotifier;

namespace pexi {

// The server's end of one WebSocket connection over a TCP socket it owns: answers the opening
// handshake, delivers each whole message on the thread it lives on, answers pings and closing
// handshakes. Reads and writes the socket directly from the event loop's readiness
// notifications, with no buffering layer in between: answers written while a message is being
// delivered leave together in one write when its handlers are done.
class WebSocket : public QObject
{
    Q_OBJECT
public:
    enum class State { handshaking, open, closing, closed };

    // Decides on an opening request that is well formed: 0 to take it, or the HTTP status that
    // turns it down.
    using Admission = std::function<int(const WebSocketHandshake::Request &request)>;

    // An opening handshake that takes longer is given up without an answer.
    static constexpr int HandshakeTimeoutMs = 10000;
    // How long a close frame sent by the server waits for the client's before the connection is
    // dropped.
    static constexpr int ClosingTimeoutMs = 2000;
    // A client that stops reading is cut off once this much waits to be sent to it.
    static constexpr qsizetype MaxPendingOutputBytes = 4 * 1024 * 1024;

    // Takes over a connected TCP socket. What its buffers hold is charged to `budget`, when given:
    // a connection that takes it over the limit is closed (1008), or its handshake refused (503).
    WebSocket(qintptr descriptor, qint64 maxMessageBytes, Admission admission,
              std::shared_ptr<MemoryBudget> budget = nullptr, QObject *parent = nullptr);
    // Closes the TCP socket without a word and without signals.
    ~WebSocket() override;

    State state() const { return m_state; }

    void sendTextMessage(const QString &text);

    // Gives the opening handshake at most `ms` more milliseconds.
    void limitHandshakeTime(int ms);
    // Drops the connection at once, without a word (a handshake without an answer, a refusal
    // not yet sent).
    void abort() { finish(); }

    // How the connection ended, once `disconnected` was emitted. Clean when a close frame went
    // one way or the other; otherwise the code is 1006. A failure has an error string.
    quint16 closeCode() const { return m_closeCode; }
    QString closeReason() const { return m_closeReason; }
    bool wasClean() const { return m_clean; }
    QString errorString() const { return m_error; }

signals:
    void connected();
    void textMessageReceived(const QByteArray &utf8);
    void binaryMessageReceived(const QByteArray &data);
    // Once, when the connection is gone, whether it was ever open or not.
    void disconnected();

private:
    void onReadable();
    void onTimeout();
    void handshake(const QByteArray &bytes);
    void refuseHandshake(const QByteArray &answer);
    // Brings the budget up to date with what the buffers hold now; ends a connection that
    // overdraws it.
    void account();
    void deliver();
    void receiveClose(const QByteArray &payload);
    void startClosing(WebSocketProtocol::CloseCode code);
    // Ends the connection once what is queued has gone out, or when the client stops taking it.
    void finishOnceSent();
    void queue(const QByteArray &bytes);
    // Writes the output now, or once the delivery under way is done; cuts off a stalled client.
    void flushUnlessDelivering();
    void flush();
    void finish();
    void fail(const QString &error);

    int m_descriptor;
    State m_state = State::handshaking;
    Admission m_admission;
    std::shared_ptr<MemoryBudget> m_budget;
    qint64 m_charged = 0; // what this connection counts for in the budget
    QSocketNotifier *m_readNotifier;
    QSocketNotifier *m_writeNotifier = nullptr; // made when the kernel first pushes back
    QTimer m_deadline;
    QByteArray m_request;
    WebSocketFrameReader m_reader;
    QStringEncoder m_encoder{QStringEncoder::Utf8, QStringEncoder::Flag::Stateless};
    QByteArray m_encoded;
    QByteArray m_output;
    qsizetype m_written = 0;
    bool m_delivering = false;
    bool m_finishWhenSent = false; // the closing handshake is over
    quint16 m_closeCode = quint16(WebSocketProtocol::CloseCode::abnormalDisconnection);
    QString m_closeReason;
    bool m_clean = false;
    QString m_error;
};

} // namespace pexi
