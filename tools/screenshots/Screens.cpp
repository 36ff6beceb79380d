#include "Screens.h"

#include "app/Deployment.h"
#include "app/Preferences.h"
#include "app/PreferencesViewController.h"
#include "app/SettingsPopupMenuViewController.h"
#include "app/SettingsPopupMenuWindow.h"
#include "app/StatusMenuController.h"
#include "app/Window.h"
#include "capture/screen/SavePasswordViewController.h"
#include "core/Inventory.h"
#include "extension/BrowserController.h"
#include "inventory/AddPasswordViewController.h"
#include "inventory/DeletePasswordViewController.h"
#include "inventory/EditPasswordViewController.h"
#include "inventory/GeneratePasswordViewController.h"
#include "inventory/InventoryMenuViewController.h"
#include "inventory/InventoryViewController.h"
#include "inventory/PasswordDetailViewController.h"
#include "inventory/ShowPasswordViewController.h"
#include "platform/ApplicationLauncher.h"
#include "recall/GridPageController.h"
#include "recall/RecallCollectionViewController.h"
#include "recall/RecallViewController.h"
#include "recall/VaultSetupViewController.h"
#include "support/DesktopDoubles.h"
#include "support/RecordingLauncher.h"
#include "support/TemporaryVault.h"
#include "ui/Appearance.h"
#include "ui/Hud.h"
#include "ui/Icons.h"

#include <QCheckBox>
#include <QDir>
#include <QGridLayout>
#include <QLabel>
#include <QLineEdit>
#include <QPushButton>
#include <QSettings>
#include <QTemporaryDir>
#include <QVBoxLayout>

using pexi::Appearance;

