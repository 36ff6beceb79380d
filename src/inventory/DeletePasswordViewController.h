#pragma once

#include <QWidget>

#include <functional>
#include <memory>

namespace Ui {
class DeletePasswordViewController;
}

namespace pexi {

// Asks before an item is deleted, naming it by its title exactly as stored. The opener deletes
// and dismisses.
class DeletePasswordViewController : public QWidget
{
    Q_OBJECT
public:
    explicit DeletePasswordViewController(const QString &title, QWidget *parent = nullptr);
    ~DeletePasswordViewController() override;

    std::function<void()> didClose;
    std::function<void()> didDelete;

private:
    std::unique_ptr<Ui::DeletePasswordViewController> ui;
};

} // namespace pexi
