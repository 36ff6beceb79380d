#pragma once

#include "core/InventoryItem.h"

#include <QWidget>

#include <functional>
#include <memory>

namespace Ui {
class EditPasswordViewController;
}

namespace pexi {

class PasswordDetailViewController;

// A saved login, changed in the shared form. Save shows, and Back becomes Cancel, only while a
// save would change something; a save hands the changed item (same uuid) to the opener, which
// stores it and dismisses the screen.
class EditPasswordViewController : public QWidget
{
    Q_OBJECT
public:
    explicit EditPasswordViewController(const InventoryItem &item, QWidget *parent = nullptr);
    ~EditPasswordViewController() override;

    std::function<void()> didClose;
    std::function<void(const InventoryItem &item)> didUpdatePassword;

    // The item as last saved from this screen.
    const InventoryItem &item() const { return m_item; }
    bool isEditing() const;
    PasswordDetailViewController *detailViewController() const;

private:
    void refreshControls();
    void savePasswordClicked();

    std::unique_ptr<Ui::EditPasswordViewController> ui;
    InventoryItem m_item;
};

} // namespace pexi
