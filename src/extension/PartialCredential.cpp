#include "extension/PartialCredential.h"

namespace pexi {

using namespace Qt::StringLiterals;

QJsonObject PartialCredential::toJsonObject() const
{
    QJsonObject dictionary{{"uuid"_L1, uuid}, {"title"_L1, title}};
    if (username)
        dictionary.insert("username"_L1, *username);
    if (site)
        dictionary.insert("site"_L1, *site);
    return dictionary;
}

} // namespace pexi
