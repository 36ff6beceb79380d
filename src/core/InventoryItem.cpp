#include "core/InventoryItem.h"

#include <QDateTime>
#include <QJsonDocument>
#include <QUuid>

namespace pexi {

namespace Key {
const QString uuid = QStringLiteral("uuid");
const QString title = QStringLiteral("title");
const QString password = QStringLiteral("password");
const QString username = QStringLiteral("username");
const QString site = QStringLiteral("site");
const QString fields = QStringLiteral("fields");
const QString timestamp = QStringLiteral("timestamp");
const QString deleted = QStringLiteral("deleted");
} // namespace Key

class InventoryItemData : public QSharedData
{
public:
    QString title;
    QString password;
    std::optional<QString> username;
    std::optional<QString> site;
    InventoryItem::Fields fields;
    QString timestamp;
    QString uuid;
    bool deleted = false;
};

InventoryItem::InventoryItem(const QString &title, const std::optional<QString> &username,
                             const QString &password, const std::optional<QString> &site,
                             const Fields &fields, const QString &timestamp, const QString &uuid,
                             bool deleted)
    : d(new InventoryItemData)
{
    d->title = title;
    d->password = password;
    d->username = username;
    d->site = site;
    d->fields = fields;
    d->timestamp = timestamp.isEmpty() ? currentTimestamp() : timestamp;
    d->uuid = uuid.isEmpty() ? newUuid() : uuid;
    d->deleted = deleted;
}

InventoryItem::InventoryItem(const InventoryItem &) = default;
InventoryItem &InventoryItem::operator=(const InventoryItem &) = default;
InventoryItem::~InventoryItem() = default;

QString InventoryItem::newUuid()
{
    return QUuid::createUuid().toString(QUuid::WithoutBraces).toUpper();
}

QString InventoryItem::currentTimestamp()
{
    return QDateTime::currentDateTimeUtc().toString(Qt::ISODateWithMs);
}

std::optional<InventoryItem> InventoryItem::fromJson(const QJsonObject &json)
{
    const QJsonValue uuid = json.value(Key::uuid);
    const QJsonValue title = json.value(Key::title);
    const QJsonValue password = json.value(Key::password);
    const QJsonValue timestamp = json.value(Key::timestamp);
    if (!uuid.isString() || uuid.toString().isEmpty() || !title.isString() ||
        !password.isString() || !timestamp.isString())
        return std::nullopt;

    // Optional strings: absent means "none", which is not the same as an empty string.
    auto optionalString = [&json](const QString &key, bool *ok) -> std::optional<QString> {
        const QJsonValue value = json.value(key);
        if (value.isUndefined() || value.isNull())
            return std::nullopt;
        if (!value.isString())
            *ok = false;
        return value.toString();
    };
    bool ok = true;
    const std::optional<QString> username = optionalString(Key::username, &ok);
    const std::optional<QString> site = optionalString(Key::site, &ok);

    Fields fields;
    const QJsonValue fieldsValue = json.value(Key::fields);
    if (fieldsValue.isObject()) {
        const QJsonObject object = fieldsValue.toObject();
        for (auto it = object.begin(); it != object.end(); ++it) {
            if (!it.value().isString())
                return std::nullopt;
            fields.insert(it.key(), it.value().toString());
        }
    } else if (!fieldsValue.isUndefined()) {
        ok = false;
    }

    const QJsonValue deleted = json.value(Key::deleted);
    if (!deleted.isUndefined() && !deleted.isBool())
        ok = false;
    if (!ok)
        return std::nullopt;

    return InventoryItem(title.toString(), username, password.toString(), site, fields,
                         timestamp.toString(), uuid.toString(), deleted.toBool(false));
}

std::optional<InventoryItem> InventoryItem::fromJsonText(const QString &text)
{
    QJsonParseError error;
    const QJsonDocument document = QJsonDocument::fromJson(text.toUtf8(), &error);
    if (error.error != QJsonParseError::NoError || !document.isObject())
        return std::nullopt;
    return fromJson(document.object());
}

QJsonObject InventoryItem::toJsonObject() const
{
    QJsonObject json{{Key::uuid, d->uuid},
                     {Key::title, d->title},
                     {Key::password, d->password},
                     {Key::timestamp, d->timestamp},
                     {Key::deleted, d->deleted}};
    if (d->username)
        json.insert(Key::username, *d->username);
    if (d->site)
        json.insert(Key::site, *d->site);
    QJsonObject fields;
    for (auto it = d->fields.begin(); it != d->fields.end(); ++it)
        fields.insert(it.key(), it.value());
    json.insert(Key::fields, fields);
    return json;
}

QString InventoryItem::toJson() const
{
    return QString::fromUtf8(QJsonDocument(toJsonObject()).toJson(QJsonDocument::Compact));
}

const QString &InventoryItem::title() const
{
    return d->title;
}
const QString &InventoryItem::password() const
{
    return d->password;
}
const std::optional<QString> &InventoryItem::username() const
{
    return d->username;
}
const std::optional<QString> &InventoryItem::site() const
{
    return d->site;
}
const InventoryItem::Fields &InventoryItem::fields() const
{
    return d->fields;
}
const QString &InventoryItem::timestamp() const
{
    return d->timestamp;
}
const QString &InventoryItem::uuid() const
{
    return d->uuid;
}
bool InventoryItem::deleted() const
{
    return d->deleted;
}

void InventoryItem::setTitle(const QString &title)
{
    d->title = title;
}
void InventoryItem::setPassword(const QString &password)
{
    d->password = password;
}
void InventoryItem::setUsername(const std::optional<QString> &username)
{
    d->username = username;
}
void InventoryItem::setSite(const std::optional<QString> &site)
{
    d->site = site;
}
void InventoryItem::setFields(const Fields &fields)
{
    d->fields = fields;
}
void InventoryItem::setTimestamp(const QString &timestamp)
{
    d->timestamp = timestamp;
}
void InventoryItem::setDeleted(bool deleted)
{
    d->deleted = deleted;
}

bool InventoryItem::operator==(const InventoryItem &other) const
{
    return d == other.d || (d->uuid == other.d->uuid && d->title == other.d->title &&
                            d->password == other.d->password && d->username == other.d->username &&
                            d->site == other.d->site && d->fields == other.d->fields &&
                            d->timestamp == other.d->timestamp && d->deleted == other.d->deleted);
}

} // namespace pexi
