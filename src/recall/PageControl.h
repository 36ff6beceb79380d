#pragma once

#include <QPixmap>
#include <QWidget>

#include <optional>

class QAbstractButton;
class QHBoxLayout;

namespace pexi {

class PageControlDelegate;

// A row of page indicators, one toggle button a page: the current one on, the others off. A
// click on one is told to the delegate, which decides whether the page changes.
class PageControl : public QWidget
{
    Q_OBJECT
public:
    explicit PageControl(QWidget *parent = nullptr);

    void setPageControlDelegate(PageControlDelegate *delegate) { m_delegate = delegate; }

    int numberOfPages() const { return int(m_indicators.size()); }
    // Makes that many indicators afresh, none of them on.
    void setNumberOfPages(int count);
    std::optional<int> currentPage() const { return m_currentPage; }
    // Switches that indicator on and every other off; all off for none.
    void setCurrentPage(std::optional<int> page);

    void setSelectedImage(const QPixmap &image);
    void setUnselectedImage(const QPixmap &image);
    void setIndicatorSize(const QSize &size);

    const QList<QAbstractButton *> &indicators() const { return m_indicators; }

private:
    void buttonClicked(QAbstractButton *indicator);
    void applyImages();

    QHBoxLayout *m_layout;
    QList<QAbstractButton *> m_indicators;
    std::optional<int> m_currentPage;
    QPixmap m_selectedImage;
    QPixmap m_unselectedImage;
    QSize m_indicatorSize{8, 8};
    PageControlDelegate *m_delegate = nullptr;
};

} // namespace pexi
