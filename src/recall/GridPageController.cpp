#include "recall/GridPageController.h"

#include "recall/RecallCollectionViewController.h"
#include "ui/Appearance.h"

#include "ui_GridPageController.h"

#include <QKeyEvent>

#include <algorithm>

namespace pexi {

GridPageController::GridPageController(QWidget *parent)
    : QWidget(parent), ui(std::make_unique<Ui::GridPageController>())
{
    ui->setupUi(this);
    for (QToolButton *arrow : {ui->leftButton, ui->rightButton})
        arrow->setFont(Appearance::mediumFont(22));
    m_pages = {ui->page1Controller, ui->page2Controller, ui->page3Controller};
    ui->pageControl->setPageControlDelegate(this);
    ui->pageControl->setNumberOfPages(numberOfPages);
    ui->pageControl->setCurrentPage(0);
    ui->leftButton->setEnabled(false);
    connect(ui->leftButton, &QToolButton::clicked, this,
            [this] { selectPageWithIndex(selectedIndex() - 1); });
    connect(ui->rightButton, &QToolButton::clicked, this,
            [this] { selectPageWithIndex(selectedIndex() + 1); });
}

GridPageController::~GridPageController() = default;

RecallCollectionViewController *GridPageController::page(int index) const
{
    return m_pages.at(size_t(index));
}

int GridPageController::selectedIndex() const
{
    return ui->imagePageView->currentIndex();
}

void GridPageController::selectPageWithIndex(int index)
{
    if (index == selectedIndex() || index < 0 || index >= numberOfPages)
        return;
    ui->imagePageView->slideToIndex(index);
    transitioned();
}

void GridPageController::transitioned()
{
    const int index = selectedIndex();
    ui->pageControl->setCurrentPage(index);
    ui->leftButton->setEnabled(index != 0);
    ui->rightButton->setEnabled(index != numberOfPages - 1);
    focusSelectedPage();
    emit didTransition(index);
}

bool GridPageController::selectOldestIncompletePage()
{
    for (int index = 0; index < numberOfPages; ++index) {
        if (!page(index)->hasCompletedSelection()) {
            selectPageWithIndex(index);
            return true;
        }
    }
    return false;
}

void GridPageController::resetSelections()
{
    for (RecallCollectionViewController *grid : m_pages)
        grid->resetSelection();
    transitioned();
}

QList<QList<int>> GridPageController::sortedSelections() const
{
    QList<QList<int>> selections;
    for (const RecallCollectionViewController *grid : m_pages) {
        QList<int> selection = grid->selection();
        std::sort(selection.begin(), selection.end());
        selections.append(selection);
    }
    return selections;
}

void GridPageController::setGridDelegate(RecallCollectionViewControllerDelegate *delegate)
{
    for (RecallCollectionViewController *grid : m_pages)
        grid->setDelegate(delegate);
}

void GridPageController::setAcceptsPicks(bool accepts)
{
    for (RecallCollectionViewController *grid : m_pages)
        grid->setAcceptsPicks(accepts);
}

void GridPageController::focusSelectedPage()
{
    page(selectedIndex())->setFocus();
}

void GridPageController::pageControl(PageControl *, int didSelectPageAt)
{
    selectPageWithIndex(didSelectPageAt);
}

void GridPageController::keyPressEvent(QKeyEvent *event)
{
    if (event->key() == Qt::Key_Right)
        ui->rightButton->click();
    else if (event->key() == Qt::Key_Left)
        ui->leftButton->click();
    else
        QWidget::keyPressEvent(event);
}

} // namespace pexi
