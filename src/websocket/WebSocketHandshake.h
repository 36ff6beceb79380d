#pragma once

#include <QByteArray>
#include <QString>

#include <optional>

namespace pexi {

// The server's side of the opening handshake: reads a client's upgrade request and writes the
// answer. Pure functions over bytes.
namespace WebSocketHandshake {

// Requests longer than this are refused, as is as much received before a request ends.
constexpr qsizetype maxRequestBytes = 16 * 1024;

struct Request
{
    QByteArray key; // Sec-WebSocket-Key, as sent
    std::optional<QString> origin;
};

struct Parsed
{
    enum class Status { incomplete, accepted, malformed } status = Status::incomplete;
    Request request;
    // Bytes of the request, blank line included: anything after it is already WebSocket data.
    qsizetype length = 0;
    // For a malformed request, the answer that says why.
    QByteArray refusal;
};

Parsed parse(QByteArrayView bytes);

// 101 Switching Protocols for a request the server takes.
QByteArray acceptance(const Request &request);
// A request the server turns down: 403 Forbidden, 431 Request Header Fields Too Large or 503
// Service Unavailable.
QByteArray refusal(int status);

} // namespace WebSocketHandshake

} // namespace pexi
