#include "recall/RecallViewController.h"

#include "app/Deployment.h"
#include "core/Log.h"
#include "recall/GridPageController.h"
#include "recall/IncorrectImagesViewController.h"
#include "recall/RecallCollectionViewController.h"
#include "recall/RecallViewControllerDelegate.h"
#include "recall/VaultSetupViewController.h"
#include "ui/Appearance.h"
#include "ui/SlidePresentationAnimator.h"

#include "ui_RecallViewController.h"

namespace pexi {

RecallViewController::RecallViewController(RecallServices services, QWidget *parent)
    : QWidget(parent), ui(std::make_unique<Ui::RecallViewController>()), m_services(services),
      m_unlocker(services.vault, services.locker)
{
    ui->setupUi(this);
    ui->titleLabel->setFont(Appearance::mediumFont(15));
    ui->busyLabel->hide();
    // The busy sign comes and goes without moving the count beside it.
    QSizePolicy keepSpace = ui->busyLabel->sizePolicy();
    keepSpace.setRetainSizeWhenHidden(true);
    ui->busyLabel->setSizePolicy(keepSpace);

    connect(ui->gridPageController, &GridPageController::didTransition, this,
            [this](int index) { showPickCount(page(index)); });
    connect(ui->helpButton, &QToolButton::clicked, this, &RecallViewController::helpButtonClicked);
    connect(&m_unlocker, &RecallUnlocker::busyChanged, ui->busyLabel, &QWidget::setVisible);
    connect(&m_unlocker, &RecallUnlocker::unlocked, this, [this] {
        ui->gridPageController->setAcceptsPicks(true);
        if (m_delegate)
            m_delegate->recallViewControllerDidUnlock(this);
    });
    connect(&m_unlocker, &RecallUnlocker::failed, this, [this](const QString &reason) {
        ui->gridPageController->setAcceptsPicks(true);
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
    if (grids.size() != GridPageController::numberOfPages) {
        logLine(QStringLiteral("Wrong number of grids! Found %1").arg(grids.size()));
        ui->gridPageController->setAcceptsPicks(false);
        return;
    }
    for (int index = 0; index < GridPageController::numberOfPages; ++index)
        page(index)->setImageGrid(grids.at(index));
    ui->gridPageController->setGridDelegate(this);
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
    return ui->gridPageController->page(index);
}

int RecallViewController::selectedIndex() const
{
    return ui->gridPageController->selectedIndex();
}

void RecallViewController::showPickCount(const RecallCollectionViewController *grid)
{
    ui->selectedNumerator->setText(QString::number(grid->selection().size()));
}

void RecallViewController::resetSelections()
{
    ui->gridPageController->resetSelections();
}

void RecallViewController::reset()
{
    ui->gridPageController->selectPageWithIndex(0);
    resetSelections();
}

void RecallViewController::recallCollectionViewControllerDidSelectItem(
    RecallCollectionViewController *grid)
{
    showPickCount(grid);
    if (!grid->hasCompletedSelection() || ui->gridPageController->selectOldestIncompletePage())
        return;
    unlock();
}

void RecallViewController::unlock()
{
    QString secret =
        m_services.grids.deriveRecallSecret(ui->gridPageController->sortedSelections());
    // A second attempt always starts from empty grids on the first page.
    reset();
    SecureBytes bytes = SecureBytes::fromUtf8(secret);
    secret.fill(QChar(0)); // the only other copy, wiped in place
    ui->gridPageController->setAcceptsPicks(false);
    m_unlocker.start(std::move(bytes));
}

void RecallViewController::showEvent(QShowEvent *event)
{
    QWidget::showEvent(event);
    if (!m_vaultSetup) // which has put the focus on its own grid
        ui->gridPageController->focusSelectedPage();
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
        ui->gridPageController->focusSelectedPage();
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
