#pragma once

#include "inventory/PasswordEntry.h"

#include <QWidget>

#include <array>
#include <functional>
#include <memory>

class QLabel;
class QLineEdit;

namespace Ui {
class PasswordDetailViewController;
}

namespace pexi {

class InventoryItem;

// The four fields of a login, shared by the add and the edit screen. A field's name sits in its
// placeholder while it is empty and moves to the label above it once it holds text, so the two
// never show together. The eye button shows the password in clear or hides it.
class PasswordDetailViewController : public QWidget
{
    Q_OBJECT
public:
    explicit PasswordDetailViewController(QWidget *parent = nullptr);
    ~PasswordDetailViewController() override;

    // After every change of any field's text, typed or set.
    std::function<void()> textDidChange;
    // Return pressed in a field.
    std::function<void()> returnPressed;

    void fill(const InventoryItem &item);
    PasswordEntry entry() const;
    QString itemPassword() const;
    void setItemPassword(const QString &password);

    QLineEdit *titleField() const;
    bool isRevealed() const;
    void togglePasswordSecure();

private:
    // Each field with the label above it.
    std::array<std::pair<QLabel *, QLineEdit *>, 4> rows() const;
    void refreshLabels();

    std::unique_ptr<Ui::PasswordDetailViewController> ui;
};

} // namespace pexi
