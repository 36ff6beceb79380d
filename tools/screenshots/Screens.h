#pragma once

#include "ScreenshotContext.h"

#include <QList>
#include <QString>

#include <functional>

class QWidget;

// One picture pair (light and dark) per row of screens().
struct Screen
{
    QString name; // the files are <name>-light.png and <name>-dark.png
    // Builds the screen in the current appearance; it is shown at its size hint unless it set
    // a size itself.
    std::function<QWidget *(ScreenshotContext &)> build;
    // How long the screen's own timers run before the picture (a text overlay's delay).
    int settleMilliseconds = 0;
};

QList<Screen> screens();
