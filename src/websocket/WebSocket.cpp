#include "websocket/WebSocket.h"

#include <QSocketNotifier>

#include <cerrno>
#include <cstring>

#include <fcntl.h>
#include <netinet/in.h>
#include <netinet/tcp.h>
#include <sys/socket.h>
#include <unistd.h>

namespace pexi {

using namespace WebSocketProtocol;

WebSocket::WebSocket(qintptr descriptor, qint64 maxMessageBytes, Admission admission,
                     std::shared_ptr<MemoryBudget> budget, QObject *parent)
    : QObject(parent), m_descriptor(int(descriptor)), m_admission(std::move(admission)),
      m_budget(std::move(budget)),
      m_readNotifier(new QSocketNotifier(descriptor, QSocketNotifier::Read, this)),
      m_reader(maxMessageBytes)
{
    ::fcntl(m_descriptor, F_SETFL, ::fcntl(m_descriptor, F_GETFL) | O_NONBLOCK);
    // Answers are small and must not wait for the next one.
    const int one = 1;
    ::setsockopt(m_descriptor, IPPROTO_TCP, TCP_NODELAY, &one, sizeof one);
    connect(m_readNotifier, &QSocketNotifier::activated, this, &WebSocket::onReadable);
    m_deadline.setSingleShot(true);
    connect(&m_deadline, &QTimer::timeout, this, &WebSocket::onTimeout);
    m_deadline.start(HandshakeTimeoutMs);
}

WebSocket::~WebSocket()
{
    if (m_state != State::closed) {
        m_readNotifier->setEnabled(false);
        if (m_writeNotifier)
            m_writeNotifier->setEnabled(false);
        ::close(m_descriptor);
    }
    if (m_budget)
        m_budget->change(-m_charged);
}

void WebSocket::sendTextMessage(const QString &text)
{
    if (m_state != State::open)
        return;
    // Encoded into a buffer kept from one answer to the next, so that answering allocates nothing.
    m_encoded.resize(m_encoder.requiredSpace(text.size()));
    const char *end = m_encoder.appendToBuffer(m_encoded.data(), text);
    m_encoded.resize(end - m_encoded.constData());
    appendFrame(m_output, Opcode::text, m_encoded);
    flushUnlessDelivering();
    // Answers given while a message is delivered are counted once it is done.
    if (!m_delivering)
        account();
}

void WebSocket::limitHandshakeTime(int ms)
{
    if (m_state == State::handshaking && m_deadline.remainingTime() > ms)
        m_deadline.start(ms);
}

void WebSocket::onReadable()
{
    char chunk[64 * 1024];
    while (m_state != State::closed && !m_finishWhenSent) {
        const ssize_t count = ::read(m_descriptor, chunk, sizeof chunk);
        if (count > 0) {
            if (m_state == State::handshaking) {
                handshake(QByteArray(chunk, count));
            } else {
                m_reader.append(QByteArrayView(chunk, count));
                deliver();
            }
            account();
            // A short read emptied the socket; the notifier says when there is more.
            if (size_t(count) < sizeof chunk)
                return;
        } else if (count == 0 || errno == ECONNRESET) {
            // The client is gone: a closing handshake was either under way or never started.
            finish();
        } else if (errno == EAGAIN || errno == EWOULDBLOCK) {
            return;
        } else if (errno != EINTR) {
            fail(QString::fromLocal8Bit(std::strerror(errno)));
        }
    }
}

void WebSocket::onTimeout()
{
    // A handshake that never ended, or a close frame never answered.
    finish();
}

void WebSocket::handshake(const QByteArray &bytes)
{
    m_request.append(bytes);
    // Everything received before the answer counts, data sent behind the request included.
    if (m_request.size() > WebSocketHandshake::maxRequestBytes) {
        refuseHandshake(WebSocketHandshake::refusal(431));
        return;
    }
    const WebSocketHandshake::Parsed parsed = WebSocketHandshake::parse(m_request);
    if (parsed.status == WebSocketHandshake::Parsed::Status::incomplete)
        return;
    if (parsed.status == WebSocketHandshake::Parsed::Status::malformed) {
        refuseHandshake(parsed.refusal);
        return;
    }
    if (const int refusal = m_admission(parsed.request)) {
        refuseHandshake(WebSocketHandshake::refusal(refusal));
        return;
    }
    m_state = State::open;
    m_deadline.stop();
    queue(WebSocketHandshake::acceptance(parsed.request));
    const QByteArray early = m_request.sliced(parsed.length);
    m_request = QByteArray();
    emit connected();
    if (!early.isEmpty() && m_state == State::open) {
        m_reader.append(early);
        deliver();
    }
}

void WebSocket::refuseHandshake(const QByteArray &answer)
{
    m_state = State::closing; // lets the answer out
    m_request = QByteArray();
    queue(answer);
    finishOnceSent();
}

void WebSocket::account()
{
    if (!m_budget || m_state == State::closed)
        return;
    const qint64 held = m_request.capacity() + m_reader.bufferedBytes() + m_output.capacity();
    const qint64 growth = held - m_charged;
    m_budget->change(growth);
    m_charged = held;
    if (growth <= 0 || !m_budget->exceeded() || m_finishWhenSent)
        return;
    // This connection is the one that went over: it goes, the others stay.
    if (m_state == State::handshaking) {
        refuseHandshake(WebSocketHandshake::refusal(503));
    } else {
        m_reader.stop(CloseCode::policyViolated);
        if (m_state == State::open) {
            m_clean = true;
            m_closeCode = quint16(CloseCode::policyViolated);
            m_state = State::closing;
            queue(closeFrame(CloseCode::policyViolated));
        }
        finishOnceSent();
    }
    account();
}

void WebSocket::deliver()
{
    // Answers given by the handlers of these messages go out together afterwards.
    m_delivering = true;
    while ((m_state == State::open || m_state == State::closing) && !m_finishWhenSent) {
        std::optional<WebSocketFrameReader::Message> message = m_reader.next();
        if (!message)
            break;
        switch (message->opcode) {
        case Opcode::text:
            if (m_state == State::open)
                emit textMessageReceived(message->payload);
            break;
        case Opcode::binary:
            if (m_state == State::open)
                emit binaryMessageReceived(message->payload);
            break;
        case Opcode::ping:
            if (m_state == State::open)
                queue(frame(Opcode::pong, message->payload));
            break;
        case Opcode::close:
            receiveClose(message->payload);
            break;
        case Opcode::pong:
        case Opcode::continuation:
            break;
        }
    }
    m_delivering = false;
    if (m_state == State::open) {
        if (const auto violation = m_reader.violation())
            startClosing(*violation);
    }
    flush();
}

void WebSocket::receiveClose(const QByteArray &payload)
{
    if (m_state == State::open) {
        // The client started: answer with its code (the reader let through none or a whole one),
        // then end the connection, as servers do.
        const qsizetype codeBytes = std::min<qsizetype>(payload.size(), 2);
        m_clean = true;
        m_closeCode = codeBytes == 2 ? quint16((quint8(payload.at(0)) << 8) | quint8(payload.at(1)))
                                     : quint16(CloseCode::noStatus);
        m_closeReason = QString::fromUtf8(payload.sliced(codeBytes));
        m_state = State::closing;
        queue(frame(Opcode::close, payload.first(codeBytes)));
    }
    // Either way the closing handshake is complete.
    m_delivering = false;
    finishOnceSent();
}

void WebSocket::finishOnceSent()
{
    m_finishWhenSent = true;
    m_readNotifier->setEnabled(false);
    m_deadline.start(ClosingTimeoutMs);
    flush();
}

void WebSocket::startClosing(CloseCode code)
{
    m_clean = true;
    m_closeCode = quint16(code);
    queue(closeFrame(code));
    m_state = State::closing;
    m_deadline.start(ClosingTimeoutMs);
}

void WebSocket::queue(const QByteArray &bytes)
{
    if (m_state == State::closed)
        return;
    m_output.append(bytes);
    flushUnlessDelivering();
}

void WebSocket::flushUnlessDelivering()
{
    if (m_output.size() - m_written > MaxPendingOutputBytes) {
        fail(QStringLiteral("the client does not read what is sent to it"));
        return;
    }
    if (!m_delivering)
        flush();
}

void WebSocket::flush()
{
    while (m_state != State::closed && m_written < m_output.size()) {
        const ssize_t count = ::send(m_descriptor, m_output.constData() + m_written,
                                     size_t(m_output.size() - m_written), MSG_NOSIGNAL);
        if (count >= 0) {
            m_written += count;
        } else if (errno == EAGAIN || errno == EWOULDBLOCK) {
            if (!m_writeNotifier) {
                m_writeNotifier = new QSocketNotifier(m_descriptor, QSocketNotifier::Write, this);
                connect(m_writeNotifier, &QSocketNotifier::activated, this, &WebSocket::flush);
            }
            m_writeNotifier->setEnabled(true);
            return;
        } else if (errno == EPIPE || errno == ECONNRESET) {
            finish();
            return;
        } else if (errno != EINTR) {
            fail(QString::fromLocal8Bit(std::strerror(errno)));
            return;
        }
    }
    if (m_state != State::closed && m_written == m_output.size()) {
        drain(m_output);
        m_written = 0;
        if (m_writeNotifier)
            m_writeNotifier->setEnabled(false);
        if (m_finishWhenSent)
            finish();
        else
            account(); // the output may have given its capacity back
    }
}

void WebSocket::finish()
{
    if (m_state == State::closed)
        return;
    m_state = State::closed;
    m_deadline.stop();
    m_readNotifier->setEnabled(false);
    if (m_writeNotifier)
        m_writeNotifier->setEnabled(false);
    ::close(m_descriptor);
    m_output.clear();
    m_written = 0;
    m_request = QByteArray();
    m_reader.stop(CloseCode::abnormalDisconnection);
    if (m_budget) {
        m_budget->change(-m_charged);
        m_charged = 0;
    }
    emit disconnected();
}

void WebSocket::fail(const QString &error)
{
    m_error = error;
    finish();
}

} // namespace pexi
