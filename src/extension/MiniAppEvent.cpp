#include "extension/MiniAppEvent.h"

#include "extension/ExtensionError.h"

#include <QStringDecoder>

#include <simdjson.h>

namespace pexi {

void MiniAppEvent::requireCommand(const simdjson::dom::object &dictionary)
{
    if (!dictionary["command"].is_string())
        throw ExtensionError(ExtensionError::Kind::parseError);
}

QString MiniAppEvent::requiredString(const simdjson::dom::object &dictionary, std::string_view key)
{
    std::optional<QString> value = optionalString(dictionary, key);
    if (!value)
        throw ExtensionError(ExtensionError::Kind::parseError);
    return *std::move(value);
}

std::optional<QString> MiniAppEvent::optionalString(const simdjson::dom::object &dictionary,
                                                    std::string_view key)
{
    std::string_view text;
    if (dictionary[key].get(text) != simdjson::SUCCESS)
        return std::nullopt;
    // QString::fromUtf8 would drop a byte order mark at the start, from a password too.
    QStringDecoder decoder(QStringDecoder::Utf8, QStringDecoder::Flag::Stateless |
                                                     QStringDecoder::Flag::ConvertInitialBom);
    return decoder.decode(QByteArrayView(text.data(), qsizetype(text.size())));
}

} // namespace pexi
