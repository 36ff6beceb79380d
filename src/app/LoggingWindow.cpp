#include "app/LoggingWindow.h"

#include "core/InventoryItem.h"
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

void LoggingWindow::showAt(QPointF point, const InventoryItem &item)
{
    logLine(QStringLiteral("floating window opens at %1 with \"%2\"")
                .arg(pointText(point), item.title()));
}

} // namespace pexi
