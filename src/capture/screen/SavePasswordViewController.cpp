#include "capture/screen/SavePasswordViewController.h"

#include "ui/Appearance.h"
#include "ui/Hud.h"

#include "ui_SavePasswordViewController.h"

#include <QKeyEvent>

namespace pexi {

namespace {

// What the user meant, without the spaces and tabs pasted or typed around it; a line break is
// no such accident and stays.
QString trimmed(const QString &text)
{
    const auto blank = [](QChar c) { return c == u' ' || c == u'\t'; };
    qsizetype begin = 0;
    qsizetype end = text.size();
    while (begin < end && blank(text[begin]))
        ++begin;
    while (end > begin && blank(text[end - 1]))
        --end;
    return text.mid(begin, end - begin);
}

} // namespace

SavePasswordViewController::SavePasswordViewController(QWidget *parent)
    : QWidget(parent), ui(std::make_unique<Ui::SavePasswordViewController>())
{
    ui->setupUi(this);
    setAutoFillBackground(true);
    ui->headingLabel->setFont(Appearance::mediumFont(17));
    // The secondary text colour, in light and dark alike.
    ui->messageLabel->setForegroundRole(QPalette::PlaceholderText);
    for (QLabel *label : {ui->titleLabel, ui->siteLabel, ui->usernameLabel, ui->passwordLabel}) {
        label->setForegroundRole(QPalette::PlaceholderText);
        // Further from the field above than from its own, so each pair reads as one.
        label->setContentsMargins(0, 8, 0, 0);
    }
    ui->passwordField->setFont(Appearance::monospaceFont(14));
    setFocusProxy(ui->titleField);
    connect(ui->actionButton, &QPushButton::clicked, this,
            &SavePasswordViewController::savePasswordClicked);
    connect(ui->backButton, &QPushButton::clicked, this,
            &SavePasswordViewController::backButtonClicked);
    for (QLineEdit *field : {ui->titleField, ui->siteField, ui->usernameField, ui->passwordField})
        connect(field, &QLineEdit::returnPressed, this,
                &SavePasswordViewController::savePasswordClicked);
}

SavePasswordViewController::~SavePasswordViewController() = default;

QPushButton *SavePasswordViewController::actionButton() const
{
    return ui->actionButton;
}

void SavePasswordViewController::viewWillAppear()
{
    ui->titleField->setText(item.title());
    ui->siteField->setText(item.site().value_or(QString()));
    ui->usernameField->setText(item.username().value_or(QString()));
    ui->passwordField->setText(item.password());
}

void SavePasswordViewController::savePasswordClicked()
{
    const QString title = trimmed(ui->titleField->text());
    if (title.isEmpty()) {
        hudWithTitle(this, QStringLiteral("Please enter a title"));
        return;
    }
    if (ui->passwordField->text().isEmpty()) {
        hudWithTitle(this, QStringLiteral("Please enter a password"));
        return;
    }
    item.setTitle(title);
    item.setSite(trimmed(ui->siteField->text()));
    item.setUsername(trimmed(ui->usernameField->text()));
    item.setPassword(ui->passwordField->text());
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
