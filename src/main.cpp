#include "app/AppDelegate.h"
#include "platform/TerminationSignals.h"

#include <QApplication>

int main(int argc, char *argv[])
{
    QApplication app(argc, argv);
    QApplication::setApplicationName(QStringLiteral("Pexi"));
    QApplication::setOrganizationName(QStringLiteral("Pexi"));
    // A tray application: closing its floating window must not end it.
    QApplication::setQuitOnLastWindowClosed(false);

    pexi::TerminationSignals terminationSignals;
    QObject::connect(&terminationSignals, &pexi::TerminationSignals::terminationRequested, &app,
                     &QApplication::quit);

    pexi::AppDelegate delegate;
    switch (delegate.applicationDidFinishLaunching()) {
    case pexi::AppDelegate::LaunchResult::handedOver:
        return 0;
    case pexi::AppDelegate::LaunchResult::failed:
        return 1;
    case pexi::AppDelegate::LaunchResult::serving:
        break;
    }
    const int status = QApplication::exec();
    delegate.applicationWillTerminate();
    return status;
}
