#pragma once

#include "core/ImageGrid.h"

#include <QList>
#include <QString>

#include <stdexcept>

namespace pexi {

class RecallInputError : public std::runtime_error
{
    using std::runtime_error::runtime_error;
};

// The picked pictures as letters, one group per grid: "ACE BDF GHK" (commas also accepted).
// Letters A to O name the fifteen positions of a grid, row by row.
class RecallInput
{
public:
    // Indices per grid, each sorted ascending. Throws RecallInputError for malformed text.
    static QList<QList<int>> parse(const QString &letters);
    // $PEXI_RECALL when set, else asks on the terminal without echo, showing the grids first.
    static QString read(const QList<ImageGrid> &grids);
    static QChar letterFor(int index) { return QChar(u'A' + index); }
};

} // namespace pexi
