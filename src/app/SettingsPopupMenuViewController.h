#pragma once

#include <QWidget>

class QFrame;

namespace pexi {

class ApplicationLauncher;
class BrowserController;
class BrowserLauncher;
class Locker;
class Preferences;
class SettingsPopupMenuItem;

// The entries of the settings pop-up: lock the vault, the preferences, the Chrome extension's
// store page (only while it is worth offering) and the Safari extension's settings, which the
// main application opens. Every entry closes the pop-up before it acts.
class SettingsPopupMenuViewController : public QWidget
{
    Q_OBJECT
public:
    struct Services
    {
        Locker &locker;
        BrowserController &browsers;
        BrowserLauncher &browserLauncher;
        ApplicationLauncher &applications;
        Preferences &preferences;

        static Services shared();
    };

    explicit SettingsPopupMenuViewController(const Services &services, QWidget *parent = nullptr);

    SettingsPopupMenuItem *lockItemView() const { return m_lockItemView; }
    SettingsPopupMenuItem *preferencesItemView() const { return m_preferencesItemView; }
    SettingsPopupMenuItem *chromeItemView() const { return m_chromeItemView; }
    QFrame *chromeItemDivider() const { return m_chromeItemDivider; }
    SettingsPopupMenuItem *safariItemView() const { return m_safariItemView; }
    QFrame *safariItemDivider() const { return m_safariItemDivider; }

    void lockPexi();
    void showPreferences();
    void openChromeExtensionPage();
    void openSafariPreferences();

    // Offers the Chrome extension only when Chrome is installed and its extension has not spoken
    // within 30 seconds; the Safari settings only when the main application is there to open them.
    void viewWillAppear();

protected:
    void showEvent(QShowEvent *event) override;

private:
    using Action = void (SettingsPopupMenuViewController::*)();
    SettingsPopupMenuItem *addItem(const QString &icon, const QString &title, Action action);
    QFrame *addDivider();

    Services m_services;
    SettingsPopupMenuItem *m_lockItemView;
    SettingsPopupMenuItem *m_preferencesItemView;
    QFrame *m_chromeItemDivider;
    SettingsPopupMenuItem *m_chromeItemView;
    QFrame *m_safariItemDivider;
    SettingsPopupMenuItem *m_safariItemView;
};

} // namespace pexi
