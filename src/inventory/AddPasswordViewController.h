#pragma once

#include <QWidget>

#include <functional>
#include <memory>

namespace Ui {
class AddPasswordViewController;
}

namespace pexi {

class InventoryItem;
class PasswordDetailViewController;

// A new login typed in, or with a generated password. Save shows only while the login may be
// saved (a title and a password), so this screen never has to say what is missing; it hands
// the new item to its opener, which stores it and dismisses the screen.
class AddPasswordViewController : public QWidget
{
    Q_OBJECT
public:
    explicit AddPasswordViewController(QWidget *parent = nullptr);
    ~AddPasswordViewController() override;

    std::function<void()> didClose;
    std::function<void(const InventoryItem &item)> didAddPassword;

    PasswordDetailViewController *detailViewController() const;

protected:
    void showEvent(QShowEvent *event) override;

private:
    void refreshControls();
    void save();
    void generatePasswordClicked();

    std::unique_ptr<Ui::AddPasswordViewController> ui;
};

} // namespace pexi
