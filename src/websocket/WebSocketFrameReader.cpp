#include "websocket/WebSocketFrameReader.h"

#include <simdjson.h>

#include <cstring>
#include <utility>

namespace pexi {

using namespace WebSocketProtocol;

namespace {

bool isKnownOpcode(quint8 opcode)
{
    switch (Opcode(opcode)) {
    case Opcode::continuation:
    case Opcode::text:
    case Opcode::binary:
    case Opcode::close:
    case Opcode::ping:
    case Opcode::pong:
        return true;
    }
    return false;
}

quint64 bigEndian(const char *bytes, int count)
{
    quint64 value = 0;
    for (int i = 0; i < count; ++i)
        value = (value << 8) | quint8(bytes[i]);
    return value;
}

// Copies `length` masked bytes into `out`, removing the mask; eight bytes at a time.
void unmaskInto(char *out, const char *in, qsizetype length, const char mask[4])
{
    quint64 wide;
    char pattern[8];
    for (int i = 0; i < 8; ++i)
        pattern[i] = mask[i % 4];
    std::memcpy(&wide, pattern, 8);
    qsizetype i = 0;
    for (; i + 8 <= length; i += 8) {
        quint64 word;
        std::memcpy(&word, in + i, 8);
        word ^= wide;
        std::memcpy(out + i, &word, 8);
    }
    for (; i < length; ++i)
        out[i] = char(in[i] ^ mask[i % 4]);
}

// Well-formed UTF-8: no overlong forms, surrogates, code points past U+10FFFF or cut-off
// sequences. simdjson's check is several times quicker than Qt's on large messages.
bool isValidUtf8(QByteArrayView bytes)
{
    return simdjson::validate_utf8(bytes.data(), size_t(bytes.size()));
}

// `length` bytes, and the padding behind them.
QByteArray paddedPayload(qsizetype length)
{
    QByteArray payload;
    payload.reserve(length + WebSocketFrameReader::payloadPadding);
    payload.resize(length);
    return payload;
}

// A close payload is empty, or a valid code followed by a UTF-8 reason.
std::optional<CloseCode> closePayloadViolation(const QByteArray &payload)
{
    if (payload.isEmpty())
        return std::nullopt;
    if (payload.size() == 1 || !isValidCloseCode(quint16(bigEndian(payload.constData(), 2))))
        return CloseCode::protocolError;
    if (!isValidUtf8(QByteArrayView(payload).sliced(2)))
        return CloseCode::invalidPayload;
    return std::nullopt;
}

} // namespace

WebSocketFrameReader::WebSocketFrameReader(qint64 maxMessageBytes)
    : m_maxMessageBytes(maxMessageBytes)
{
}

void WebSocketFrameReader::append(QByteArrayView bytes)
{
    if (!m_violation)
        m_buffer.append(bytes);
}

void WebSocketFrameReader::stop(CloseCode code)
{
    m_violation = code;
    m_buffer.clear();
    m_fragments.clear();
}

std::optional<WebSocketFrameReader::Message> WebSocketFrameReader::fail(CloseCode code)
{
    stop(code);
    return std::nullopt;
}

void WebSocketFrameReader::forgetIfAllConsumed()
{
    if (m_consumed == m_buffer.size()) {
        drain(m_buffer);
        m_consumed = 0;
    }
}

std::optional<WebSocketFrameReader::Message> WebSocketFrameReader::next()
{
    while (!m_violation) {
        const char *data = m_buffer.constData() + m_consumed;
        const qsizetype available = m_buffer.size() - m_consumed;
        if (available < 2)
            break;
        const bool final = (quint8(data[0]) & 0x80) != 0;
        const quint8 rawOpcode = quint8(data[0]) & 0x0f;
        if ((quint8(data[0]) & 0x70) != 0 || !isKnownOpcode(rawOpcode))
            return fail(CloseCode::protocolError); // no extension was agreed on
        if ((quint8(data[1]) & 0x80) == 0)
            return fail(CloseCode::protocolError); // clients must mask
        const Opcode opcode = Opcode(rawOpcode);

        qsizetype header = 2;
        quint64 length = quint8(data[1]) & 0x7f;
        if (length >= 126) {
            const int extra = length == 126 ? 2 : 8;
            if (available < 2 + extra)
                break;
            length = bigEndian(data + 2, extra);
            header += extra;
            if (length >> 63)
                return fail(CloseCode::protocolError);
        }
        if (isControl(opcode)) {
            if (!final || length > quint64(maxControlPayload))
                return fail(CloseCode::protocolError);
        } else {
            const bool continuing = opcode == Opcode::continuation;
            if (continuing != m_fragmentedOpcode.has_value())
                return fail(CloseCode::protocolError);
            if (length > quint64(m_maxMessageBytes - m_fragments.size()))
                return fail(CloseCode::tooMuchData);
        }
        header += 4;
        if (available < header || quint64(available - header) < length)
            break;

        const char *mask = data + header - 4;
        QByteArray payload = paddedPayload(qsizetype(length));
        unmaskInto(payload.data(), data + header, qsizetype(length), mask);
        m_consumed += header + qsizetype(length);

        if (isControl(opcode)) {
            if (opcode == Opcode::close) {
                if (const auto violation = closePayloadViolation(payload))
                    return fail(*violation);
            }
            forgetIfAllConsumed();
            return Message{opcode, std::move(payload)};
        }
        if (!final) {
            if (!m_fragmentedOpcode)
                m_fragmentedOpcode = opcode;
            m_fragments.append(payload);
            continue;
        }
        Message message{opcode, std::move(payload)};
        if (m_fragmentedOpcode) {
            message.opcode = *m_fragmentedOpcode;
            m_fragments.reserve(m_fragments.size() + message.payload.size() + payloadPadding);
            m_fragments.append(message.payload);
            message.payload = std::exchange(m_fragments, QByteArray());
            m_fragmentedOpcode.reset();
        }
        if (message.opcode == Opcode::text && !isValidUtf8(message.payload))
            return fail(CloseCode::invalidPayload);
        forgetIfAllConsumed();
        return message;
    }
    // Waiting for more: keep only the partial frame. Whole frames are never moved one by one.
    if (!m_violation && m_consumed > 0) {
        m_buffer.remove(0, m_consumed);
        m_consumed = 0;
        if (m_buffer.capacity() > keptBufferCapacity && m_buffer.capacity() > 2 * m_buffer.size())
            m_buffer.squeeze();
    }
    return std::nullopt;
}

} // namespace pexi