namespace {

QPushButton *styledButton(const QString &text, const char *style, bool enabled = true)
{
    auto *button = new QPushButton(text);
    button->setProperty("buttonStyle", QString::fromLatin1(style));
    button->setAccessibleName(text);
    button->setEnabled(enabled);
    return button;
}

// Every styled control once, at the floating window's size.
QWidget *toolkitSheet(ScreenshotContext &)
{
    auto *sheet = new QWidget;
    sheet->setAccessibleName(QStringLiteral("Toolkit"));
    sheet->setAutoFillBackground(true);
    sheet->resize(340, 440);

    auto *title = new QLabel(QStringLiteral("Add Password"));
    title->setFont(Appearance::mediumFont(17));
    auto *body = new QLabel(QStringLiteral("Saved logins are encrypted on this device."));
    body->setWordWrap(true);
    QPalette secondary = body->palette();
    secondary.setColor(QPalette::WindowText,
                       Appearance::instance().color(Appearance::Color::SecondaryText));
    body->setPalette(secondary);

    auto *site = new QLineEdit;
    site->setPlaceholderText(QStringLiteral("Website"));
    site->setAccessibleName(QStringLiteral("Website"));
    auto *username = new QLineEdit(QStringLiteral("ada@example.org"));
    username->setAccessibleName(QStringLiteral("Username"));
    auto *password = new QLineEdit(QStringLiteral("kV7#qe2!Lm0oO1Il"));
    password->setAccessibleName(QStringLiteral("Password"));
    password->setFont(Appearance::monospaceFont(14));
    auto *disabled = new QLineEdit(QStringLiteral("Disabled field"));
    disabled->setAccessibleName(QStringLiteral("Disabled field"));
    disabled->setEnabled(false);

    auto *layout = new QVBoxLayout(sheet);
    layout->setContentsMargins(20, 20, 20, 20);
    layout->setSpacing(10);
    layout->addWidget(title);
    layout->addWidget(body);
    layout->addWidget(site);
    layout->addWidget(username);
    layout->addWidget(password);
    layout->addWidget(disabled);
    layout->addStretch();

    auto *buttons = new QHBoxLayout;
    buttons->addWidget(styledButton(QStringLiteral("Generate"), "flat"));
    buttons->addStretch();
    buttons->addWidget(styledButton(QStringLiteral("Cancel"), "secondary"));
    buttons->addWidget(styledButton(QStringLiteral("Save"), "primary"));
    layout->addLayout(buttons);
    auto *disabledButtons = new QHBoxLayout;
    disabledButtons->addWidget(styledButton(QStringLiteral("Flat"), "flat", false));
    disabledButtons->addStretch();
    disabledButtons->addWidget(styledButton(QStringLiteral("Secondary"), "secondary", false));
    disabledButtons->addWidget(styledButton(QStringLiteral("Primary"), "primary", false));
    layout->addLayout(disabledButtons);
    return sheet;
}

QWidget *hudOverSheet(ScreenshotContext &context)
{
    QWidget *sheet = toolkitSheet(context);
    pexi::hudWithTitle(sheet, QStringLiteral("Password copied"));
    return sheet;
}

// Every icon of ui/icons with its name, to look over the drawings in both modes.
QWidget *iconSheet(ScreenshotContext &)
{
    auto *sheet = new QWidget;
    sheet->setAccessibleName(QStringLiteral("Icons"));
    sheet->setAutoFillBackground(true);
    auto *layout = new QGridLayout(sheet);
    const QStringList files = QDir(QStringLiteral(":/icons")).entryList();
    for (int i = 0; i < files.size(); ++i) {
        const QString name = files[i].chopped(4);
        auto *icon = new QLabel;
        icon->setPixmap(pexi::tintedIcon(name).pixmap(QSize(24, 24), 2.0));
        icon->setAccessibleName(name);
        layout->addWidget(icon, i / 2, (i % 2) * 2);
        layout->addWidget(new QLabel(name), i / 2, (i % 2) * 2 + 1);
    }
    return sheet;
}

// Claims the main application, so that every entry of the settings pop-up shows.
class InstalledApplications : public pexi::ApplicationLauncher
{
public:
    bool isInstalled(const QString &) const override { return true; }
    bool launch(const QString &, const QString &) override { return true; }
};

pexi::Preferences &temporaryPreferences(ScreenshotContext &context)
{
    auto &dir = context.keep<QTemporaryDir>();
    return context.keep<pexi::Preferences>(
        std::make_unique<QSettings>(dir.filePath("worker.conf"), QSettings::IniFormat));
}

pexi::BrowserController &browsersWithChrome(ScreenshotContext &context)
{
    auto &launcher = context.keep<RecordingLauncher>();
    launcher.installed = {QStringLiteral("com.google.Chrome")};
    return context.keep<pexi::BrowserController>(launcher);
}

// Every entry offered: Chrome installed without its extension, the main application there.
QWidget *settingsPopup(ScreenshotContext &context)
{
    auto &vault = context.keep<TemporaryVault>(false);
    const pexi::SettingsPopupMenuViewController::Services services{
        vault.locker, browsersWithChrome(context), context.keep<RecordingLauncher>(),
        context.keep<InstalledApplications>(), temporaryPreferences(context)};
    auto *window =
        new pexi::SettingsPopupMenuWindow(new pexi::SettingsPopupMenuViewController(services));
    // The tool deletes what it shows; the pop-up must not go by itself meanwhile.
    window->setAttribute(Qt::WA_DeleteOnClose, false);
    return window;
}

// Every action offered: the item has a site and a user name.
QWidget *inventoryMenu(ScreenshotContext &)
{
    const auto nothing = [] {};
    auto *window = new pexi::SettingsPopupMenuWindow(pexi::InventoryMenuViewController::forItem(
        pexi::InventoryItem(QStringLiteral("Mail"), QStringLiteral("ada@example.org"),
                            QStringLiteral("kV7#qe2!Lm0o"), QStringLiteral("mail.example.org")),
        {[](const QUrl &) {}, nothing, nothing, nothing, nothing, nothing}));
    // The tool deletes what it shows; the pop-up must not go by itself meanwhile.
    window->setAttribute(Qt::WA_DeleteOnClose, false);
    return window;
}

// A login captured on a sign-in page, its user name left empty by the browser.
QWidget *savePrompt(ScreenshotContext &)
{
    auto *screen = new pexi::SavePasswordViewController;
    screen->item = pexi::InventoryItem(QStringLiteral("accounts.example.org"), QString(),
                                       QStringLiteral("correct horse 42"),
                                       QStringLiteral("https://accounts.example.org/signin"));
    screen->resize(340, 440);
    return screen;
}

// Asking before saving, and no Chrome extension heard from yet.
QWidget *preferencesWindow(ScreenshotContext &context)
{
    pexi::Preferences &preferences = temporaryPreferences(context);
    preferences.registerDefaults(preferences);
    preferences.setAutoSavePasswords(false);
    return new pexi::PreferencesViewController(preferences, browsersWithChrome(context));
}

// The status item's menu, as the tray opens it: its entries, in a menu the tool may delete.
QWidget *statusMenu(ScreenshotContext &context)
{
    auto &vault = context.keep<TemporaryVault>(false);
    NullWindow window; // the menu is only drawn
    pexi::StatusMenuController controller({window, vault.locker, vault.center,
                                           temporaryPreferences(context),
                                           pexi::Appearance::instance()});
    auto *menu = new QMenu;
    for (const QAction *action : controller.statusMenu().actions())
        action->isSeparator() ? menu->addSeparator() : menu->addAction(action->text());
    return menu;
}

// The unlock on a fresh vault of its own, or on none: no browser is opened and nothing is
// unlocked.
pexi::RecallViewController *recallScreen(ScreenshotContext &context, bool withVault = true)
{
    qputenv("PEXI_NO_KEYRING", "1");
    auto &vault = context.keep<TemporaryVault>(withVault);
    auto &grids = context.keep<pexi::GridLibrary>(vault.vault);
    auto &launcher = context.keep<NullLauncher>();
    auto &browser = context.keep<pexi::BrowserController>(launcher);
    auto *screen =
        new pexi::RecallViewController({grids, vault.vault, vault.locker, browser, launcher});
    screen->setAutoFillBackground(true);
    screen->resize(340, 440);
    return screen;
}

// Two pictures of the first grid picked.
QWidget *recallPartlyPicked(ScreenshotContext &context)
{
    pexi::RecallViewController *screen = recallScreen(context);
    screen->page(0)->toggleSelectionAt(1);
    screen->page(0)->toggleSelectionAt(5);
    return screen;
}

QWidget *recallFailure(ScreenshotContext &context)
{
    pexi::RecallViewController *screen = recallScreen(context);
    screen->presentFailure({});
    return screen;
}

// The first run, two pictures of the first grid picked.
QWidget *vaultSetup(ScreenshotContext &context)
{
    pexi::RecallViewController *screen = recallScreen(context, false);
    auto *setup = screen->findChild<pexi::VaultSetupViewController *>();
    setup->page(0)->toggleSelectionAt(2);
    setup->page(0)->toggleSelectionAt(9);
    return screen;
}

// The confirmation after one that named other pictures.
QWidget *vaultSetupMismatch(ScreenshotContext &context)
{
    pexi::RecallViewController *screen = recallScreen(context, false);
    auto *setup = screen->findChild<pexi::VaultSetupViewController *>();
    for (const int first : {0, 1}) {
        for (int page = 0; page < pexi::GridPageController::numberOfPages; ++page) {
            for (const int index : {first, 4, 8})
                setup->page(page)->toggleSelectionAt(index);
        }
    }
    return screen;
}

// The password screens, at the floating window's size, on one sample login.
template <class T> T *atWindowSize(T *screen)
{
    screen->setAutoFillBackground(true);
    screen->resize(340, 440);
    return screen;
}

pexi::InventoryItem sampleLogin()
{
    return pexi::InventoryItem(QStringLiteral("Online banking"), QStringLiteral("ada@example.org"),
                               QStringLiteral("kV7#qe2!Lm0oO1Il"),
                               QStringLiteral("https://bank.example.com"));
}

// The form alone, filled, the password shown.
QWidget *passwordDetail(ScreenshotContext &)
{
    auto *form = new pexi::PasswordDetailViewController;
    form->fill(sampleLogin());
    form->togglePasswordSecure();
    auto *sheet = atWindowSize(new QWidget);
    auto *layout = new QVBoxLayout(sheet);
    layout->setContentsMargins(20, 20, 20, 20);
    layout->addWidget(form);
    layout->addStretch();
    return sheet;
}

// A title typed, no password yet: no Save.
QWidget *passwordAdd(ScreenshotContext &)
{
    auto *screen = atWindowSize(new pexi::AddPasswordViewController);
    screen->findChild<QLineEdit *>(QStringLiteral("titleField"))->setText(QStringLiteral("Mail"));
    return screen;
}

// The user name changed: Save, and Cancel instead of Back.
QWidget *passwordEdit(ScreenshotContext &)
{
    auto *screen = atWindowSize(new pexi::EditPasswordViewController(sampleLogin()));
    screen->findChild<QLineEdit *>(QStringLiteral("usernameField"))
        ->setText(QStringLiteral("ada.lovelace@example.org"));
    return screen;
}

QWidget *passwordDelete(ScreenshotContext &)
{
    return atWindowSize(new pexi::DeletePasswordViewController(sampleLogin().title()));
}

QWidget *passwordShow(ScreenshotContext &)
{
    const pexi::InventoryItem login = sampleLogin();
    return atWindowSize(new pexi::ShowPasswordViewController(login.title(), login.password()));
}

QWidget *passwordGenerator(ScreenshotContext &)
{
    return atWindowSize(new pexi::GeneratePasswordViewController);
}

// The password list over a vault of its own holding the first `count` of a few sample logins.
QWidget *inventoryList(ScreenshotContext &context, int count)
{
    static const QList<std::pair<const char *, const char *>> logins = {
        {"Online banking", "ada@example.org"},
        {"Mail", "ada.lovelace"},
        {"Library card", ""},
        {"Photos", "ada@example.org"},
        {"Work chat", "alovelace"},
        {"Electricity", ""},
        {"Insurance", "A-20931"},
        {"Train tickets", "ada@example.org"},
        {"Home router", "admin"},
        {"Forum", "analytical_engine"},
        {"Pharmacy", "ada@example.org"},
        {"Wi-Fi at the office", ""},
        {"Cloud storage", "ada@example.org"},
        {"Tax office", "1815-12-10"}};
    auto &vault = context.keep<TemporaryVault>();
    vault.unlock();
    QList<pexi::InventoryItem> items;
    for (const auto &[title, username] : logins.mid(0, count))
        items.append(pexi::InventoryItem(QString::fromUtf8(title), QString::fromUtf8(username),
                                         QStringLiteral("secret")));
    vault.locker.runWithInventory([&](pexi::Inventory &inventory) { inventory.add(items); });
    auto &launcher = context.keep<NullLauncher>();
    auto &browsers = context.keep<pexi::BrowserController>(launcher);
    auto &settings =
        context.keep<pexi::SettingsPopupMenu>(pexi::SettingsPopupMenuViewController::Services{
            vault.locker, browsers, launcher, context.keep<InstalledApplications>(),
            temporaryPreferences(context)});
    auto *screen = new pexi::InventoryViewController(
        {vault.locker, context.keep<pexi::SyncService>(vault.vault, vault.locker),
         context.keep<NullEventLogger>(), settings, browsers,
         context.keep<pexi::PasteboardController>()});
    screen->resize(340, 440);
    return screen;
}

// The floating window as the worker opens it on a locked vault of its own, with the welcome over
// the unlock or without it.
QWidget *floatingWindow(ScreenshotContext &context, bool showWelcome)
{
    qputenv("PEXI_NO_KEYRING", "1");
    auto &vault = context.keep<TemporaryVault>();
    auto &launcher = context.keep<NullLauncher>();
    auto &browser = context.keep<pexi::BrowserController>(launcher);
    pexi::Preferences &preferences = temporaryPreferences(context);
    preferences.setShowWelcomeScreen(showWelcome);
    auto &menu =
        context.keep<pexi::SettingsPopupMenu>(pexi::SettingsPopupMenuViewController::Services{
            vault.locker, browser, launcher, context.keep<InstalledApplications>(), preferences});
    auto &window = context.keep<pexi::Window>(pexi::WindowServices{
        {context.keep<pexi::GridLibrary>(vault.vault), vault.vault, vault.locker, browser,
         launcher},
        {vault.locker, context.keep<pexi::SyncService>(vault.vault, vault.locker),
         context.keep<NullEventLogger>(), menu, browser},
        preferences,
        vault.center});
    window.showAt({640, 40});
    return window.windowController().window();
}

QWidget *welcome(ScreenshotContext &context)
{
    return floatingWindow(context, true);
}

QWidget *windowWithUnlock(ScreenshotContext &context)
{
    return floatingWindow(context, false);
}

} // namespace

