#include "capture/screen/SavePasswordViewController.h"

#include "inventory/PasswordDetailViewController.h"
#include "ui/Appearance.h"
#include "ui/Hud.h"

#include "ui_SavePasswordViewController.h"

#include <QKeyEvent>
#include <QLineEdit>

namespace pexi {

SavePasswordViewController::SavePasswordViewController(QWidget *parent)
    : QWidget(parent), ui(std::make_unique<Ui::SavePasswordViewController>())
{
    ui->setupUi(this);
    setAutoFillBackground(true);
    ui->headingLabel->setFont(Appearance::mediumFont(17));
    // The secondary text colour, in light and dark alike.
    ui->messageLabel->setForegroundRole(QPalette::PlaceholderText);
    setFocusProxy(ui->detailViewController->titleField());
    ui->detailViewController->returnPressed = [this] { savePasswordClicked(); };
    connect(ui->actionButton, &QPushButton::clicked, this,
            &SavePasswordViewController::savePasswordClicked);
    connect(ui->backButton, &QPushButton::clicked, this,
            &SavePasswordViewController::backButtonClicked);
}

SavePasswordViewController::~SavePasswordViewController() = default;

QPushButton *SavePasswordViewController::actionButton() const
{
    return ui->actionButton;
}

PasswordDetailViewController *SavePasswordViewController::detailViewController() const
{
    return ui->detailViewController;
}

void SavePasswordViewController::viewWillAppear()
{
    ui->detailViewController->fill(item);
}

void SavePasswordViewController::savePasswordClicked()
{
    const PasswordEntry entry = ui->detailViewController->entry();
    if (const QString problem = entry.problem(); !problem.isEmpty()) {
        hudWithTitle(this, problem);
        return;
    }
    item = entry.applied(item);
    if (didSavePassword)
        didSavePassword(item);
}

void SavePasswordViewController::backButtonClicked()
{
    if (didClose)
        didClose();
}

void SavePasswordViewController::showEvent(QShowEvent *event)
{
    viewWillAppear();
    QWidget::showEvent(event);
}

void SavePasswordViewController::keyPressEvent(QKeyEvent *event)
{
    if (event->key() == Qt::Key_Escape)
        backButtonClicked();
    // Keys this screen does not use stop here, not on the list underneath.
    event->accept();
}

} // namespace pexi
