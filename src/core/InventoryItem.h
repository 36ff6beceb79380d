#pragma once

#include <QJsonObject>
#include <QMap>
#include <QSharedDataPointer>
#include <QString>

#include <optional>

namespace pexi {

class InventoryItemData;

// One saved login. Implicitly shared: copies are cheap and detach on write.
class InventoryItem
{
public:
    using Fields = QMap<QString, QString>;

    // Without explicit values the item gets a fresh upper-case uuid and the current UTC time.
    explicit InventoryItem(const QString &title = {},
                           const std::optional<QString> &username = std::nullopt,
                           const QString &password = {},
                           const std::optional<QString> &site = std::nullopt,
                           const Fields &fields = {}, const QString &timestamp = {},
                           const QString &uuid = {}, bool deleted = false);
    InventoryItem(const InventoryItem &);
    InventoryItem &operator=(const InventoryItem &);
    ~InventoryItem();

    // Rebuilds an item from its JSON text (UTF-8); nullopt when the text is not JSON or a
    // required key is missing or mistyped.
    static std::optional<InventoryItem> fromJson(const QByteArray &utf8);
    // The same for the item stored as `uuid`: nullopt also when the text holds another uuid. The
    // item shares `uuid`'s string rather than a copy of its own.
    static std::optional<InventoryItem> fromJson(const QByteArray &utf8, const QString &uuid);
    static std::optional<InventoryItem> fromJsonText(const QString &text);
    QJsonObject toJsonObject() const;
    QString toJson() const;

    const QString &title() const;
    const QString &password() const;
    const std::optional<QString> &username() const;
    const std::optional<QString> &site() const;
    const Fields &fields() const;
    const QString &timestamp() const;
    const QString &uuid() const;
    bool deleted() const;

    void setTitle(const QString &title);
    void setPassword(const QString &password);
    void setUsername(const std::optional<QString> &username);
    void setSite(const std::optional<QString> &site);
    void setFields(const Fields &fields);
    void setTimestamp(const QString &timestamp);
    void setDeleted(bool deleted);

    bool operator==(const InventoryItem &other) const;

    static QString newUuid();
    static QString currentTimestamp();

private:
    explicit InventoryItem(InventoryItemData *data);
    static std::optional<InventoryItem> read(const QByteArray &utf8, const QString *uuid);

    QSharedDataPointer<InventoryItemData> d;
};

} // namespace pexi
