#include "recall/RecallCollectionViewController.h"

#include "recall/RecallCollectionViewControllerDelegate.h"
#include "ui/Appearance.h"
#include "ui/PaintRatio.h"

#include <QKeyEvent>
#include <QPainter>

namespace pexi {

namespace {

constexpr int spacing = 8;
// What one picture asks for, and the least it can be drawn at.
constexpr QSize itemSizeHint(88, 72);
constexpr QSize itemMinimumSize(24, 24);

// The start of the `index`th of `count` equal spans of `length`, with `spacing` between them.
int spanStart(int index, int count, int length)
{
    return (index * (length + spacing)) / count;
}

QSize gridSize(QSize item)
{
    const int columns = RecallCollectionViewController::numberOfItemsPerSection;
    const int rows = RecallCollectionViewController::numberOfSections;
    return {columns * item.width() + (columns - 1) * spacing,
            rows * item.height() + (rows - 1) * spacing};
}

} // namespace

const QStringList RecallCollectionViewController::letters =
    QString("ABCDEFGHIJKLMNO").split(QString(), Qt::SkipEmptyParts);

RecallCollectionViewController::RecallCollectionViewController(QWidget *parent)
    : QWidget(parent), DrawnButtons(this)
{
    setFocusPolicy(Qt::StrongFocus);
    setAccessibleName(QStringLiteral("Picture grid"));
    setSizePolicy(QSizePolicy::Expanding, QSizePolicy::Expanding);
    // It covers itself with its background, so that what is behind it is not drawn first.
    setAttribute(Qt::WA_OpaquePaintEvent);
    for (int index = 0; index < ImageGrid::PictureCount; ++index)
        m_items[size_t(index)].setLetter(letters.at(index));
    connect(&Appearance::instance(), &Appearance::changed, this,
            &RecallCollectionViewController::redraw);
}

void RecallCollectionViewController::setImageGrid(const std::optional<ImageGrid> &grid)
{
    m_imageGrid = grid;
    for (int index = 0; index < ImageGrid::PictureCount; ++index)
        m_items[size_t(index)].setPictureName(grid ? grid->pictureName(index) : QString());
    redraw();
}

bool RecallCollectionViewController::hasCompletedSelection() const
{
    return m_selection.size() >= requiredTargetCount;
}

void RecallCollectionViewController::resetSelection()
{
    const QList<int> picked = std::exchange(m_selection, {});
    for (int index : picked)
        showPicked(index, false);
}

void RecallCollectionViewController::toggleSelectionAt(int index)
{
    if (!m_acceptsPicks || index < 0 || index >= ImageGrid::PictureCount)
        return;
    if (m_selection.removeOne(index)) {
        showPicked(index, false);
    } else {
        if (hasCompletedSelection())
            return;
        m_selection.append(index);
        showPicked(index, true);
    }
    if (m_delegate)
        m_delegate->recallCollectionViewControllerDidSelectItem(this);
}

void RecallCollectionViewController::showPicked(int index, bool picked)
{
    RecallCollectionViewItem &item = m_items[size_t(index)];
    if (picked)
        item.showSelected();
    else
        item.showUnselected();
    update(itemRect(index));
    announceCheckedChange(index);
}

QRect RecallCollectionViewController::itemRect(int index) const
{
    const int column = index % numberOfItemsPerSection;
    const int row = index / numberOfItemsPerSection;
    const int left = spanStart(column, numberOfItemsPerSection, width());
    const int top = spanStart(row, numberOfSections, height());
    return QRect(left, top,
                 spanStart(column + 1, numberOfItemsPerSection, width()) - spacing - left,
                 spanStart(row + 1, numberOfSections, height()) - spacing - top);
}

QString RecallCollectionViewController::buttonName(int index) const
{
    return QStringLiteral("Picture %1").arg(item(index).letter());
}

QSize RecallCollectionViewController::sizeHint() const
{
    return gridSize(itemSizeHint);
}

QSize RecallCollectionViewController::minimumSizeHint() const
{
    return gridSize(itemMinimumSize);
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

const QPixmap &RecallCollectionViewController::drawn(qreal ratio)
{
    if (!m_drawn.isNull() && m_drawnSize == size() && m_drawn.devicePixelRatio() == ratio)
        return m_drawn;
    m_drawnSize = size();
    m_drawn = QPixmap(deviceSize(size(), ratio));
    m_drawn.setDevicePixelRatio(ratio);
    m_drawn.fill(palette().color(QPalette::Window));
    QPainter painter(&m_drawn);
    for (int index = 0; index < ImageGrid::PictureCount; ++index)
        m_items[size_t(index)].paint(painter, itemRect(index));
    return m_drawn;
}

void RecallCollectionViewController::redraw()
{
    m_drawn = {};
    update();
}

void RecallCollectionViewController::changeEvent(QEvent *event)
{
    if (event->type() == QEvent::PaletteChange)
        redraw();
    QWidget::changeEvent(event);
}

void RecallCollectionViewController::paintEvent(QPaintEvent *event)
{
    QPainter painter(this);
    painter.drawPixmap(QPoint(), drawn(paintRatio(painter)));
    for (int index : std::as_const(m_selection)) {
        const QRect cell = itemRect(index);
        if (event->region().intersects(cell))
            m_items[size_t(index)].paintPick(painter, cell);
    }
}

} // namespace pexi
