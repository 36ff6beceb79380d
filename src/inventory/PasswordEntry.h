#pragma once

#include "core/InventoryItem.h"

#include <QString>

namespace pexi {

// The four texts of a login as typed into a form, and what saving them stores: title, site and
// user name trimmed of spaces and tabs, the password exactly as typed (it may begin or end with
// spaces). Site and user name are stored even when empty, as empty strings.
class PasswordEntry
{
public:
    QString title;
    QString site;
    QString username;
    QString password;

    // Spaces and tabs off both ends; line breaks stay.
    static QString trimmed(const QString &text);

    // What keeps a save from happening, as the sentence to show; empty when it may be saved.
    // The title is asked for before the password.
    QString problem() const;
    bool isValid() const { return problem().isEmpty(); }

    // `item` with the entry's texts; its uuid, timestamp, fields and deleted flag untouched.
    InventoryItem applied(InventoryItem item) const;
    // Whether a save would change what the user sees of `item`: an absent site or user name
    // and an empty one look alike.
    bool changes(const InventoryItem &item) const;
};

} // namespace pexi
