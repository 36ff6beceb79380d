#pragma once

#include "app/AnalyticsLogger.h"
#include "app/SettingsPopupMenu.h"
#include "core/InventoryChange.h"
#include "core/InventoryItem.h"
#include "core/Locker.h"
#include "core/SyncService.h"
#include "extension/BrowserController.h"
#include "inventory/InventoryListModel.h"
#include "inventory/InventoryMenuViewController.h"
#include "inventory/PasteboardController.h"

#include <QPointer>
#include <QWidget>

#include <functional>
#include <memory>

namespace Ui {
class InventoryViewController;
}

namespace pexi {

class Inventory;
class InventoryItemDelegate;

// What the password list works with; the process-wide ones unless told otherwise.
struct InventoryServices
{
    Locker &locker = Locker::instance();
    SyncService &sync = SyncService::shared();
    EventLogger &analytics = AnalyticsLogger::instance();
    SettingsPopupMenu &settingsMenu = SettingsPopupMenu::instance();
    BrowserController &browser = BrowserController::instance();
    PasteboardController &pasteboard = PasteboardController::instance();
};

// The saved logins of the unlocked vault, one row each, with a search field once there are
// enough of them to need one, and the flows that add, save, edit and delete an item. Every write
// goes through the locker; the rows follow the core's changes, whoever made them.
class InventoryViewController : public QWidget
{
    Q_OBJECT
public:
    explicit InventoryViewController(InventoryServices services = {}, QWidget *parent = nullptr);
    ~InventoryViewController() override;

    // Reads the rows again: all items, or the matches of the search text.
    void refresh();
    // Brings the item's row into view, if it is shown.
    void scrollToItem(const InventoryItem &item);

    // The item's actions, in a pop-up at its row's menu button.
    void showActions(const QModelIndex &index);
    void addPasswordClicked();
    // The floating window's way to have a captured login looked over and saved.
    void presentSavePassword(const InventoryItem &item);

    // The flows the screens report back to.
    void didAddPassword(const InventoryItem &item);
    void didSavePassword(const InventoryItem &item);
    void didUpdatePassword(const InventoryItem &item);
    void didDeletePassword(const InventoryItem &item);
    void inventoryUpdatedFromRemote();

    // Adds the logins of a browser's CSV export and says how many were added.
    void importLogins(const QString &path);

    InventoryListModel &model() { return m_model; }
    InventoryMenuViewController *menu() const { return m_menu; }

protected:
    void showEvent(QShowEvent *event) override;
    void hideEvent(QHideEvent *event) override;

private:
    void searchChanged();
    // All items, or the matches of the search text; `narrowing`: among the rows shown, which
    // were read for a text the search text contains.
    void readRows(bool narrowing);
    void followChange(const InventoryChange &change);
    // The search field and the empty-vault sentence, for the number of items now in the vault.
    void refreshControls();
    void showControls(int total);
    void importClicked();
    // Runs a write; a failure is told over the list and gives false.
    bool write(const std::function<void(Inventory &)> &block);
    QString searchText() const;
    // Slides a screen in over the list from the right.
    void present(QWidget *screen);
    void openInBrowser(const InventoryItem &item, const QUrl &url);
    void copy(const QString &text, const QString &done);
    void presentShowPassword(const InventoryItem &item);
    void presentEdit(const InventoryItem &item);
    void presentDelete(const InventoryItem &item);
    void dismissMenu();

    InventoryServices m_services;
    std::unique_ptr<Ui::InventoryViewController> ui;
    InventoryListModel m_model;
    QString m_rowsSearch; // the trimmed search text the rows were read for
    InventoryItemDelegate *m_delegate;
    QPointer<QWidget> m_addScreen;
    QPointer<QWidget> m_saveScreen;
    QPointer<InventoryMenuViewController> m_menu;
    QPointer<QWidget> m_showScreen;
    QPointer<QWidget> m_editScreen;
    QPointer<QWidget> m_deleteScreen;
};

} // namespace pexi
