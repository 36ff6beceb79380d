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
    // Keys in the sorted order QJsonObject writes them in.
    if (site)
        json.key("site"_L1).string(*site);
    json.key("title"_L1).string(title);
    if (username)
        json.key("username"_L1).string(*username);
    json.key("uuid"_L1).string(uuid);
}

} // namespace pexi
