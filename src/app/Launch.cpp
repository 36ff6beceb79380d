#include "app/Launch.h"

#include "app/Deployment.h"

#include <QCursor>
#include <QGuiApplication>
#include <QScreen>

namespace pexi {

namespace Launch {

bool showsWindow(const QStringList &arguments)
{
    return arguments.value(1) == PexiMacOSConstants::WorkerLaunchCommand::openWindow;
}

QPointF position(std::optional<QRect> primaryScreen, QPointF mouse)
{
    if (!primaryScreen)
        return mouse;
    const QRectF screen(*primaryScreen);
    return {screen.center().x(), screen.top() + 100};
}

QPointF position()
{
    const QScreen *screen = QGuiApplication::primaryScreen();
    return position(screen ? std::optional(screen->geometry()) : std::nullopt, QCursor::pos());
}

} // namespace Launch

} // namespace pexi
