#include "extension/Credential.h"

#include "extension/JsonWriter.h"
#include "extension/PartialCredential.h"

namespace pexi {

using namespace Qt::StringLiterals;

void Credential::writeJson(JsonWriter &json) const
{
    // "password" sorts before every other key.
    json.beginObject();
    json.key("password"_L1).string(password);
    PartialCredential{username, uuid, title, site}.writeMembers(json);
    json.endObject();
}

} // namespace pexi
