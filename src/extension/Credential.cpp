#include "extension/Credential.h"

#include "extension/JsonWriter.h"

namespace pexi {

using namespace Qt::StringLiterals;

void Credential::writeJson(JsonWriter &json) const
{
    json.beginObject();
    json.key("password"_L1).string(password);
    if (site)
        json.key("site"_L1).string(*site);
    json.key("title"_L1).string(title);
    if (username)
        json.key("username"_L1).string(*username);
    json.key("uuid"_L1).string(uuid);
    json.endObject();
}

} // namespace pexi
