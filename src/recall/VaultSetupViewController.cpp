#include "recall/VaultSetupViewController.h"

#include "recall/GridPageController.h"
#include "recall/RecallCollectionViewController.h"
#include "ui/Appearance.h"

#include "ui_VaultSetupViewController.h"

namespace pexi {

const QString VaultSetupViewController::mismatchMessage =
    QStringLiteral("Those are not the pictures you picked; try again.");

VaultSetupViewController::VaultSetupViewController(Vault &vault, Locker &locker, QWidget *parent)
    : QWidget(parent), ui(std::make_unique<Ui::VaultSetupViewController>()), m_setup(vault),
      m_unlocker(vault, locker)
{
    ui->setupUi(this);
    ui->titleLabel->setFont(Appearance::mediumFont(15));
    ui->gridPageController->setGridDelegate(this);
    ui->busyLabel->hide();
    QSizePolicy keepSpace = ui->busyLabel->sizePolicy();
    keepSpace.setRetainSizeWhenHidden(true);
    ui->busyLabel->setSizePolicy(keepSpace);
    ui->instructionLabel->setFont(Appearance::regularFont(13));
    ui->messageLabel->setFont(Appearance::regularFont(13));
    ui->adviceLabel->setFont(Appearance::regularFont(12));
    const auto recolour = [this] {
        QPalette secondary = ui->adviceLabel->palette();
        secondary.setColor(QPalette::WindowText,
                           Appearance::instance().color(Appearance::Color::SecondaryText));
        ui->adviceLabel->setPalette(secondary);
        QPalette danger = ui->messageLabel->palette();
        danger.setColor(QPalette::WindowText,
                        Appearance::instance().color(Appearance::Color::Danger));
        ui->messageLabel->setPalette(danger);
    };
    recolour();
    connect(&Appearance::instance(), &Appearance::changed, this, recolour);

    connect(ui->gridPageController, &GridPageController::didTransition, this,
            [this](int index) { showPickCount(page(index)); });
    connect(ui->drawButton, &QPushButton::clicked, this,
            &VaultSetupViewController::drawOtherPictures);
    connect(&m_unlocker, &RecallUnlocker::busyChanged, ui->busyLabel, &QWidget::setVisible);
    connect(&m_unlocker, &RecallUnlocker::unlocked, this, &VaultSetupViewController::unlocked);
    connect(&m_unlocker, &RecallUnlocker::failed, this, [this](const QString &reason) {
        setAcceptsPicks(true);
        showRound(reason.isEmpty() ? QStringLiteral("The vault could not be made.") : reason);
    });
    drawOtherPictures();
}

VaultSetupViewController::~VaultSetupViewController() = default;

RecallCollectionViewController *VaultSetupViewController::page(int index) const
{
    return ui->gridPageController->page(index);
}

int VaultSetupViewController::selectedIndex() const
{
    return ui->gridPageController->selectedIndex();
}

void VaultSetupViewController::showPickCount(const RecallCollectionViewController *grid)
{
    ui->selectedNumerator->setText(QString::number(grid->selection().size()));
}

void VaultSetupViewController::drawOtherPictures()
{
    m_setup.draw();
    for (int index = 0; index < GridPageController::numberOfPages; ++index)
        page(index)->setImageGrid(m_setup.grids().at(index));
    showRound();
}

void VaultSetupViewController::showRound(const QString &message)
{
    const bool choosing = m_setup.round() == VaultSetup::Round::Choose;
    ui->instructionLabel->setText(choosing ? QStringLiteral("Pick three pictures in each grid.")
                                           : QStringLiteral("Pick the same pictures again."));
    ui->messageLabel->setText(message);
    ui->messageLabel->setVisible(!message.isEmpty());
    ui->gridPageController->selectPageWithIndex(0);
    ui->gridPageController->resetSelections();
}

void VaultSetupViewController::recallCollectionViewControllerDidSelectItem(
    RecallCollectionViewController *grid)
{
    showPickCount(grid);
    if (!grid->hasCompletedSelection() || ui->gridPageController->selectOldestIncompletePage())
        return;
    finishRound();
}

void VaultSetupViewController::finishRound()
{
    switch (m_setup.finishRound(ui->gridPageController->sortedSelections())) {
    case VaultSetup::Outcome::Chosen:
        showRound();
        break;
    case VaultSetup::Outcome::Mismatch:
        showRound(mismatchMessage);
        break;
    case VaultSetup::Outcome::Confirmed:
        setAcceptsPicks(false);
        m_unlocker.start(m_setup.creation());
        break;
    }
}

void VaultSetupViewController::setAcceptsPicks(bool accepts)
{
    ui->gridPageController->setAcceptsPicks(accepts);
    ui->drawButton->setEnabled(accepts);
}

void VaultSetupViewController::showEvent(QShowEvent *event)
{
    QWidget::showEvent(event);
    ui->gridPageController->focusSelectedPage();
}

} // namespace pexi
