#pragma once

#include "platform/XdgAutostart.h"

#include <QWidget>

#include <memory>

class QCheckBox;
class QComboBox;
class QLabel;

namespace Ui {
class PreferencesViewController;
}

namespace pexi {

class BrowserController;
class Preferences;
class PreferencesController;

// The preferences window's content: whether captured logins are saved without asking, whether a
// save is notified, which build of the Chrome extension last spoke to the worker, and whether the
// worker starts at login.
class PreferencesViewController : public QWidget
{
    Q_OBJECT
public:
    PreferencesViewController(Preferences &preferences, BrowserController &browsers,
                              StartAtLogin &startAtLogin = XdgAutostart::instance(),
                              QWidget *parent = nullptr);
    ~PreferencesViewController() override;

    // Entries of the pop-ups: asking before saving, and always notifying.
    static constexpr int askToSave = 1;
    static constexpr int always = 0;

    QComboBox *autoSave() const;
    QComboBox *showNotifications() const;
    QLabel *chromeBuild() const;
    QCheckBox *startAtLogin() const;

    // Records the checkbox's choice; a choice that cannot be recorded is taken back.
    void startAtLoginChanged(bool start);

    // Asking before saving is done through a notification, so the notifications pop-up moves to
    // always.
    void autoSaveChanged();

private:
    std::unique_ptr<Ui::PreferencesViewController> m_ui;
    PreferencesController *m_controller;
    StartAtLogin &m_startAtLogin;
};

} // namespace pexi
