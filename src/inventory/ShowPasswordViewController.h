#pragma once

#include <QWidget>

#include <functional>
#include <memory>
#include <optional>

namespace Ui {
class ShowPasswordViewController;
}

namespace pexi {

// An item's password in clear, in the monospace font so that every character is told apart.
class ShowPasswordViewController : public QWidget
{
    Q_OBJECT
public:
    // An empty title gives the heading "Password".
    ShowPasswordViewController(const QString &title, const std::optional<QString> &password,
                               QWidget *parent = nullptr);
    ~ShowPasswordViewController() override;

    std::function<void()> didClose;

private:
    std::unique_ptr<Ui::ShowPasswordViewController> ui;
};

} // namespace pexi
