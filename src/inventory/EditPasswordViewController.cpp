#include "inventory/EditPasswordViewController.h"

#include "ui/Appearance.h"
#include "ui/Hud.h"
#include "ui/Icons.h"

#include "ui_EditPasswordViewController.h"

namespace pexi {

EditPasswordViewController::EditPasswordViewController(const InventoryItem &item, QWidget *parent)
    : QWidget(parent), ui(std::make_unique<Ui::EditPasswordViewController>()), m_item(item)
{
    ui->setupUi(this);
    ui->mainTitleField->setFont(Appearance::mediumFont(15));
    ui->mainTitleField->setText(item.title());
    ui->detailViewController->fill(item);

    ui->detailViewController->textDidChange = [this] { refreshControls(); };
    ui->detailViewController->returnPressed = [this] {
        if (isEditing())
            savePasswordClicked();
    };
    connect(ui->actionButton, &QPushButton::clicked, this,
            &EditPasswordViewController::savePasswordClicked);
    connect(ui->backButton, &QPushButton::clicked, this, [this] {
        if (didClose)
            didClose();
    });
    refreshControls();
}

EditPasswordViewController::~EditPasswordViewController() = default;

bool EditPasswordViewController::isEditing() const
{
    return ui->detailViewController->entry().changes(m_item);
}

PasswordDetailViewController *EditPasswordViewController::detailViewController() const
{
    return ui->detailViewController;
}

void EditPasswordViewController::refreshControls()
{
    const bool editing = isEditing();
    ui->actionButton->setVisible(editing);
    // Leaving while editing throws the changes away: the button says so.
    ui->backButton->setText(editing ? QStringLiteral("Cancel") : QStringLiteral("Back"));
    ui->backButton->setAccessibleName(ui->backButton->text());
    ui->backButton->setIcon(editing ? QIcon() : tintedIcon(QStringLiteral("iconBack")));
}

void EditPasswordViewController::savePasswordClicked()
{
    const PasswordEntry entry = ui->detailViewController->entry();
    if (const QString problem = entry.problem(); !problem.isEmpty()) {
        hudWithTitle(this, problem);
        return;
    }
    m_item = entry.applied(m_item);
    ui->mainTitleField->setText(m_item.title());
    refreshControls();
    if (didUpdatePassword)
        didUpdatePassword(m_item);
}

} // namespace pexi
