#include "extension/MiniAppEvent.h"

#include "extension/ExtensionError.h"

#include "extension/JsonValue.h"

namespace pexi {

using namespace Qt::StringLiterals;

void MiniAppEvent::requireCommand(const JsonObject &dictionary)
{
    if (!dictionary.value("command"_L1).isString())
        throw ExtensionError(ExtensionError::Kind::parseError);
}

QString MiniAppEvent::requiredString(const JsonObject &dictionary, QLatin1StringView key)
{
    const JsonValue value = dictionary.value(key);
    if (!value.isString())
        throw ExtensionError(ExtensionError::Kind::parseError);
    return value.toString();
}

std::optional<QString> MiniAppEvent::optionalString(const JsonObject &dictionary,
                                                    QLatin1StringView key)
{
    const JsonValue value = dictionary.value(key);
    if (!value.isString())
        return std::nullopt;
    return value.toString();
}

} // namespace pexi
