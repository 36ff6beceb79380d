#include "websocket/WebSocketHandshake.h"

#include <QCryptographicHash>
#include <QList>

namespace pexi::WebSocketHandshake {

namespace {

QByteArray response(int status, const char *reason, const char *extraHeaders = "")
{
    return "HTTP/1.1 " + QByteArray::number(status) + ' ' + reason +
           "\r\nContent-Length: 0\r\nConnection: close\r\n" + extraHeaders + "\r\n";
}

Parsed malformed(QByteArray answer)
{
    Parsed parsed;
    parsed.status = Parsed::Status::malformed;
    parsed.refusal = std::move(answer);
    return parsed;
}

// Whether a comma-separated header value holds `token`, in any case.
bool hasToken(const QByteArray &value, QByteArrayView token)
{
    for (const QByteArray &item : value.split(',')) {
        if (item.trimmed().compare(token, Qt::CaseInsensitive) == 0)
            return true;
    }
    return false;
}

} // namespace

Parsed parse(QByteArrayView bytes)
{
    const qsizetype end = bytes.indexOf(QByteArrayView("\r\n\r\n"));
    if (end + 4 > maxRequestBytes || (end < 0 && bytes.size() > maxRequestBytes))
        return malformed(refusal(431));
    if (end < 0)
        return {};
    const QList<QByteArray> lines = bytes.first(end).toByteArray().split('\n');
    const QList<QByteArray> requestLine = lines.first().trimmed().split(' ');
    if (requestLine.size() != 3 || requestLine.at(0) != "GET" ||
        !requestLine.at(2).startsWith("HTTP/1.") || requestLine.at(2) == "HTTP/1.0")
        return malformed(response(400, "Bad Request"));

    // Header names in lower case; repeated headers joined as one list.
    QByteArray upgrade, connection, version, key;
    std::optional<QByteArray> origin;
    for (qsizetype i = 1; i < lines.size(); ++i) {
        const QByteArray &line = lines.at(i);
        const qsizetype colon = line.indexOf(':');
        // A line that starts with a blank would continue the one before (obsolete folding).
        if (colon <= 0 || line.startsWith(' ') || line.startsWith('\t'))
            return malformed(response(400, "Bad Request"));
        const QByteArray name = line.first(colon).trimmed().toLower();
        const QByteArray value = line.sliced(colon + 1).trimmed();
        const auto join = [&value](QByteArray &list) {
            list = list.isEmpty() ? value : list + ',' + value;
        };
        if (name == "upgrade")
            join(upgrade);
        else if (name == "connection")
            join(connection);
        else if (name == "sec-websocket-version")
            join(version);
        else if (name == "sec-websocket-key")
            join(key);
        else if (name == "origin" && origin)
            return malformed(response(400, "Bad Request")); // which one would be true?
        else if (name == "origin")
            origin = value;
    }
    if (!hasToken(upgrade, "websocket") || !hasToken(connection, "upgrade"))
        return malformed(response(400, "Bad Request"));
    if (version != "13")
        return malformed(response(426, "Upgrade Required", "Sec-WebSocket-Version: 13\r\n"));
    const auto decodedKey =
        QByteArray::fromBase64Encoding(key, QByteArray::AbortOnBase64DecodingErrors);
    if (!decodedKey || decodedKey.decoded.size() != 16)
        return malformed(response(400, "Bad Request"));

    Parsed parsed;
    parsed.status = Parsed::Status::accepted;
    parsed.request.key = key;
    if (origin)
        parsed.request.origin = QString::fromUtf8(*origin);
    parsed.length = end + 4;
    return parsed;
}

QByteArray acceptance(const Request &request)
{
    const QByteArray accept =
        QCryptographicHash::hash(request.key + "258EAFA5-E914-47DA-95CA-C5AB0DC85B11",
                                 QCryptographicHash::Sha1)
            .toBase64();
    return "HTTP/1.1 101 Switching Protocols\r\nUpgrade: websocket\r\nConnection: Upgrade\r\n"
           "Sec-WebSocket-Accept: " +
           accept + "\r\n\r\n";
}

QByteArray refusal(int status)
{
    switch (status) {
    case 431:
        return response(431, "Request Header Fields Too Large");
    case 503:
        return response(503, "Service Unavailable");
    default:
        return response(403, "Forbidden");
    }
}

} // namespace pexi::WebSocketHandshake
