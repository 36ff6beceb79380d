#pragma once

#include "core/Constants.h"
#include "core/ImageGrid.h"
#include "recall/RecallCollectionViewItem.h"
#include "ui/DrawnButtons.h"

#include <QList>
#include <QPixmap>
#include <QStringList>
#include <QWidget>

#include <array>
#include <optional>

namespace pexi {

class RecallCollectionViewControllerDelegate;

// One page of the recall unlock: the fifteen pictures of a grid, five rows of three, picked by
// a click or by the letter shown on each (A to O, either case). A full grid takes a new pick
// only after one is taken back.
//
// It draws its pictures itself rather than holding a widget for each: every opening of the
// window shows a grid, and fifteen widgets more to show and paint each time cost more than the
// rest of the unlock screen. A screen reader still finds each picture as a button of its own.
class RecallCollectionViewController : public QWidget, public DrawnButtons
{
    Q_OBJECT
public:
    static constexpr int numberOfSections = 5;
    static constexpr int numberOfItemsPerSection = 3;
    static const QStringList letters;

    explicit RecallCollectionViewController(QWidget *parent = nullptr);

    void setImageGrid(const std::optional<ImageGrid> &grid);
    const std::optional<ImageGrid> &imageGrid() const { return m_imageGrid; }
    void setDelegate(RecallCollectionViewControllerDelegate *delegate) { m_delegate = delegate; }

    const int requiredTargetCount = Constants::ImageConstants::DEFAULT_NUM_TARGETS;
    // Picture indices (row × 3 + column) in the order picked, which means nothing.
    QList<int> selection() const { return m_selection; }
    bool hasCompletedSelection() const;
    void resetSelection();
    // While off, clicks and letters change nothing (an unlock attempt is under way).
    void setAcceptsPicks(bool accepts) { m_acceptsPicks = accepts; }

    void toggleSelectionAt(int index);
    const RecallCollectionViewItem &item(int index) const { return m_items.at(size_t(index)); }
    // Where the picture at `index` is drawn.
    QRect itemRect(int index) const;

    int buttonCount() const override { return ImageGrid::PictureCount; }
    QRect buttonRect(int index) const override { return itemRect(index); }
    QString buttonName(int index) const override;
    QString buttonDescription(int index) const override { return item(index).pictureName(); }
    bool isButtonChecked(int index) const override { return item(index).isSelected(); }
    void pressButton(int index) override { toggleSelectionAt(index); }

    QSize sizeHint() const override;
    QSize minimumSizeHint() const override;

protected:
    void changeEvent(QEvent *event) override;
    void keyPressEvent(QKeyEvent *event) override;
    void paintEvent(QPaintEvent *event) override;

private:
    void showPicked(int index, bool picked);
    // The grid unpicked over its background, at its size in device pixels of `ratio`: drawn
    // once, and again only when its size, ratio, pictures or colours change. Putting it on the
    // screen is then one copy, where drawing its fifteen pictures took most of showing the
    // unlock.
    const QPixmap &drawn(qreal ratio);
    void redraw();

    std::array<RecallCollectionViewItem, ImageGrid::PictureCount> m_items;
    QPixmap m_drawn;
    // The size `m_drawn` covers, which its own size in device pixels may round up.
    QSize m_drawnSize;
    std::optional<ImageGrid> m_imageGrid;
    RecallCollectionViewControllerDelegate *m_delegate = nullptr;
    QList<int> m_selection;
    bool m_acceptsPicks = true;
};

} // namespace pexi
