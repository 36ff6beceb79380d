#include "inventory/ShowPasswordViewController.h"

#include "ui/Appearance.h"

#include "ui/Icons.h"

#include "ui_ShowPasswordViewController.h"

namespace pexi {

ShowPasswordViewController::ShowPasswordViewController(const QString &title,
                                                       const std::optional<QString> &password,
                                                       QWidget *parent)
    : QWidget(parent), ui(std::make_unique<Ui::ShowPasswordViewController>())
{
    ui->setupUi(this);
    ui->backButton->setIcon(tintedIcon(QStringLiteral("iconBack")));
    ui->titleLabel->setFont(Appearance::mediumFont(15));
    ui->titleLabel->setText(title.isEmpty() ? QStringLiteral("Password")
                                            : title + QStringLiteral(" password"));
    ui->passwordLabel->setFont(Appearance::monospaceFont(18));
    ui->passwordLabel->setText(password.value_or(QString()));
    connect(ui->backButton, &QPushButton::clicked, this, [this] {
        if (didClose)
            didClose();
    });
}

ShowPasswordViewController::~ShowPasswordViewController() = default;

} // namespace pexi
