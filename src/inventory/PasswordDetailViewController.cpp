#include "inventory/PasswordDetailViewController.h"

#include "core/InventoryItem.h"
#include "ui/Appearance.h"
#include "ui/Icons.h"

#include "ui_PasswordDetailViewController.h"

namespace pexi {

PasswordDetailViewController::PasswordDetailViewController(QWidget *parent)
    : QWidget(parent), ui(std::make_unique<Ui::PasswordDetailViewController>())
{
    ui->setupUi(this);
    ui->titleField->setPlaceholderText(QStringLiteral("Title"));
    ui->siteField->setPlaceholderText(QStringLiteral("Website (optional)"));
    ui->usernameField->setPlaceholderText(QStringLiteral("Username (optional)"));
    ui->passwordField->setPlaceholderText(QStringLiteral("Password"));
    ui->passwordField->setFont(Appearance::monospaceFont(14));
    ui->eyeButton->setIcon(tintedIcon(QStringLiteral("iconShow")));

    for (const auto &[label, field] : rows()) {
        label->setFont(Appearance::regularFont(11));
        // The secondary text colour, in light and dark alike.
        label->setForegroundRole(QPalette::PlaceholderText);
        // A label coming or going does not move the fields.
        QSizePolicy policy = label->sizePolicy();
        policy.setRetainSizeWhenHidden(true);
        label->setSizePolicy(policy);
        connect(field, &QLineEdit::textChanged, this, [this] {
            refreshLabels();
            if (textDidChange)
                textDidChange();
        });
        connect(field, &QLineEdit::returnPressed, this, [this] {
            if (returnPressed)
                returnPressed();
        });
    }
    connect(ui->eyeButton, &QToolButton::clicked, this,
            &PasswordDetailViewController::togglePasswordSecure);
    refreshLabels();
}

PasswordDetailViewController::~PasswordDetailViewController() = default;

void PasswordDetailViewController::fill(const InventoryItem &item)
{
    ui->titleField->setText(item.title());
    ui->siteField->setText(item.site().value_or(QString()));
    ui->usernameField->setText(item.username().value_or(QString()));
    ui->passwordField->setText(item.password());
}

PasswordEntry PasswordDetailViewController::entry() const
{
    return {ui->titleField->text(), ui->siteField->text(), ui->usernameField->text(),
            ui->passwordField->text()};
}

QString PasswordDetailViewController::itemPassword() const
{
    return ui->passwordField->text();
}

void PasswordDetailViewController::setItemPassword(const QString &password)
{
    ui->passwordField->setText(password);
}

QLineEdit *PasswordDetailViewController::titleField() const
{
    return ui->titleField;
}

bool PasswordDetailViewController::isRevealed() const
{
    return ui->passwordField->echoMode() == QLineEdit::Normal;
}

void PasswordDetailViewController::togglePasswordSecure()
{
    const bool reveal = !isRevealed();
    ui->passwordField->setEchoMode(reveal ? QLineEdit::Normal : QLineEdit::Password);
    // The button offers the opposite of what the field does now.
    ui->eyeButton->setIcon(
        tintedIcon(reveal ? QStringLiteral("iconNoShow") : QStringLiteral("iconShow")));
    const QString offer =
        reveal ? QStringLiteral("Hide password") : QStringLiteral("Show password");
    ui->eyeButton->setAccessibleName(offer);
    ui->eyeButton->setToolTip(offer);
}

std::array<std::pair<QLabel *, QLineEdit *>, 4> PasswordDetailViewController::rows() const
{
    return {{{ui->titleLabel, ui->titleField},
             {ui->siteLabel, ui->siteField},
             {ui->usernameLabel, ui->usernameField},
             {ui->passwordLabel, ui->passwordField}}};
}

void PasswordDetailViewController::refreshLabels()
{
    for (const auto &[label, field] : rows())
        label->setVisible(!PasswordEntry::trimmed(field->text()).isEmpty());
}

} // namespace pexi
