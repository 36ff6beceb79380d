#pragma once

#include "ui/DrawnButtons.h"

#include <QPixmap>
#include <QWidget>

#include <optional>

namespace pexi {

class PageControlDelegate;

// A row of page indicators, one dot a page that is a checkable button: the current one on, the
// others off. A click on one is told to the delegate, which decides whether the page changes.
// It draws its dots itself rather than holding a widget for each, as the grids do.
class PageControl : public QWidget, public DrawnButtons
{
    Q_OBJECT
public:
    explicit PageControl(QWidget *parent = nullptr);

    void setPageControlDelegate(PageControlDelegate *delegate) { m_delegate = delegate; }
    int numberOfPages() const { return m_numberOfPages; }
    // That many indicators, none of them on.
    void setNumberOfPages(int count);
    std::optional<int> currentPage() const { return m_currentPage; }
    // Switches that indicator on and every other off; all off for none.
    void setCurrentPage(std::optional<int> page);
    void setSelectedImage(const QPixmap &image);
    void setUnselectedImage(const QPixmap &image);
    void setIndicatorSize(const QSize &size);

    int buttonCount() const override { return m_numberOfPages; }
    QRect buttonRect(int index) const override;
    QString buttonName(int index) const override;
    bool isButtonChecked(int index) const override { return m_currentPage == index; }
    void pressButton(int index) override;

    QSize sizeHint() const override;
    QSize minimumSizeHint() const override { return sizeHint(); }

protected:
    void paintEvent(QPaintEvent *event) override;

private:
    // The room each indicator takes: its dot and a little around it.
    QSize indicatorBox() const;

    int m_numberOfPages = 0;
    std::optional<int> m_currentPage;
    QPixmap m_selectedImage;
    QPixmap m_unselectedImage;
    QSize m_indicatorSize{8, 8};
    PageControlDelegate *m_delegate = nullptr;
};

} // namespace pexi
