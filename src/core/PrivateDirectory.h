#pragma once

#include <QString>

namespace pexi {

// Makes `path` and any missing parent, each readable by its owner only (0700) whatever the
// umask, and restricts `path` itself to 0700 when it already existed. False when it cannot.
bool makePrivateDirectory(const QString &path);

} // namespace pexi
