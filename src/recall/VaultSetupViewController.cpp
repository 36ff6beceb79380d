#include "recall/VaultSetupViewController.h"

#include "recall/RecallCollectionViewController.h"
#include "ui/Appearance.h"

#include "ui_VaultSetupViewController.h"

#include <QKeyEvent>

namespace pexi {

const QString VaultSetupViewController::mismatchMessage =
    QStringLiteral("Those are not the pictures you picked; try again.");

VaultSetupViewController::VaultSetupViewController(Vault &vault, Locker &locker, QWidget *parent)
    : QWidget(parent), ui(std::make_unique<Ui::VaultSetupViewController>()), m_setup(vault),
      m_unlocker(vault, locker)
{
    ui->setupUi(this);
    ui->titleLabel->setFont(Appearance::mediumFont(15));
    m_pages = {ui->page1Controller, ui->page2Controller, ui->page3Controller};
    for (RecallCollectionViewController *grid : m_pages)
        grid->setDelegate(this);
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

    ui->pageControl->setPageControlDelegate(this);
    ui->pageControl->setNumberOfPages(numberOfGrids);
    connect(ui->leftButton, &QToolButton::clicked, this,
            [this] { selectPageWithIndex(selectedIndex() - 1); });
    connect(ui->rightButton, &QToolButton::clicked, this,
            [this] { selectPageWithIndex(selectedIndex() + 1); });
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
    return m_pages.at(size_t(index));
}

int VaultSetupViewController::selectedIndex() const
{
    return ui->imagePageView->currentIndex();
}

void VaultSetupViewController::selectPageWithIndex(int index)
{
    if (index < 0 || index >= numberOfGrids)
        return;
    if (index != selectedIndex())
        ui->imagePageView->slideToIndex(index);
    didTransition();
}

void VaultSetupViewController::didTransition()
{
    const int index = selectedIndex();
    ui->pageControl->setCurrentPage(index);
    ui->leftButton->setEnabled(index != 0);
    ui->rightButton->setEnabled(index != numberOfGrids - 1);
    ui->selectedNumerator->setText(QString::number(page(index)->selection().size()));
    page(index)->setFocus();
}

bool VaultSetupViewController::selectOldestIncompletePage()
{
    for (int index = 0; index < numberOfGrids; ++index) {
        if (!page(index)->hasCompletedSelection()) {
            selectPageWithIndex(index);
            return true;
        }
    }
    return false;
}

void VaultSetupViewController::drawOtherPictures()
{
    m_setup.draw();
    for (int index = 0; index < numberOfGrids; ++index)
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
    for (RecallCollectionViewController *grid : m_pages)
        grid->resetSelection();
    selectPageWithIndex(0);
}

void VaultSetupViewController::recallCollectionViewControllerDidSelectItem(
    RecallCollectionViewController *grid)
{
    ui->selectedNumerator->setText(QString::number(grid->selection().size()));
    if (!grid->hasCompletedSelection() || selectOldestIncompletePage())
        return;
    finishRound();
}

void VaultSetupViewController::finishRound()
{
    QList<QList<int>> picks;
    for (const RecallCollectionViewController *grid : m_pages)
        picks.append(grid->selection());
    switch (m_setup.finishRound(picks)) {
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
    for (RecallCollectionViewController *grid : m_pages)
        grid->setAcceptsPicks(accepts);
    ui->drawButton->setEnabled(accepts);
}

void VaultSetupViewController::pageControl(PageControl *, int didSelectPageAt)
{
    selectPageWithIndex(didSelectPageAt);
}

void VaultSetupViewController::keyPressEvent(QKeyEvent *event)
{
    if (event->key() == Qt::Key_Right)
        ui->rightButton->click();
    else if (event->key() == Qt::Key_Left)
        ui->leftButton->click();
    else
        QWidget::keyPressEvent(event);
}

void VaultSetupViewController::showEvent(QShowEvent *event)
{
    QWidget::showEvent(event);
    page(selectedIndex())->setFocus();
}

} // namespace pexi
