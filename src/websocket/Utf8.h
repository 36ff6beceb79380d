#pragma once

#include <QByteArrayView>

namespace pexi {

// Well-formed UTF-8: no overlong forms, no surrogates, nothing above U+10FFFF, no cut-off
// sequence at the end.
bool isValidUtf8(QByteArrayView bytes);

} // namespace pexi
