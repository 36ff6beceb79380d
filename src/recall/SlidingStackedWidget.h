#pragma once

#include <QPointer>
#include <QStackedWidget>

class QAbstractAnimation;

namespace pexi {

// A stack of pages that slides sideways from one to the next. The new page is current at once
// (keys and clicks go to it); only the picture of the old one slides out beside it.
class SlidingStackedWidget : public QStackedWidget
{
    Q_OBJECT
public:
    static constexpr int slideDurationMs = 200;

    explicit SlidingStackedWidget(QWidget *parent = nullptr);

    void slideToIndex(int index);

protected:
    void paintEvent(QPaintEvent *event) override;

private:
    QPointer<QAbstractAnimation> m_slide;
};

} // namespace pexi
