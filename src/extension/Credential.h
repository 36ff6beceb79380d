#pragma once

#include <QJsonObject>
#include <QString>

#include <optional>

namespace pexi {

// A saved login handed to an extension to fill in, password included.
struct Credential
{
    std::optional<QString> username;
    QString password;
    QString title;
    QString uuid;
    std::optional<QString> site;

    // "uuid", "title" and "password", plus "username" and "site" only when present (never null).
    QJsonObject toJsonObject() const;

    bool operator==(const Credential &) const = default;
};

} // namespace pexi
