#pragma once

#include "core/InventoryItem.h"

#include <QWidget>

#include <functional>
#include <memory>

class QPushButton;

namespace Ui {
class SavePasswordViewController;
}

namespace pexi {

class PasswordDetailViewController;

// A login captured in the browser, to look over and correct before it is saved: its title, site,
// user name and password in fields. The screen neither saves nor goes away by itself: it hands
// the corrected item to didSavePassword, and Cancel or Escape call didClose.
class SavePasswordViewController : public QWidget
{
    Q_OBJECT
public:
    explicit SavePasswordViewController(QWidget *parent = nullptr);
    ~SavePasswordViewController() override;

    // The captured login; set before the screen shows.
    InventoryItem item;
    std::function<void(const InventoryItem &)> didSavePassword;
    std::function<void()> didClose;

    QPushButton *actionButton() const;
    PasswordDetailViewController *detailViewController() const;

    // Fills the fields from `item`; an absent site or user name leaves its field empty.
    void viewWillAppear();
    // A title (not only spaces and tabs) and a password are needed, the title first; each missing
    // one is said in a short message over the screen. The title, site and user name are taken
    // without the spaces and tabs around them, the password exactly as typed; an empty site or
    // user name is kept as an empty text, not as absent.
    void savePasswordClicked();
    void backButtonClicked();

protected:
    void showEvent(QShowEvent *event) override;
    void keyPressEvent(QKeyEvent *event) override;

private:
    std::unique_ptr<Ui::SavePasswordViewController> ui;
};

} // namespace pexi
