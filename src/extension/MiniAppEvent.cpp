#include "extension/MiniAppEvent.h"

#include "extension/ExtensionError.h"

#include <QJsonDocument>
#include <QJsonValue>
#include <QStringDecoder>

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

QString MiniAppEvent::writeJson(const QJsonObject &dictionary)
{
    const QByteArray bytes = QJsonDocument(dictionary).toJson(QJsonDocument::Compact);
    if (bytes.isEmpty())
        throw ExtensionError(ExtensionError::Kind::jsonSerializeError);
    // The writer escapes what UTF-8 cannot hold, so this guards against a writer change rather
    // than against our own data; an extension must never get a frame it cannot decode.
    QStringDecoder decoder(QStringDecoder::Utf8, QStringDecoder::Flag::Stateless);
    QString text = decoder.decode(bytes);
    if (decoder.hasError())
        throw ExtensionError(ExtensionError::Kind::jsonSerializeError);
    return text;
}

} // namespace pexi
