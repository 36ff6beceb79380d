#include "extension/MiniAppEvent.h"

#include "extension/ExtensionError.h"

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
    return QString::fromUtf8(text.data(), qsizetype(text.size()));
}

} // namespace pexi
