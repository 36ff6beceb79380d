#pragma once

#include "websocket/WebSocketProtocol.h"

#include <QByteArray>

#include <optional>

namespace pexi {

// Turns the bytes a client sends after the handshake into messages: fragments are put together,
// masks removed, text checked to be UTF-8, control frames passed on as they come. The first
// breach of the protocol stops it for good and says which close code answers it. Knows nothing
// of sockets, so that any byte sequence can be fed to it.
class WebSocketFrameReader
{
public:
    // Every message's payload has at least this many more bytes allocated behind it, so that a
    // parser that reads in wide blocks (simdjson) can read it where it lies.
    static constexpr qsizetype payloadPadding = 64;

    struct Message
    {
        WebSocketProtocol::Opcode opcode; // text, binary, close, ping or pong
        QByteArray payload;
    };

    // A text or binary message longer than `maxMessageBytes`, whole or in fragments, is a
    // breach answered with "too much data" as soon as its frame header says so.
    explicit WebSocketFrameReader(qint64 maxMessageBytes);

    void append(QByteArrayView bytes);
    // The next whole message, or nothing until more bytes arrive or after a breach.
    std::optional<Message> next();
    std::optional<WebSocketProtocol::CloseCode> violation() const { return m_violation; }
    // Bytes allocated for what has not made a whole message yet.
    qint64 bufferedBytes() const { return m_buffer.capacity() + m_fragments.capacity(); }
    // Drops what is buffered and reads nothing more, as after a breach answered with `code`.
    void stop(WebSocketProtocol::CloseCode code);

private:
    std::optional<Message> fail(WebSocketProtocol::CloseCode code);
    void forgetIfAllConsumed();

    qint64 m_maxMessageBytes;
    QByteArray m_buffer;
    qsizetype m_consumed = 0;
    // The opcode and payload so far of a message that arrives in fragments.
    std::optional<WebSocketProtocol::Opcode> m_fragmentedOpcode;
    QByteArray m_fragments;
    std::optional<WebSocketProtocol::CloseCode> m_violation;
};

} // namespace pexi
