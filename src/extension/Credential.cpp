#include "extension/Credential.h"

#include "extension/JsonWriter.h"
#include "extension/PartialCredential.h"

namespace pexi {

using namespace Qt::StringLiterals;

void Credential::writeJson(JsonWriter &json) const
{
    json.beginObject();
    PartialCredential{username, uuid, title, site}.writeMembers(json);
    json.key("password"_L1).string(password);
    json.endObject();
}

} // namespace pexi
