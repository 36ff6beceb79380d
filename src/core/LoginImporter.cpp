#include "core/LoginImporter.h"

#include "core/Inventory.h"

#include <QSet>

namespace pexi {

namespace {

std::optional<QString> presentUnlessEmpty(const QString &text)
{
    return text.isEmpty() ? std::nullopt : std::optional(text);
}

} // namespace

LoginImporter::Result LoginImporter::import(Inventory &inventory, const QList<CsvLogin> &logins)
{
    Result result;
    QSet<QString> seen;
    for (const CsvLogin &login : logins) {
        const QString key = login.site + QChar(0) + login.username + QChar(0) + login.password;
        if (inventory.containsLogin(login.username, login.site, login.password)) {
            result.skipped.append({login, Reason::alreadySaved});
        } else if (seen.contains(key)) {
            result.skipped.append({login, Reason::repeatedInFile});
        } else {
            seen.insert(key);
            result.added.append(InventoryItem(login.title, presentUnlessEmpty(login.username),
                                              login.password, presentUnlessEmpty(login.site)));
        }
    }
    inventory.add(result.added);
    return result;
}

} // namespace pexi
