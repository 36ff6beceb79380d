#include "extension/PartialCredential.h"

#include "extension/JsonWriter.h"

namespace pexi {

using namespace Qt::StringLiterals;

void PartialCredential::writeJson(JsonWriter &json) const
{
    json.beginObject();
    writeMembers(json);
    json.endObject();
}

void PartialCredential::writeMembers(JsonWriter &json) const
{
    json.key("uuid"_L1).string(uuid);
    json.key("title"_L1).string(title);
    if (username)
        json.key("username"_L1).string(*username);
    if (site)
        json.key("site"_L1).string(*site);
}

} // namespace pexi
