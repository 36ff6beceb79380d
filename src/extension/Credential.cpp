#include "extension/Credential.h"

namespace pexi {

using namespace Qt::StringLiterals;

QJsonObject Credential::toJsonObject() const
{
    QJsonObject dictionary{{"uuid"_L1, uuid}, {"title"_L1, title}, {"password"_L1, password}};
    if (username)
        dictionary.insert("username"_L1, *username);
    if (site)
        dictionary.insert("site"_L1, *site);
    return dictionary;
}

} // namespace pexi
