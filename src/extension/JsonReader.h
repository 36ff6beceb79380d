#pragma once

#include <QByteArray>

#include <simdjson.h>

namespace pexi {

// Reads the JSON text of messages from extensions with simdjson: RFC 8259 to the letter, UTF-8
// checked, 1024 levels deep at most, numbers as 64-bit integers or finite doubles. The same
// text is read the same way on every platform, whatever Qt the worker runs on.
//
// Of a key written twice in one object, lookups find the first: that is simdjson's own rule,
// and a message that repeats a key is the sender's mistake either way.
class JsonReader
{
public:
    // The root value of `text`, or why it is not JSON. It lives in the reader: valid until the
    // next read. Read where it lies when the text has simdjson's padding behind it (as the
    // WebSocket frame reader leaves it), copied first otherwise.
    simdjson::simdjson_result<simdjson::dom::element> read(const QByteArray &text);

private:
    simdjson::dom::parser m_parser;
};

} // namespace pexi
