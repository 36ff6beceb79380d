#pragma once

#include "capture/CapturePreferences.h"

#include <QByteArray>
#include <QObject>
#include <QPointer>
#include <QString>
#include <QVariantMap>

#include <array>
#include <memory>
#include <optional>

class QSettings;
class QWidget;

namespace pexi {

// The worker's settings. Three of them persist in the user's settings store; an absent key reads
// as its registered default. Whether the status item is shown lives only as long as the process.
class Preferences : public QObject, public CapturePreferences
{
    Q_OBJECT
public:
    struct Constants
    {
        static inline const QString autoSavePasswords = QStringLiteral("auto_save_passwords");
        static inline const QString showSaveNotifications = QStringLiteral("save_notifications");
        static inline const QString showWelcomeScreen = QStringLiteral("show_welcome_screen");
    };

    static Preferences &instance();
    // Registers true for the three persisted keys; done at every launch.
    static void registerDefaults(Preferences &preferences = instance());

    // The user's own settings store (organisation "Pexi", application "Pexi Worker").
    explicit Preferences(QObject *parent = nullptr);
    // Reads and writes `settings` instead; tests hand in a store in a temporary directory.
    explicit Preferences(std::unique_ptr<QSettings> settings, QObject *parent = nullptr);
    ~Preferences() override;

    // A new preferences window in place of the one kept, in front of every other window, on the
    // screen of `sender` when it is a widget.
    void showWindow(QObject *sender = nullptr);
    // The open preferences window, if any.
    QWidget *windowController() const;

    bool showStatusBarIcon() const { return m_showStatusBarIcon; }
    void setShowStatusBarIcon(bool show);

    bool autoSavePasswords() const override;
    void setAutoSavePasswords(bool autoSave);
    // Always true while captured logins are not saved automatically: the user is then asked
    // through a notification, so notifications cannot be off. The stored value is left alone
    // and applies again once automatic saving is back on.
    bool showSaveNotifications() const override;
    void setShowSaveNotifications(bool show);
    bool showWelcomeScreen() const;
    void setShowWelcomeScreen(bool show);

    // Values that absent keys read as. Kept in memory only, like every registration.
    void registerDefaultValues(const QVariantMap &values);

signals:
    // The status item follows this at once.
    void showStatusBarIconChanged(bool show);

private:
    bool boolForKey(const QString &key) const;
    void setBoolForKey(const QString &key, bool value);
    // Reads the store again when its file has changed since it was last read.
    void syncWhenChanged() const;

    std::unique_ptr<QSettings> m_settings;
    const QByteArray m_settingsPath;
    // The user's settings file as it was when last read (inode, size, time to the nanosecond):
    // a save changes one of them. None before the first read.
    using FileState = std::array<qint64, 4>;
    mutable std::optional<FileState> m_readState;
    QPointer<QWidget> m_windowController;
    QVariantMap m_registeredDefaults;
    bool m_showStatusBarIcon = true;
};

} // namespace pexi
