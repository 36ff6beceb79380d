#pragma once

#include <QString>

// The values this deployment of the worker is tied to: where mail goes, which pages it opens and
// how it addresses the main desktop application. Everything that needs one reads it from here.
namespace pexi {

namespace Deployment {

inline const QString supportAddress = QStringLiteral("support@pexi.com");
inline const QString feedbackAddress = QStringLiteral("feedback@pexi.com");
// The extension's listing in the Chrome Web Store.
inline const QString chromeExtensionStorePage = QStringLiteral(
    "https://chrome.google.com/webstore/detail/pexi/fmkgpbkclbgjpenpigchihmjbokjjhpc");
inline const QString helpPage = QStringLiteral("https://pexi.com/help");

} // namespace Deployment

// What the worker and the main desktop application ask of each other when one launches the other.
namespace PexiMacOSConstants {

// Read by the worker from its launch parameter.
namespace WorkerLaunchCommand {
inline const QString openWindow = QStringLiteral("open_window");
}

// Handed by the worker to the main application.
namespace LaunchCommand {
inline const QString openSafariPreferences = QStringLiteral("open_safari_preferences");
}

} // namespace PexiMacOSConstants

namespace MacAppController {
// The main desktop application; on Linux, also the name of its desktop entry.
inline const QString bundleIdentifier = QStringLiteral("com.pexi.Password");
} // namespace MacAppController

} // namespace pexi
