#pragma once

#include <QString>

class QLabel;
class QWidget;

namespace pexi {

// A short confirmation over `view` ("Password copied"): a small dark rounded label a little above
// the middle, invisible for 0.3 s, then shown at once, faded out after a further 1.5 s and
// deleted. Several may be on show at once; each goes its own way.
QLabel *hudWithTitle(QWidget *view, const QString &title);

} // namespace pexi
