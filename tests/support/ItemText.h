#pragma once

#include "core/InventoryItem.h"

#include <QStringList>

// Items as a test compares them: their titles in order, or one item as
// "title|site|username|password" with "-" for what it lacks.
inline QStringList titles(const QList<pexi::InventoryItem> &items)
{
    QStringList titles;
    for (const pexi::InventoryItem &item : items)
        titles << item.title();
    return titles;
}

inline QString described(const pexi::InventoryItem &item)
{
    return QStringList{item.title(), item.site().value_or("-"), item.username().value_or("-"),
                       item.password()}
        .join('|');
}
