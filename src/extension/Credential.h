#pragma once

#include <QString>

#include <optional>

namespace pexi {

class JsonWriter;

// A saved login handed to an extension to fill in, password included.
struct Credential
{
    std::optional<QString> username;
    QString password;
    QString title;
    QString uuid;
    std::optional<QString> site;

    // An object of "uuid", "title" and "password", plus "username" and "site" only when present
    // (never null).
    void writeJson(JsonWriter &json) const;

    bool operator==(const Credential &) const = default;
};

} // namespace pexi
