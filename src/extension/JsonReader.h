#pragma once

#include "extension/JsonValue.h"

#include <QByteArray>

#include <optional>

namespace pexi {

// Reads the JSON text of a message from an extension (RFC 8259, UTF-8) straight into JsonValue,
// accepting and refusing what QJsonDocument::fromJson does; nothing when the text is not JSON.
namespace JsonReader {

// Arrays and objects nested deeper than this are refused.
constexpr int MaxDepth = 1024;

// The values share `utf8` rather than copying out what needs no unescaping.
std::optional<JsonValue> parse(const QByteArray &utf8);

} // namespace JsonReader

} // namespace pexi
