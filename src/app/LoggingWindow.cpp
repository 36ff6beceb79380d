#include "app/LoggingWindow.h"

#include "core/Log.h"

namespace pexi {

namespace {

QString pointText(QPointF point)
{
    return QStringLiteral("(%1, %2)").arg(point.x()).arg(point.y());
}

} // namespace

void LoggingWindow::showAt(QPointF point)
{
    logLine(QStringLiteral("floating window opens at %1").arg(pointText(point)));
}

void LoggingWindow::showAt(QPointF point, const InventoryItem &)
{
    // Not the item's title: what the vault holds stays out of the log.
    logLine(QStringLiteral("floating window opens at %1 for an item").arg(pointText(point)));
}

} // namespace pexi
