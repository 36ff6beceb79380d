#include "app/WelcomeViewController.h"

#include "ui/Appearance.h"

#include <QKeyEvent>
#include <QLabel>
#include <QPushButton>
#include <QVBoxLayout>

namespace pexi {

WelcomeViewController::WelcomeViewController(QWidget *parent)
    : QWidget(parent), m_actionButton(new QPushButton(QStringLiteral("Continue")))
{
    setAccessibleName(QStringLiteral("Welcome"));
    setBackgroundRole(QPalette::Window);
    setAutoFillBackground(true);

    auto *title = new QLabel(QStringLiteral("Welcome to Pexi"));
    title->setFont(Appearance::mediumFont(20));
    title->setAlignment(Qt::AlignCenter);
    title->setAccessibleName(title->text());
    auto *message = new QLabel(
        QStringLiteral("Pexi keeps your passwords on this computer, locked with pictures only "
                       "you know.\n\nTo unlock, pick your three pictures on each of the three "
                       "grids. Click them, or type the letter in their corner."));
    message->setWordWrap(true);
    message->setAlignment(Qt::AlignCenter);
    message->setForegroundRole(QPalette::PlaceholderText); // the secondary text colour
    message->setAccessibleName(QStringLiteral("About the pictures"));

    m_actionButton->setAccessibleName(m_actionButton->text());
    m_actionButton->setProperty("buttonStyle", QStringLiteral("primary"));
    m_actionButton->setDefault(true); // Return clicks it, not only Space
    setFocusProxy(m_actionButton);
    connect(m_actionButton, &QPushButton::clicked, this, &WelcomeViewController::continueClicked);

    auto *layout = new QVBoxLayout(this);
    layout->setContentsMargins(30, 30, 30, 30);
    layout->setSpacing(16);
    layout->addStretch();
    layout->addWidget(title);
    layout->addWidget(message);
    layout->addStretch();
    layout->addWidget(m_actionButton);
}

void WelcomeViewController::continueClicked()
{
    if (didDismiss)
        didDismiss();
}

void WelcomeViewController::keyPressEvent(QKeyEvent *event)
{
    event->accept();
}

} // namespace pexi
