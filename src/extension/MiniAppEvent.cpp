#include "extension/MiniAppEvent.h"

#include "extension/ExtensionError.h"

#include <QJsonValue>

namespace pexi {

using namespace Qt::StringLiterals;

void MiniAppEvent::requireCommand(const QJsonObject &dictionary)
{
    requiredString(dictionary, "command"_L1);
}

QString MiniAppEvent::requiredString(const QJsonObject &dictionary, QLatin1StringView key)
{
    const QJsonValue value = dictionary.value(key);
    if (!value.isString())
        throw ExtensionError(ExtensionError::Kind::parseError);
    return value.toString();
}

std::optional<QString> MiniAppEvent::optionalString(const QJsonObject &dictionary,
                                                    QLatin1StringView key)
{
    const QJsonValue value = dictionary.value(key);
    if (!value.isString())
        return std::nullopt;
    return value.toString();
}

} // namespace pexi
