#pragma once

#include <QByteArray>
#include <QByteArrayView>
#include <QtGlobal>

// The parts of the WebSocket protocol (RFC 6455) that a server speaks: opcodes, close codes and
// the frames it writes. Server frames are never masked.
namespace pexi::WebSocketProtocol {

enum class Opcode : quint8 {
    continuation = 0x0,
    text = 0x1,
    binary = 0x2,
    close = 0x8,
    ping = 0x9,
    pong = 0xa,
};

bool isControl(Opcode opcode);

enum class CloseCode : quint16 {
    normal = 1000,
    goingAway = 1001,
    protocolError = 1002,
    unsupportedData = 1003,
    // Never sent: reported when a close frame carried no code, or when there was none at all.
    noStatus = 1005,
    abnormalDisconnection = 1006,
    invalidPayload = 1007,
    policyViolated = 1008,
    tooMuchData = 1009,
    internalError = 1011,
};

// Whether a peer may put `code` in a close frame.
bool isValidCloseCode(quint16 code);

// Control frames carry at most this many bytes of payload.
constexpr qsizetype maxControlPayload = 125;

// One final, unmasked frame.
QByteArray frame(Opcode opcode, QByteArrayView payload);
// Appends one final, unmasked frame to `out`, so that several answers leave in one write.
void appendFrame(QByteArray &out, Opcode opcode, QByteArrayView payload);
// A close frame with its code and no reason.
QByteArray closeFrame(CloseCode code);

// Buffers keep an allocation up to this size from one message to the next; larger ones are
// given back once drained, so that idle connections hold little.
constexpr qsizetype keptBufferCapacity = 64 * 1024;
// Empties `buffer`, keeping its allocation only when it is small.
void drain(QByteArray &buffer);

} // namespace pexi::WebSocketProtocol
