#pragma once

#include <QWidget>

#include <memory>

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
// save is notified, and which build of the Chrome extension last spoke to the worker.
class PreferencesViewController : public QWidget
{
    Q_OBJECT
public:
    PreferencesViewController(Preferences &preferences, BrowserController &browsers,
                              QWidget *parent = nullptr);
    ~PreferencesViewController() override;

    // Entries of the pop-ups: asking before saving, and always notifying.
    static constexpr int askToSave = 1;
    static constexpr int always = 0;

    QComboBox *autoSave() const;
    QComboBox *showNotifications() const;
    QLabel *chromeBuild() const;

    // Asking before saving is done through a notification, so the notifications pop-up moves to
    // always.
    void autoSaveChanged();

private:
    std::unique_ptr<Ui::PreferencesViewController> m_ui;
    PreferencesController *m_controller;
};

} // namespace pexi
