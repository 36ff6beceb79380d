#pragma once

#include "core/Constants.h"
#include "core/ImageGrid.h"

#include <QList>
#include <QStringList>
#include <QWidget>

#include <array>
#include <optional>

namespace pexi {

class RecallCollectionViewControllerDelegate;
class RecallCollectionViewItem;

// One page of the recall unlock: the fifteen pictures of a grid, five rows of three, picked by
// a click or by the letter shown on each (A to O, either case). A full grid takes a new pick
// only after one is taken back.
class RecallCollectionViewController : public QWidget
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
    RecallCollectionViewItem *item(int index) const;

protected:
    void keyPressEvent(QKeyEvent *event) override;

private:
    std::array<RecallCollectionViewItem *, ImageGrid::PictureCount> m_items{};
    std::optional<ImageGrid> m_imageGrid;
    RecallCollectionViewControllerDelegate *m_delegate = nullptr;
    QList<int> m_selection;
    bool m_acceptsPicks = true;
};

} // namespace pexi
