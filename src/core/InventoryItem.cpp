#include "core/InventoryItem.h"

#include <QDateTime>
#include <QJsonDocument>
#include <QUuid>

#include <simdjson.h>

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

InventoryItem::InventoryItem(InventoryItemData *data) : d(data)
{
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

namespace {

QString text(std::string_view utf8)
{
    return QString::fromUtf8(utf8.data(), qsizetype(utf8.size()));
}

bool readString(simdjson::dom::element value, QString &into)
{
    std::string_view utf8;
    if (value.get(utf8))
        return false;
    into = text(utf8);
    return true;
}

// A string known beforehand, shared rather than decoded again.
bool readExpectedString(simdjson::dom::element value, const QString &expected, QString &into)
{
    std::string_view utf8;
    if (value.get(utf8) ||
        !QAnyStringView::equal(QUtf8StringView(utf8.data(), qsizetype(utf8.size())), expected))
        return false;
    into = expected;
    return true;
}

// Absent or null means "none", which is not the same as an empty string.
bool readOptionalString(simdjson::dom::element value, std::optional<QString> &into)
{
    if (value.is_null()) {
        into.reset();
        return true;
    }
    into.emplace();
    return readString(value, *into);
}

bool readFields(simdjson::dom::element value, InventoryItem::Fields &into)
{
    simdjson::dom::object object;
    if (value.get(object))
        return false;
    for (const auto [key, field] : object) {
        QString value;
        if (!readString(field, value))
            return false;
        into.insert(text(key), value);
    }
    return true;
}

} // namespace

std::optional<InventoryItem> InventoryItem::fromJson(const QByteArray &utf8)
{
    return read(utf8, nullptr);
}

std::optional<InventoryItem> InventoryItem::fromJson(const QByteArray &utf8, const QString &uuid)
{
    return read(utf8, &uuid);
}

std::optional<InventoryItem> InventoryItem::read(const QByteArray &utf8, const QString *uuid)
{
    // One parser per thread: items are read on several threads at unlock. Text with room for
    // the parser's padding behind it is read in place, not copied.
    thread_local simdjson::dom::parser parser;
    const bool padded = size_t(utf8.capacity() - utf8.size()) >= simdjson::SIMDJSON_PADDING;
    simdjson::dom::object object;
    if (parser.parse(utf8.constData(), size_t(utf8.size()), !padded).get(object))
        return std::nullopt;

    // A key written twice counts as its last value.
    InventoryItem item(new InventoryItemData);
    InventoryItemData &data = *item.d;
    bool hasTitle = false, hasPassword = false, hasTimestamp = false;
    for (const auto [key, value] : object) {
        bool ok = true;
        if (key == "uuid")
            ok = uuid ? readExpectedString(value, *uuid, data.uuid) : readString(value, data.uuid);
        else if (key == "title")
            ok = hasTitle = readString(value, data.title);
        else if (key == "password")
            ok = hasPassword = readString(value, data.password);
        else if (key == "timestamp")
            ok = hasTimestamp = readString(value, data.timestamp);
        else if (key == "username")
            ok = readOptionalString(value, data.username);
        else if (key == "site")
            ok = readOptionalString(value, data.site);
        else if (key == "deleted")
            ok = !value.get(data.deleted);
        else if (key == "fields")
            ok = readFields(value, data.fields);
        if (!ok)
            return std::nullopt;
    }
    if (data.uuid.isEmpty() || !hasTitle || !hasPassword || !hasTimestamp)
        return std::nullopt;
    return item;
}

std::optional<InventoryItem> InventoryItem::fromJsonText(const QString &text)
{
    QByteArray utf8 = text.toUtf8();
    utf8.reserve(utf8.size() + qsizetype(simdjson::SIMDJSON_PADDING));
    return fromJson(utf8);
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
