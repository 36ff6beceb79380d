#include "recall/PageControl.h"

#include "recall/PageControlDelegate.h"
#include "recall/PageIndicator.h"

#include <QHBoxLayout>
#include <QIcon>

namespace pexi {

PageControl::PageControl(QWidget *parent) : QWidget(parent), m_layout(new QHBoxLayout(this))
{
    m_layout->setContentsMargins(0, 0, 0, 0);
    m_layout->setSpacing(4);
}

void PageControl::setNumberOfPages(int count)
{
    qDeleteAll(m_indicators);
    m_indicators.clear();
    m_currentPage.reset();
    for (int page = 0; page < count; ++page) {
        auto *indicator = new PageIndicator(this);
        // The grids keep the keyboard; the arrow keys page through them.
        indicator->setFocusPolicy(Qt::NoFocus);
        indicator->setAccessibleName(QStringLiteral("Page %1").arg(page + 1));
        connect(indicator, &QAbstractButton::clicked, this,
                [this, indicator] { buttonClicked(indicator); });
        m_layout->addWidget(indicator);
        m_indicators.append(indicator);
    }
    applyImages();
}

void PageControl::setCurrentPage(std::optional<int> page)
{
    m_currentPage = page;
    for (int index = 0; index < m_indicators.size(); ++index)
        m_indicators.at(index)->setChecked(page == index);
}

void PageControl::setSelectedImage(const QPixmap &image)
{
    m_selectedImage = image;
    applyImages();
}

void PageControl::setUnselectedImage(const QPixmap &image)
{
    m_unselectedImage = image;
    applyImages();
}

void PageControl::setIndicatorSize(const QSize &size)
{
    m_indicatorSize = size;
    applyImages();
}

void PageControl::applyImages()
{
    QIcon icon;
    icon.addPixmap(m_unselectedImage, QIcon::Normal, QIcon::Off);
    icon.addPixmap(m_selectedImage, QIcon::Normal, QIcon::On);
    for (QAbstractButton *indicator : std::as_const(m_indicators)) {
        indicator->setIcon(icon);
        indicator->setIconSize(m_indicatorSize);
    }
}

void PageControl::buttonClicked(QAbstractButton *indicator)
{
    // The click toggled the button itself; which one is on is the current page's to say.
    setCurrentPage(m_currentPage);
    if (m_delegate)
        m_delegate->pageControl(this, int(m_indicators.indexOf(indicator)));
}

} // namespace pexi
