#pragma once

#include <QObject>
#include <QPointer>
#include <QRect>

#include <functional>
#include <optional>

class QPropertyAnimation;
class QWidget;

namespace pexi {

// Lays one screen over another and slides it in from a side, and out the same way. While it
// slides in, clicks on the screen underneath are swallowed; once it is in place it covers that
// screen and takes the clicks itself. One animator belongs to one presentation.
class SlidePresentationAnimator : public QObject
{
    Q_OBJECT
public:
    // Only these four bits are read.
    enum TransitionOption { SlideUp = 16, SlideDown = 32, SlideLeft = 64, SlideRight = 128 };
    Q_DECLARE_FLAGS(TransitionOptions, TransitionOption)

    static constexpr double defaultDuration = 0.2; // seconds

    explicit SlidePresentationAnimator(std::optional<TransitionOptions> options = {},
                                       std::optional<double> duration = {},
                                       std::optional<double> dismissDuration = {},
                                       bool shouldSetFirstResponder = false,
                                       QObject *parent = nullptr);
    ~SlidePresentationAnimator() override;

    std::optional<TransitionOptions> options;
    // Of the next animation; unset means defaultDuration.
    std::optional<double> duration;
    // Replaces `duration` once the presentation has finished, so that the dismissal uses it.
    std::optional<double> dismissDuration;
    // Move keyboard focus to the presented screen, and back to where it was after dismissal.
    bool shouldSetFirstResponder = false;
    QPointer<QWidget> originalFirstResponder;

    // Where a screen over `frame` starts and ends: one width to the right for SlideLeft, one to
    // the left for SlideRight, one height above for SlideDown, one below for SlideUp.
    static QRect offscreenFrame(const QRect &frame, std::optional<TransitionOptions> options);

    // Makes `presented` a child of `presenting`, laid over all of it, and slides it in.
    void animatePresentation(QWidget *presented, QWidget *presenting);
    // Slides `presented` out and takes it off `presenting` (hidden, without a parent).
    void animateDismissal(QWidget *presented, QWidget *presenting);

    // What screens call: the presented screen becomes a child of `presenting`, laid over it, and
    // owns the animator (a default one when null) until it is dismissed; dismiss() slides it out
    // and deletes it (later).
    static void present(QWidget *presented, QWidget *presenting,
                        SlidePresentationAnimator *animator);
    static void dismiss(QWidget *presented);

signals:
    void presentationFinished();
    void dismissalFinished();

protected:
    bool eventFilter(QObject *watched, QEvent *event) override;

private:
    void slide(QWidget *presented, const QRect &to, std::function<void()> done);
    void finishPresentation(QWidget *presented);
    void finishDismissal(QWidget *presented, QWidget *presenting);

    QPointer<QWidget> m_presented;
    QPointer<QWidget> m_presenting;
    QPointer<QWidget> m_clickBlocker;
    QPointer<QPropertyAnimation> m_animation;
};

} // namespace pexi

Q_DECLARE_OPERATORS_FOR_FLAGS(pexi::SlidePresentationAnimator::TransitionOptions)
