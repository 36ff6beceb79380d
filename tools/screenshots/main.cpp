// Renders every screen of Screens.cpp in the light and the dark appearance, at twice the pixel
// density, so that a person can look at all of them without a desktop:
//   pexi-screenshots <output directory> [name...]
#include "Screens.h"

#include "ui/Appearance.h"

#include <QApplication>
#include <QDir>
#include <QPixmap>
#include <QTimer>
#include <QWidget>

#include <cstdio>
#include <memory>

namespace {

void runEventLoopFor(int milliseconds)
{
    QEventLoop loop;
    QTimer::singleShot(milliseconds, &loop, &QEventLoop::quit);
    loop.exec();
}

bool render(const Screen &screen, bool dark, const QDir &output)
{
    pexi::Appearance::instance().setDark(dark);
    ScreenshotContext context;
    const std::unique_ptr<QWidget> widget(screen.build(context));
    if (!widget->testAttribute(Qt::WA_Resized))
        widget->resize(widget->sizeHint());
    widget->show();
    runEventLoopFor(screen.settleMilliseconds);
    const QPixmap picture = widget->grab();
    const QString path =
        output.filePath(screen.name + (dark ? QStringLiteral("-dark.png") : "-light.png"));
    if (!picture.save(path)) {
        std::fprintf(stderr, "cannot write %s\n", qPrintable(path));
        return false;
    }
    std::printf("%s %dx%d\n", qPrintable(path), picture.width(), picture.height());
    return true;
}

} // namespace

int main(int argc, char *argv[])
{
    // Crisp pictures: two pixels per point, as on a high-density display.
    if (!qEnvironmentVariableIsSet("QT_SCALE_FACTOR"))
        qputenv("QT_SCALE_FACTOR", "2");
    QApplication app(argc, argv);
    const QStringList arguments = QApplication::arguments().mid(1);
    if (arguments.isEmpty()) {
        std::fprintf(stderr, "usage: pexi-screenshots <output directory> [name...]\n");
        return 2;
    }
    const QDir output(arguments.first());
    if (!QDir().mkpath(output.path())) {
        std::fprintf(stderr, "cannot make %s\n", qPrintable(output.path()));
        return 1;
    }
    const QStringList only = arguments.mid(1);
    pexi::Appearance::instance().apply();

    bool ok = true;
    for (const Screen &screen : screens()) {
        if (!only.isEmpty() && !only.contains(screen.name))
            continue;
        for (const bool dark : {false, true})
            ok = render(screen, dark, output) && ok;
    }
    return ok ? 0 : 1;
}
