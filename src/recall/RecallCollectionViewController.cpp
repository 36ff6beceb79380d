#include "recall/RecallCollectionViewController.h"

#include "recall/RecallCollectionViewControllerDelegate.h"
#include "recall/RecallCollectionViewItem.h"

#include <QGridLayout>
#include <QKeyEvent>

namespace pexi {

const QStringList RecallCollectionViewController::letters =
    QString("ABCDEFGHIJKLMNO").split(QString(), Qt::SkipEmptyParts);

RecallCollectionViewController::RecallCollectionViewController(QWidget *parent) : QWidget(parent)
{
    setFocusPolicy(Qt::StrongFocus);
    setAccessibleName(QStringLiteral("Picture grid"));
    auto *layout = new QGridLayout(this);
    layout->setContentsMargins(0, 0, 0, 0);
    layout->setSpacing(8);
    for (int index = 0; index < ImageGrid::PictureCount; ++index) {
        auto *item = new RecallCollectionViewItem(this);
        item->setLetter(letters.at(index));
        connect(item, &RecallCollectionViewItem::clicked, this,
                [this, index] { toggleSelectionAt(index); });
        layout->addWidget(item, index / numberOfItemsPerSection, index % numberOfItemsPerSection);
        m_items[size_t(index)] = item;
    }
}

void RecallCollectionViewController::setImageGrid(const std::optional<ImageGrid> &grid)
{
    m_imageGrid = grid;
    for (int index = 0; index < ImageGrid::PictureCount; ++index)
        item(index)->setPictureName(grid ? grid->pictureName(index) : QString());
}

bool RecallCollectionViewController::hasCompletedSelection() const
{
    return m_selection.size() >= requiredTargetCount;
}

void RecallCollectionViewController::resetSelection()
{
    for (int index : std::as_const(m_selection))
        item(index)->showUnselected();
    m_selection.clear();
}

RecallCollectionViewItem *RecallCollectionViewController::item(int index) const
{
    return m_items.at(size_t(index));
}

void RecallCollectionViewController::toggleSelectionAt(int index)
{
    if (!m_acceptsPicks || index < 0 || index >= ImageGrid::PictureCount)
        return;
    if (m_selection.removeOne(index)) {
        item(index)->showUnselected();
    } else {
        if (hasCompletedSelection())
            return;
        m_selection.append(index);
        item(index)->showSelected();
    }
    if (m_delegate)
        m_delegate->recallCollectionViewControllerDidSelectItem(this);
}

void RecallCollectionViewController::keyPressEvent(QKeyEvent *event)
{
    const qsizetype index = letters.indexOf(event->text().toUpper());
    if (event->text().isEmpty() || index < 0) {
        // Arrows and everything else go up to the recall screen.
        QWidget::keyPressEvent(event);
        return;
    }
    toggleSelectionAt(int(index));
}

} // namespace pexi
