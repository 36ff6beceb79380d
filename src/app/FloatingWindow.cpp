#include "app/FloatingWindow.h"

#include "app/RoundedCorners.h"

#include <QGuiApplication>
#include <QShortcut>
#include <QVBoxLayout>

namespace pexi {

FloatingWindow::FloatingWindow(QWidget *contentViewController)
    : QWidget(nullptr, Qt::Tool | Qt::FramelessWindowHint), m_content(contentViewController),
      m_corners(new RoundedCorners(cornerRadius, this))
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
                // A window made ahead and not shown yet has nothing to close.
                if (state != Qt::ApplicationActive && isVisible())
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
