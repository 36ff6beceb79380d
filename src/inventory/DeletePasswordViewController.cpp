#include "inventory/DeletePasswordViewController.h"

#include "ui/Icons.h"

#include "ui_DeletePasswordViewController.h"

namespace pexi {

DeletePasswordViewController::DeletePasswordViewController(const QString &title, QWidget *parent)
    : QWidget(parent), ui(std::make_unique<Ui::DeletePasswordViewController>())
{
    ui->setupUi(this);
    ui->backButton->setIcon(tintedIcon(QStringLiteral("iconBack")));
    ui->messageLabel->setText(QStringLiteral("Are you sure you want to delete the ") + title +
                              QStringLiteral(" password?"));
    connect(ui->deleteButton, &QPushButton::clicked, this, [this] {
        if (didDelete)
            didDelete();
    });
    connect(ui->backButton, &QPushButton::clicked, this, [this] {
        if (didClose)
            didClose();
    });
}

DeletePasswordViewController::~DeletePasswordViewController() = default;

} // namespace pexi
