#include "ui/SlidePresentationAnimator.h"

#include <QApplication>
#include <QEvent>
#include <QPropertyAnimation>
#include <QWidget>

namespace pexi {

namespace {

// The first widget of `screen` that takes focus from the keyboard, the screen itself first.
QWidget *firstFocusable(QWidget *screen)
{
    if (screen->focusPolicy() & Qt::TabFocus)
        return screen;
    for (QWidget *w = screen->nextInFocusChain(); w && w != screen; w = w->nextInFocusChain()) {
        if (screen->isAncestorOf(w) && (w->focusPolicy() & Qt::TabFocus) && w->isEnabled() &&
            w->isVisibleTo(screen))
            return w;
    }
    return screen;
}

} // namespace

SlidePresentationAnimator::SlidePresentationAnimator(std::optional<TransitionOptions> options,
                                                     std::optional<double> duration,
                                                     std::optional<double> dismissDuration,
                                                     bool shouldSetFirstResponder, QObject *parent)
    : QObject(parent), options(options), duration(duration), dismissDuration(dismissDuration),
      shouldSetFirstResponder(shouldSetFirstResponder)
{
}

SlidePresentationAnimator::~SlidePresentationAnimator()
{
    delete m_clickBlocker;
}

QRect SlidePresentationAnimator::offscreenFrame(const QRect &frame,
                                                std::optional<TransitionOptions> options)
{
    if (!options)
        return frame;
    int dx = 0;
    if (options->testFlag(SlideLeft))
        dx = frame.width();
    else if (options->testFlag(SlideRight))
        dx = -frame.width();
    // y grows downward here: "down" comes from above.
    int dy = 0;
    if (options->testFlag(SlideDown))
        dy = -frame.height();
    else if (options->testFlag(SlideUp))
        dy = frame.height();
    return frame.translated(dx, dy);
}

void SlidePresentationAnimator::animatePresentation(QWidget *presented, QWidget *presenting)
{
    m_presented = presented;
    m_presenting = presenting;
    const QRect frame = presenting->rect();

    // Catches clicks on the screen underneath while the new one is still sliding over it.
    delete m_clickBlocker;
    m_clickBlocker = new QWidget(presenting);
    m_clickBlocker->setObjectName(QStringLiteral("clickBlocker"));
    m_clickBlocker->setGeometry(frame);
    m_clickBlocker->show();
    m_clickBlocker->raise();

    // Without a background of its own the screen underneath would show through.
    if (!presented->autoFillBackground()) {
        presented->setBackgroundRole(QPalette::Window);
        presented->setAutoFillBackground(true);
    }
    presented->setParent(presenting);
    presented->setGeometry(offscreenFrame(frame, options));
    presented->show();
    presented->raise();
    presenting->installEventFilter(this);

    if (shouldSetFirstResponder) {
        originalFirstResponder = QApplication::focusWidget();
        if (originalFirstResponder)
            originalFirstResponder->clearFocus();
    }
    slide(presented, frame, [this, presented] { finishPresentation(presented); });
}

void SlidePresentationAnimator::finishPresentation(QWidget *presented)
{
    delete m_clickBlocker;
    if (shouldSetFirstResponder)
        firstFocusable(presented)->setFocus(Qt::OtherFocusReason);
    if (dismissDuration)
        duration = dismissDuration;
    emit presentationFinished();
}

void SlidePresentationAnimator::animateDismissal(QWidget *presented, QWidget *presenting)
{
    m_presented = presented;
    m_presenting = presenting;
    slide(presented, offscreenFrame(presenting->rect(), options),
          [this, presented, presenting] { finishDismissal(presented, presenting); });
}

void SlidePresentationAnimator::finishDismissal(QWidget *presented, QWidget *presenting)
{
    delete m_clickBlocker; // when dismissed before it was all in
    presenting->removeEventFilter(this);
    presented->hide();
    presented->setParent(nullptr);
    m_presented = nullptr;
    if (shouldSetFirstResponder) {
        if (originalFirstResponder)
            originalFirstResponder->setFocus(Qt::OtherFocusReason);
        else if (QWidget *focused = presenting->window()->focusWidget())
            focused->clearFocus();
    }
    emit dismissalFinished();
}

void SlidePresentationAnimator::slide(QWidget *presented, const QRect &to,
                                      std::function<void()> done)
{
    delete m_animation; // a slide still under way stops where it is
    const int milliseconds = qRound(duration.value_or(defaultDuration) * 1000);
    if (milliseconds <= 0) {
        presented->setGeometry(to);
        done();
        return;
    }
    m_animation = new QPropertyAnimation(presented, "geometry", this);
    m_animation->setDuration(milliseconds);
    m_animation->setEasingCurve(QEasingCurve::OutCubic);
    m_animation->setEndValue(to);
    connect(m_animation, &QPropertyAnimation::finished, this, [this, done = std::move(done)] {
        m_animation->deleteLater();
        m_animation = nullptr;
        done();
    });
    m_animation->start();
}

bool SlidePresentationAnimator::eventFilter(QObject *watched, QEvent *event)
{
    // The presented screen keeps covering the presenting one when the window is resized.
    if (event->type() == QEvent::Resize && watched == m_presenting) {
        const QRect frame = m_presenting->rect();
        if (m_clickBlocker)
            m_clickBlocker->setGeometry(frame);
        if (m_presented && !m_animation)
            m_presented->setGeometry(frame);
    }
    return QObject::eventFilter(watched, event);
}

void SlidePresentationAnimator::present(QWidget *presented, QWidget *presenting,
                                        SlidePresentationAnimator *animator)
{
    if (!animator)
        animator = new SlidePresentationAnimator;
    animator->setParent(presented);
    animator->animatePresentation(presented, presenting);
}

void SlidePresentationAnimator::dismiss(QWidget *presented)
{
    auto *animator =
        presented->findChild<SlidePresentationAnimator *>(QString(), Qt::FindDirectChildrenOnly);
    QWidget *presenting = presented->parentWidget();
    if (!animator || !presenting) {
        presented->deleteLater();
        return;
    }
    connect(animator, &SlidePresentationAnimator::dismissalFinished, presented,
            &QObject::deleteLater);
    animator->animateDismissal(presented, presenting);
}

} // namespace pexi
