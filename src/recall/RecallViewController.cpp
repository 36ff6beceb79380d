#include "recall/RecallViewController.h"

#include "app/Deployment.h"
#include "core/Log.h"
#include "recall/IncorrectImagesViewController.h"
#include "recall/RecallCollectionViewController.h"
#include "recall/RecallViewControllerDelegate.h"
#include "recall/VaultSetupViewController.h"
#include "ui/Appearance.h"
#include "ui/SlidePresentationAnimator.h"

#include "ui_RecallViewController.h"

#include <QKeyEvent>

#include <algorithm>

namespace pexi {

RecallViewController::RecallViewController(RecallServices services, QWidget *parent)
    : QWidget(parent), ui(std::make_unique<Ui::RecallViewController>()), m_services(services),
      m_unlocker(services.vault, services.locker)
{
    ui->setupUi(this);
    ui->titleLabel->setFont(Appearance::mediumFont(15));
    for (QToolButton *arrow : {ui->leftButton, ui->rightButton})
        arrow->setFont(Appearance::mediumFont(22));
    m_pages = {ui->page1Controller, ui->page2Controller, ui->page3Controller};
    ui->busyLabel->hide();
    // The busy sign comes and goes without moving the count beside it.
    QSizePolicy keepSpace = ui->busyLabel->sizePolicy();
    keepSpace.setRetainSizeWhenHidden(true);
    ui->busyLabel->setSizePolicy(keepSpace);

    ui->pageControl->setPageControlDelegate(this);
    ui->pageControl->setNumberOfPages(numberOfGrids);
    ui->pageControl->setCurrentPage(0);
    ui->leftButton->setEnabled(false);
    connect(ui->leftButton, &QToolButton::clicked, this,
            [this] { selectPageWithIndex(selectedIndex() - 1); });
    connect(ui->rightButton, &QToolButton::clicked, this,
            [this] { selectPageWithIndex(selectedIndex() + 1); });
    connect(ui->helpButton, &QToolButton::clicked, this, &RecallViewController::helpButtonClicked);
    connect(&m_unlocker, &RecallUnlocker::busyChanged, ui->busyLabel, &QWidget::setVisible);
    connect(&m_unlocker, &RecallUnlocker::unlocked, this, [this] {
        setAcceptsPicks(true);
        if (m_delegate)
            m_delegate->recallViewControllerDidUnlock(this);
    });
    connect(&m_unlocker, &RecallUnlocker::failed, this, [this](const QString &reason) {
        setAcceptsPicks(true);
        presentFailure(reason);
    });

    if (!m_services.vault.exists()) {
        presentVaultSetup();
        return;
    }
    loadGrids();
}

void RecallViewController::loadGrids()
{
    const QList<ImageGrid> grids = m_services.grids.grids();
    if (grids.size() != numberOfGrids) {
        logLine(QStringLiteral("Wrong number of grids! Found %1").arg(grids.size()));
        setAcceptsPicks(false);
        return;
    }
    for (int index = 0; index < numberOfGrids; ++index) {
        m_pages.at(size_t(index))->setImageGrid(grids.at(index));
        m_pages.at(size_t(index))->setDelegate(this);
    }
    ui->selectedDenominator->setText(QStringLiteral("3"));
}

// No vault yet: the first one is made over the grids, which show its grids once it is open.
void RecallViewController::presentVaultSetup()
{
    m_vaultSetup = new VaultSetupViewController(m_services.vault, m_services.locker);
    connect(m_vaultSetup, &VaultSetupViewController::unlocked, this, [this] {
        SlidePresentationAnimator::dismiss(m_vaultSetup);
        loadGrids();
        if (m_delegate)
            m_delegate->recallViewControllerDidUnlock(this);
    });
    SlidePresentationAnimator::present(m_vaultSetup, this, new SlidePresentationAnimator({}, 0.0));
}

RecallViewController::~RecallViewController() = default;

RecallCollectionViewController *RecallViewController::page(int index) const
{
    return m_pages.at(size_t(index));
}

int RecallViewController::selectedIndex() const
{
    return ui->imagePageView->currentIndex();
}

void RecallViewController::selectPageWithIndex(int index)
{
    if (index == selectedIndex() || index < 0 || index >= numberOfGrids)
        return;
    ui->imagePageView->slideToIndex(index);
    didTransition();
}

void RecallViewController::didTransition()
{
    const int index = selectedIndex();
    ui->pageControl->setCurrentPage(index);
    ui->leftButton->setEnabled(index != 0);
    ui->rightButton->setEnabled(index != numberOfGrids - 1);
    ui->selectedNumerator->setText(QString::number(page(index)->selection().size()));
    // Letter keys go to the grid on show.
    page(index)->setFocus();
}

bool RecallViewController::selectOldestIncompletePage()
{
    for (int index = 0; index < numberOfGrids; ++index) {
        if (!page(index)->hasCompletedSelection()) {
            selectPageWithIndex(index);
            return true;
        }
    }
    return false;
}

void RecallViewController::resetSelections()
{
    for (RecallCollectionViewController *grid : m_pages)
        grid->resetSelection();
    didTransition();
}

void RecallViewController::reset()
{
    selectPageWithIndex(0);
    resetSelections();
}

void RecallViewController::recallCollectionViewControllerDidSelectItem(
    RecallCollectionViewController *grid)
{
    ui->selectedNumerator->setText(QString::number(grid->selection().size()));
    if (!grid->hasCompletedSelection() || selectOldestIncompletePage())
        return;
    unlock();
}

void RecallViewController::unlock()
{
    QList<QList<int>> picks;
    for (const RecallCollectionViewController *grid : m_pages) {
        QList<int> selection = grid->selection();
        std::sort(selection.begin(), selection.end());
        picks.append(selection);
    }
    QString secret = m_services.grids.deriveRecallSecret(picks);
    // A second attempt always starts from empty grids on the first page.
    reset();
    SecureBytes bytes = SecureBytes::fromUtf8(secret);
    secret.fill(QChar(0)); // the only other copy, wiped in place
    setAcceptsPicks(false);
    m_unlocker.start(std::move(bytes));
}

void RecallViewController::setAcceptsPicks(bool accepts)
{
    for (RecallCollectionViewController *grid : m_pages)
        grid->setAcceptsPicks(accepts);
}

void RecallViewController::pageControl(PageControl *, int didSelectPageAt)
{
    selectPageWithIndex(didSelectPageAt);
}

void RecallViewController::keyPressEvent(QKeyEvent *event)
{
    if (event->key() == Qt::Key_Right)
        ui->rightButton->click();
    else if (event->key() == Qt::Key_Left)
        ui->leftButton->click();
    else
        QWidget::keyPressEvent(event);
}

void RecallViewController::showEvent(QShowEvent *event)
{
    QWidget::showEvent(event);
    if (!m_vaultSetup) // which has put the focus on its own grid
        page(selectedIndex())->setFocus();
}

void RecallViewController::helpButtonClicked()
{
    m_services.browser.open(QUrl(Deployment::helpPage));
}

void RecallViewController::presentFailure(const QString &reason)
{
    auto *failure = new IncorrectImagesViewController(m_services.launcher);
    failure->setReason(reason);
    failure->didDismiss = [this, failure] {
        SlidePresentationAnimator::dismiss(failure);
        page(selectedIndex())->setFocus();
    };
    auto *animator = new SlidePresentationAnimator(SlidePresentationAnimator::SlideRight, 0.2,
                                                   std::nullopt, true);
    // Once it is in place, with Retry taking the keys.
    connect(animator, &SlidePresentationAnimator::presentationFinished, failure, [reason] {
        logLine(reason.isEmpty()
                    ? QStringLiteral("unlock failed: the pictures did not open the vault")
                    : QStringLiteral("unlock failed: ") + reason);
    });
    SlidePresentationAnimator::present(failure, this, animator);
}

} // namespace pexi
