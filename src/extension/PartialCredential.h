#pragma once

#include <QString>

#include <optional>

namespace pexi {

class JsonWriter;

// A saved login offered to an extension for choice: everything but the password.
struct PartialCredential
{
    std::optional<QString> username;
    QString uuid;
    QString title;
    std::optional<QString> site;

    // An object of "uuid" and "title", plus "username" and "site" only when present (never null).
    void writeJson(JsonWriter &json) const;
    // The members above without the braces, for a credential that adds its password.
    void writeMembers(JsonWriter &json) const;

    bool operator==(const PartialCredential &) const = default;
};

} // namespace pexi
