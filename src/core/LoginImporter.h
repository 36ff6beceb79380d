#pragma once

#include "core/InventoryItem.h"
#include "core/LoginCsv.h"

#include <QList>

namespace pexi {

class Inventory;

// Adds the logins of a browser's export to the inventory in one write, leaving out those already
// saved and those the file repeats, so that importing the same export twice adds nothing.
class LoginImporter
{
public:
    enum class Reason { alreadySaved, repeatedInFile };
    struct Skipped
    {
        CsvLogin login;
        Reason reason;
    };
    struct Result
    {
        QList<InventoryItem> added;
        QList<Skipped> skipped;
    };

    // Throws VaultError when the write fails; nothing is added then.
    static Result import(Inventory &inventory, const QList<CsvLogin> &logins);
};

} // namespace pexi
