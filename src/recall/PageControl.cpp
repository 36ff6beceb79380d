#include "recall/PageControl.h"

#include "recall/PageControlDelegate.h"

#include <QPaintEvent>
#include <QPainter>

namespace pexi {

namespace {

constexpr int spacing = 4;

} // namespace

PageControl::PageControl(QWidget *parent) : QWidget(parent), DrawnButtons(this)
{
    // The grids keep the keyboard; the arrow keys page through them.
    setFocusPolicy(Qt::NoFocus);
    setSizePolicy(QSizePolicy::Minimum, QSizePolicy::Fixed);
}

void PageControl::setNumberOfPages(int count)
{
    m_numberOfPages = std::max(count, 0);
    m_currentPage.reset();
    updateGeometry();
    update();
    announceButtonsChanged();
}

void PageControl::setCurrentPage(std::optional<int> page)
{
    const std::optional<int> previous = std::exchange(m_currentPage, page);
    if (previous == page)
        return;
    for (const std::optional<int> changed : {previous, page})
        if (changed && *changed >= 0 && *changed < m_numberOfPages)
            announceCheckedChange(*changed);
    update();
}

void PageControl::setSelectedImage(const QPixmap &image)
{
    m_selectedImage = image;
    update();
}

void PageControl::setUnselectedImage(const QPixmap &image)
{
    m_unselectedImage = image;
    update();
}

void PageControl::setIndicatorSize(const QSize &size)
{
    m_indicatorSize = size;
    updateGeometry();
    update();
}

QSize PageControl::indicatorBox() const
{
    // The room a flat tool button gave the same dot.
    return m_indicatorSize + QSize(3, 3);
}

QSize PageControl::sizeHint() const
{
    const QSize box = indicatorBox();
    return {std::max(0, m_numberOfPages * (box.width() + spacing) - spacing), box.height()};
}

QRect PageControl::buttonRect(int index) const
{
    const QSize box = indicatorBox();
    const QSize row = sizeHint();
    return {QPoint((width() - row.width()) / 2 + index * (box.width() + spacing),
                   (height() - box.height()) / 2),
            box};
}

QString PageControl::buttonName(int index) const
{
    return QStringLiteral("Page %1").arg(index + 1);
}

void PageControl::pressButton(int index)
{
    if (m_delegate && index >= 0 && index < m_numberOfPages)
        m_delegate->pageControl(this, index);
}

void PageControl::paintEvent(QPaintEvent *)
{
    QPainter painter(this);
    for (int index = 0; index < m_numberOfPages; ++index) {
        const QPixmap &dot = m_currentPage == index ? m_selectedImage : m_unselectedImage;
        const QRect box = buttonRect(index);
        painter.drawPixmap(
            QRect(box.topLeft() + QPoint((box.width() - m_indicatorSize.width()) / 2,
                                         (box.height() - m_indicatorSize.height()) / 2),
                  m_indicatorSize),
            dot);
    }
}

} // namespace pexi
