#pragma once

#include "recall/PageControlDelegate.h"

#include <QWidget>

#include <array>
#include <memory>

namespace Ui {
class GridPageController;
}

namespace pexi {

class RecallCollectionViewController;
class RecallCollectionViewControllerDelegate;

// The three picture grids, one a page, with the page dots and the previous/next arrows between
// them (buttons and arrow keys). Shared by the unlock and by the making of a first vault, which
// page and pick the same way and differ only in what complete grids lead to.
class GridPageController : public QWidget, public PageControlDelegate
{
    Q_OBJECT
public:
    static constexpr int numberOfPages = 3;

    explicit GridPageController(QWidget *parent = nullptr);
    ~GridPageController() override;

    RecallCollectionViewController *page(int index) const;
    int selectedIndex() const;
    // Slides to the page; the page shown or one out of range does nothing.
    void selectPageWithIndex(int index);
    // Shows the first page whose grid still lacks picks; false when all are complete.
    bool selectOldestIncompletePage();
    // Empties every grid, staying on the page shown.
    void resetSelections();
    // Each grid's picks, page order, each sorted.
    QList<QList<int>> sortedSelections() const;
    void setGridDelegate(RecallCollectionViewControllerDelegate *delegate);
    void setAcceptsPicks(bool accepts);
    // Letter keys go to the grid shown.
    void focusSelectedPage();

    void pageControl(PageControl *control, int didSelectPageAt) override;

signals:
    // After every page change, and after the picks were emptied: `index` is the page shown.
    void didTransition(int index);

protected:
    void keyPressEvent(QKeyEvent *event) override;

private:
    void transitioned();

    std::unique_ptr<Ui::GridPageController> ui;
    std::array<RecallCollectionViewController *, numberOfPages> m_pages{};
};

} // namespace pexi
