#include "recall/SlidingStackedWidget.h"

#include <QLabel>
#include <QParallelAnimationGroup>
#include <QPropertyAnimation>

namespace pexi {

SlidingStackedWidget::SlidingStackedWidget(QWidget *parent) : QStackedWidget(parent)
{
}

void SlidingStackedWidget::slideToIndex(int index)
{
    const int from = currentIndex();
    if (index == from || index < 0 || index >= count())
        return;
    if (m_slide) // jumps the previous slide to its end
        m_slide->setCurrentTime(m_slide->totalDuration());
    if (!isVisible()) {
        setCurrentIndex(index);
        return;
    }
    auto *old = new QLabel(this);
    old->setPixmap(currentWidget()->grab());
    old->setAttribute(Qt::WA_TransparentForMouseEvents);
    const QRect frame = currentWidget()->geometry();
    old->setGeometry(frame);
    setCurrentIndex(index);
    QWidget *page = currentWidget();
    old->raise();
    old->show();

    // Forward the new page comes in from the right, back from the left.
    const QPoint offset(index > from ? frame.width() : -frame.width(), 0);
    auto *group = new QParallelAnimationGroup(this);
    auto *outgoing = new QPropertyAnimation(old, "pos", group);
    outgoing->setStartValue(frame.topLeft());
    outgoing->setEndValue(frame.topLeft() - offset);
    auto *incoming = new QPropertyAnimation(page, "pos", group);
    incoming->setStartValue(frame.topLeft() + offset);
    incoming->setEndValue(frame.topLeft());
    for (QPropertyAnimation *animation : {outgoing, incoming}) {
        animation->setDuration(slideDurationMs);
        animation->setEasingCurve(QEasingCurve::OutCubic);
    }
    connect(group, &QAbstractAnimation::finished, old, [old, page, frame] {
        page->move(frame.topLeft());
        old->deleteLater();
    });
    m_slide = group;
    group->start(QAbstractAnimation::DeleteWhenStopped);
}

void SlidingStackedWidget::paintEvent(QPaintEvent *event)
{
    // Without a frame there is nothing to draw, but the style would still be asked to draw none.
    if (frameShape() != QFrame::NoFrame)
        QStackedWidget::paintEvent(event);
}

} // namespace pexi