QList<Screen> screens()
{
    return {
        {QStringLiteral("toolkit"), toolkitSheet},
        {QStringLiteral("hud"), hudOverSheet, 500},
        {QStringLiteral("icons"), iconSheet},
        {QStringLiteral("settings-popup"), settingsPopup},
        {QStringLiteral("preferences"), preferencesWindow},
        {QStringLiteral("inventory-empty"),
         [](ScreenshotContext &c) { return inventoryList(c, 0); }},
        {QStringLiteral("inventory-few"), [](ScreenshotContext &c) { return inventoryList(c, 4); }},
        // More than ten: the search field shows.
        {QStringLiteral("inventory-many"),
         [](ScreenshotContext &c) { return inventoryList(c, 14); }},
        {QStringLiteral("inventory-menu"), inventoryMenu},
        {QStringLiteral("save-prompt"), savePrompt},
        {QStringLiteral("status-menu"), statusMenu},
        {QStringLiteral("recall"), recallPartlyPicked},
        // Long enough for the failure screen to slide in.
        {QStringLiteral("recall-failure"), recallFailure, 400},
        {QStringLiteral("vault-setup"), vaultSetup},
        {QStringLiteral("vault-setup-mismatch"), vaultSetupMismatch},
        {QStringLiteral("welcome"), welcome},
        {QStringLiteral("window-unlock"), windowWithUnlock},
        {QStringLiteral("password-detail"), passwordDetail},
        {QStringLiteral("password-add"), passwordAdd},
        {QStringLiteral("password-edit"), passwordEdit},
        {QStringLiteral("password-delete"), passwordDelete},
        {QStringLiteral("password-show"), passwordShow},
        {QStringLiteral("password-generator"), passwordGenerator},
    };
}
