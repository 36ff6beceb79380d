// Feeds arbitrary bytes to the WebSocket frame reader and the handshake parser. The reader must
// come to the same messages, or the same breach, whether the bytes arrive at once or in pieces,
// and must never hand on a text message that is not UTF-8 by Qt's decoder, nor one without its
// padding; the UTF-8 check it uses must agree with Qt's decoder. The first byte of an input picks
// the piece size.
#include "websocket/WebSocketFrameReader.h"
#include "websocket/WebSocketHandshake.h"

#include <QStringDecoder>

#include <simdjson.h>

#include <cstdint>
#include <cstdlib>
#include <vector>

using namespace pexi;

namespace {

struct Outcome
{
    std::vector<std::pair<WebSocketProtocol::Opcode, QByteArray>> messages;
    std::optional<WebSocketProtocol::CloseCode> violation;
    bool operator==(const Outcome &) const = default;
};

bool qtDecodes(QByteArrayView bytes)
{
    QStringDecoder decoder(QStringDecoder::Utf8, QStringDecoder::Flag::Stateless);
    const QString decoded = decoder.decode(bytes); // decoding happens on conversion
    return !decoder.hasError();
}

Outcome read(QByteArrayView bytes, qsizetype piece)
{
    WebSocketFrameReader reader(4096);
    Outcome outcome;
    for (qsizetype at = 0; at < bytes.size(); at += piece) {
        reader.append(bytes.sliced(at, std::min(piece, bytes.size() - at)));
        while (auto message = reader.next()) {
            if (message->opcode == WebSocketProtocol::Opcode::text && !qtDecodes(message->payload))
                std::abort();
            if (message->payload.size() > 4096 ||
                message->payload.data_ptr().freeSpaceAtEnd() < WebSocketFrameReader::payloadPadding)
                std::abort();
            outcome.messages.emplace_back(message->opcode, std::move(message->payload));
        }
    }
    outcome.violation = reader.violation();
    return outcome;
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size)
{
    if (size == 0)
        return 0;
    const QByteArrayView bytes(reinterpret_cast<const char *>(data) + 1, qsizetype(size - 1));
    const qsizetype piece = 1 + data[0] % 17;
    if (read(bytes, bytes.size() + 1) != read(bytes, piece))
        std::abort();
    if (simdjson::validate_utf8(bytes.data(), size_t(bytes.size())) != qtDecodes(bytes))
        std::abort();
    const auto parsed = WebSocketHandshake::parse(bytes);
    if (parsed.length > bytes.size())
        std::abort();
    if (parsed.status == WebSocketHandshake::Parsed::Status::accepted)
        (void)WebSocketHandshake::acceptance(parsed.request);
    return 0;
}
