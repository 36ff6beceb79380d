#include "inventory/PasswordEntry.h"

namespace pexi {

namespace {

bool isBlank(QChar c)
{
    return c == u' ' || c == u'\t';
}

} // namespace

QString PasswordEntry::trimmed(const QString &text)
{
    qsizetype begin = 0;
    qsizetype end = text.size();
    while (begin < end && isBlank(text.at(begin)))
        ++begin;
    while (end > begin && isBlank(text.at(end - 1)))
        --end;
    return text.sliced(begin, end - begin);
}

QString PasswordEntry::problem() const
{
    if (trimmed(title).isEmpty())
        return QStringLiteral("Please enter a title");
    if (password.isEmpty())
        return QStringLiteral("Please enter a password");
    return {};
}

InventoryItem PasswordEntry::applied(InventoryItem item) const
{
    item.setTitle(trimmed(title));
    item.setSite(trimmed(site));
    item.setUsername(trimmed(username));
    item.setPassword(password);
    return item;
}

bool PasswordEntry::changes(const InventoryItem &item) const
{
    return trimmed(title) != item.title() || trimmed(site) != item.site().value_or(QString()) ||
           trimmed(username) != item.username().value_or(QString()) || password != item.password();
}

} // namespace pexi
