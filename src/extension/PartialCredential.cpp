#include "extension/PartialCredential.h"

#include "extension/JsonWriter.h"

namespace pexi {

using namespace Qt::StringLiterals;

void PartialCredential::writeJson(JsonWriter &json) const
{
    json.beginObject();
    if (site)
        json.key("site"_L1).string(*site);
    json.key("title"_L1).string(title);
    if (username)
        json.key("username"_L1).string(*username);
    json.key("uuid"_L1).string(uuid);
    json.endObject();
}

} // namespace pexi
