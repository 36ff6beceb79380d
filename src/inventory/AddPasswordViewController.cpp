#include "inventory/AddPasswordViewController.h"

#include "core/InventoryItem.h"
#include "inventory/GeneratePasswordViewController.h"
#include "ui/Appearance.h"
#include "ui/Icons.h"
#include "ui/SlidePresentationAnimator.h"

#include "ui_AddPasswordViewController.h"

#include <QLineEdit>

namespace pexi {

AddPasswordViewController::AddPasswordViewController(QWidget *parent)
    : QWidget(parent), ui(std::make_unique<Ui::AddPasswordViewController>())
{
    ui->setupUi(this);
    ui->titleLabel->setFont(Appearance::mediumFont(15));
    ui->backButton->setIcon(tintedIcon(QStringLiteral("iconBack")));
    // Save coming and going does not move the generator's button.
    QSizePolicy policy = ui->actionButton->sizePolicy();
    policy.setRetainSizeWhenHidden(true);
    ui->actionButton->setSizePolicy(policy);

    ui->detailViewController->textDidChange = [this] { refreshControls(); };
    ui->detailViewController->returnPressed = [this] {
        if (ui->actionButton->isVisible())
            save();
    };
    connect(ui->actionButton, &QPushButton::clicked, this, &AddPasswordViewController::save);
    connect(ui->generateButton, &QPushButton::clicked, this,
            &AddPasswordViewController::generatePasswordClicked);
    connect(ui->backButton, &QPushButton::clicked, this, [this] {
        if (didClose)
            didClose();
    });
    refreshControls();
}

AddPasswordViewController::~AddPasswordViewController() = default;

PasswordDetailViewController *AddPasswordViewController::detailViewController() const
{
    return ui->detailViewController;
}

void AddPasswordViewController::showEvent(QShowEvent *event)
{
    QWidget::showEvent(event);
    ui->detailViewController->titleField()->setFocus(Qt::OtherFocusReason);
    refreshControls();
}

void AddPasswordViewController::refreshControls()
{
    ui->actionButton->setVisible(ui->detailViewController->entry().isValid());
}

void AddPasswordViewController::save()
{
    // A fresh uuid and the time of creation come with the new item.
    const InventoryItem item = ui->detailViewController->entry().applied(InventoryItem());
    if (didAddPassword)
        didAddPassword(item);
}

void AddPasswordViewController::generatePasswordClicked()
{
    auto *generator = new GeneratePasswordViewController;
    generator->didClose = [generator] { SlidePresentationAnimator::dismiss(generator); };
    generator->didSave = [this, generator](const QString &password) {
        ui->detailViewController->setItemPassword(password);
        SlidePresentationAnimator::dismiss(generator);
    };
    SlidePresentationAnimator::present(
        generator, this,
        new SlidePresentationAnimator(SlidePresentationAnimator::SlideLeft,
                                      SlidePresentationAnimator::defaultDuration, std::nullopt,
                                      true));
}

} // namespace pexi
