#include "app/FloatingWindow.h"

#include <QGuiApplication>
#include <QPainter>
#include <QPainterPath>
#include <QShortcut>
#include <QVBoxLayout>

namespace pexi {

namespace {

// Laid over everything in the window: clears what the screens painted outside the rounded
// outline and draws the outline. Screens fill their rectangles, so the rounding cannot be left
// to the window's own background.
class RoundedCorners : public QWidget
{
public:
    explicit RoundedCorners(QWidget *window) : QWidget(window)
    {
        setAttribute(Qt::WA_TransparentForMouseEvents);
        setFocusPolicy(Qt::NoFocus);
    }

protected:
    void paintEvent(QPaintEvent *) override
    {
        QPainter painter(this);
        painter.setRenderHint(QPainter::Antialiasing);
        const QRectF outline = QRectF(rect()).adjusted(0.5, 0.5, -0.5, -0.5);
        QPainterPath rounded;
        rounded.addRoundedRect(outline, FloatingWindow::cornerRadius, FloatingWindow::cornerRadius);
        QPainterPath outside;
        outside.addRect(rect());
        painter.setCompositionMode(QPainter::CompositionMode_Clear);
        painter.fillPath(outside.subtracted(rounded), Qt::transparent);
        painter.setCompositionMode(QPainter::CompositionMode_SourceOver);
        painter.setPen(QPen(palette().color(QPalette::Mid), 1));
        painter.drawPath(rounded);
    }
};

} // namespace

FloatingWindow::FloatingWindow(QWidget *contentViewController)
    : QWidget(nullptr, Qt::Tool | Qt::FramelessWindowHint), m_content(contentViewController),
      m_corners(new RoundedCorners(this))
{
    // Window managers, accessibility and test tools find it by this name; it is never shown.
    setWindowTitle(QStringLiteral("Pexi"));
    setAccessibleName(QStringLiteral("Pexi"));
    setAttribute(Qt::WA_TranslucentBackground);
    setAttribute(Qt::WA_DeleteOnClose);
    auto *layout = new QVBoxLayout(this);
    layout->setContentsMargins(0, 0, 0, 0);
    layout->addWidget(m_content);
    resize(m_content->size());
    m_corners->raise();
    // A shortcut, not a key press: the screens inside swallow the keys they do not use.
    new QShortcut(QKeySequence(Qt::Key_Escape), this, this, &QWidget::close);

    // Another application became active: the window has done its job.
    connect(qApp, &QGuiApplication::applicationStateChanged, this,
            [this](Qt::ApplicationState state) {
                if (state != Qt::ApplicationActive)
                    close();
            });
}

void FloatingWindow::changeEvent(QEvent *event)
{
    // By the time a window hears that it lost the focus, the one that took it is known.
    if (event->type() == QEvent::ActivationChange && !isActiveWindow() &&
        !QGuiApplication::focusWindow())
        close();
    QWidget::changeEvent(event);
}

void FloatingWindow::resizeEvent(QResizeEvent *event)
{
    QWidget::resizeEvent(event);
    m_corners->setGeometry(rect());
}

} // namespace pexi
