#pragma once

#include <QJsonObject>
#include <QString>

#include <optional>

namespace pexi {

// A saved login offered to an extension for choice: everything but the password.
struct PartialCredential
{
    std::optional<QString> username;
    QString uuid;
    QString title;
    std::optional<QString> site;

    // "uuid" and "title", plus "username" and "site" only when present (never null).
    QJsonObject toJsonObject() const;

    bool operator==(const PartialCredential &) const = default;
};

} // namespace pexi
