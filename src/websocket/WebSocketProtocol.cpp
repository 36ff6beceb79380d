#include "websocket/WebSocketProtocol.h"

namespace pexi::WebSocketProtocol {

bool isControl(Opcode opcode)
{
    return (quint8(opcode) & 0x8) != 0;
}

bool isValidCloseCode(quint16 code)
{
    switch (code) {
    case 1000:
    case 1001:
    case 1002:
    case 1003:
    case 1007:
    case 1008:
    case 1009:
    case 1010:
    case 1011:
        return true;
    default:
        // Registered and private codes; 1004-1006 and 1015 are reserved for reporting.
        return code >= 3000 && code <= 4999;
    }
}

void appendFrame(QByteArray &out, Opcode opcode, QByteArrayView payload)
{
    const quint64 length = quint64(payload.size());
    out.append(char(0x80 | quint8(opcode)));
    if (length < 126) {
        out.append(char(length));
    } else if (length <= 0xffff) {
        out.append(char(126));
        out.append(char(length >> 8));
        out.append(char(length & 0xff));
    } else {
        out.append(char(127));
        for (int shift = 56; shift >= 0; shift -= 8)
            out.append(char((length >> shift) & 0xff));
    }
    out.append(payload);
}

QByteArray frame(Opcode opcode, QByteArrayView payload)
{
    QByteArray out;
    out.reserve(payload.size() + 10);
    appendFrame(out, opcode, payload);
    return out;
}

void drain(QByteArray &buffer)
{
    if (buffer.capacity() > keptBufferCapacity)
        buffer = QByteArray();
    else
        buffer.resize(0);
}

QByteArray closeFrame(CloseCode code)
{
    const char payload[2] = {char(quint16(code) >> 8), char(quint16(code) & 0xff)};
    return frame(Opcode::close, QByteArrayView(payload, 2));
}

} // namespace pexi::WebSocketProtocol
