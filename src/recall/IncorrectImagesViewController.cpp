#include "recall/IncorrectImagesViewController.h"

#include "app/PexiEmail.h"
#include "ui/Appearance.h"

#include "ui_IncorrectImagesViewController.h"

#include <QKeyEvent>

namespace pexi {

namespace {

const QString wrongPictures =
    QStringLiteral("Pick the pictures you chose when you made your vault, in any order.");

} // namespace

IncorrectImagesViewController::IncorrectImagesViewController(BrowserLauncher &launcher,
                                                             QWidget *parent)
    : QWidget(parent), ui(std::make_unique<Ui::IncorrectImagesViewController>()),
      m_launcher(launcher)
{
    ui->setupUi(this);
    ui->titleLabel->setFont(Appearance::mediumFont(17));
    // The secondary text colour, in light and dark alike.
    ui->messageLabel->setForegroundRole(QPalette::PlaceholderText);
    setReason({});
    // Focus given to this screen lands on Retry, so Return or Space tries again.
    setFocusProxy(ui->actionButton);
    connect(ui->actionButton, &QPushButton::clicked, this, &IncorrectImagesViewController::retry);
    connect(ui->feedbackButton, &QPushButton::clicked, this,
            &IncorrectImagesViewController::sendFeedback);
}

IncorrectImagesViewController::~IncorrectImagesViewController() = default;

void IncorrectImagesViewController::setReason(const QString &reason)
{
    ui->titleLabel->setText(reason.isEmpty()
                                ? QStringLiteral("Those pictures did not open your vault")
                                : QStringLiteral("Your vault could not be opened"));
    ui->messageLabel->setText(reason.isEmpty() ? wrongPictures : reason);
}

QPushButton *IncorrectImagesViewController::actionButton() const
{
    return ui->actionButton;
}

void IncorrectImagesViewController::retry()
{
    if (didDismiss)
        didDismiss();
}

void IncorrectImagesViewController::sendFeedback()
{
    PexiEmail(PexiEmail::Address::feedback,
              QString::fromLatin1(QUrl::toPercentEncoding(QStringLiteral("Feedback"))), QString())
        .send(m_launcher);
    retry();
}

void IncorrectImagesViewController::keyPressEvent(QKeyEvent *event)
{
    event->accept();
}

} // namespace pexi
