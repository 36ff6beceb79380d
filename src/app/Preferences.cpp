#include "app/Preferences.h"

#include "app/PreferencesViewController.h"
#include "extension/BrowserController.h"

#include <QFile>
#include <QScreen>
#include <QSettings>

#include <sys/stat.h>

namespace pexi {

Preferences &Preferences::instance()
{
    static Preferences preferences;
    return preferences;
}

void Preferences::registerDefaults(Preferences &preferences)
{
    preferences.registerDefaultValues({
        {Constants::autoSavePasswords, true},
        {Constants::showSaveNotifications, true},
        {Constants::showWelcomeScreen, true},
    });
}

Preferences::Preferences(QObject *parent)
    : Preferences(std::make_unique<QSettings>(QSettings::NativeFormat, QSettings::UserScope,
                                              QStringLiteral("Pexi"),
                                              QStringLiteral("Pexi Worker")),
                  parent)
{
}

Preferences::Preferences(std::unique_ptr<QSettings> settings, QObject *parent)
    : QObject(parent), m_settings(std::move(settings)),
      m_settingsPath(QFile::encodeName(m_settings->fileName()))
{
}

Preferences::~Preferences() = default;

void Preferences::showWindow(QObject *sender)
{
    // A fresh window each time, so that it shows what the settings and the extensions say now.
    delete m_windowController;
    auto *window = new PreferencesViewController(*this, BrowserController::instance());
    window->setAttribute(Qt::WA_DeleteOnClose);
    window->setWindowFlag(Qt::Window);
    window->adjustSize();
    if (const auto *widget = qobject_cast<const QWidget *>(sender); widget && widget->screen()) {
        QRect frame = window->frameGeometry();
        frame.moveCenter(widget->screen()->availableGeometry().center());
        window->move(frame.topLeft());
    }
    m_windowController = window;
    window->show();
    window->raise();
    window->activateWindow();
}

QWidget *Preferences::windowController() const
{
    return m_windowController;
}

void Preferences::setShowStatusBarIcon(bool show)
{
    if (m_showStatusBarIcon == show)
        return;
    m_showStatusBarIcon = show;
    emit showStatusBarIconChanged(show);
}

bool Preferences::autoSavePasswords() const
{
    return boolForKey(Constants::autoSavePasswords);
}

void Preferences::setAutoSavePasswords(bool autoSave)
{
    setBoolForKey(Constants::autoSavePasswords, autoSave);
}

bool Preferences::showSaveNotifications() const
{
    if (!autoSavePasswords())
        return true;
    return boolForKey(Constants::showSaveNotifications);
}

void Preferences::setShowSaveNotifications(bool show)
{
    setBoolForKey(Constants::showSaveNotifications, show);
}

bool Preferences::showWelcomeScreen() const
{
    return boolForKey(Constants::showWelcomeScreen);
}

void Preferences::setShowWelcomeScreen(bool show)
{
    setBoolForKey(Constants::showWelcomeScreen, show);
}

void Preferences::registerDefaultValues(const QVariantMap &values)
{
    for (auto it = values.begin(); it != values.end(); ++it)
        m_registeredDefaults.insert(it.key(), it.value());
}

void Preferences::syncWhenChanged() const
{
    struct stat file = {};
    if (m_settingsPath.isEmpty() || ::stat(m_settingsPath.constData(), &file) != 0) {
        m_readState.reset();
        m_settings->sync();
        return;
    }
    const FileState state{qint64(file.st_ino), qint64(file.st_size), qint64(file.st_mtim.tv_sec),
                          qint64(file.st_mtim.tv_nsec)};
    if (state == m_readState)
        return;
    // Taken before reading: a change made meanwhile is read at the next call.
    m_readState = state;
    m_settings->sync();
}

bool Preferences::boolForKey(const QString &key) const
{
    // Every read goes to the store, so a change made by another process to the user's settings
    // is seen at once. One look at the file says whether it changed, which costs less than
    // QSettings' own check on every showing of the window; a change to the system-wide
    // defaults behind it is seen with the next change of the user's file.
    syncWhenChanged();
    const QVariant stored = m_settings->value(key);
    if (stored.isValid())
        return stored.toBool();
    return m_registeredDefaults.value(key).toBool();
}

void Preferences::setBoolForKey(const QString &key, bool value)
{
    m_settings->setValue(key, value);
    m_settings->sync();
}

} // namespace pexi
