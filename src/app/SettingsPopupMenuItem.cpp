#include "app/SettingsPopupMenuItem.h"

#include "ui/Icons.h"

#include <QHBoxLayout>
#include <QKeyEvent>
#include <QLabel>
#include <QPainter>

namespace pexi {

namespace {

constexpr int iconSize = 18;

} // namespace

SettingsPopupMenuItem::SettingsPopupMenuItem(const QString &iconName, const QString &title,
                                             std::function<void()> block, QWidget *parent)
    : QWidget(parent), block(std::move(block)), m_iconName(iconName), m_icon(new QLabel(this)),
      m_title(new QLabel(title, this))
{
    setAccessibleName(title);
    setFocusPolicy(Qt::StrongFocus);
    setCursor(Qt::PointingHandCursor);
    m_icon->setFixedSize(iconSize, iconSize);
    auto *layout = new QHBoxLayout(this);
    layout->setContentsMargins(10, 6, 14, 6);
    layout->setSpacing(10);
    layout->addWidget(m_icon);
    layout->addWidget(m_title, 1);
    applyColors();
}

QString SettingsPopupMenuItem::title() const
{
    return m_title->text();
}

QPixmap SettingsPopupMenuItem::icon() const
{
    return m_icon->pixmap();
}

void SettingsPopupMenuItem::enterEvent(QEnterEvent *event)
{
    setHighlighted(true);
    QWidget::enterEvent(event);
}

void SettingsPopupMenuItem::leaveEvent(QEvent *event)
{
    setHighlighted(hasFocus());
    QWidget::leaveEvent(event);
}

void SettingsPopupMenuItem::focusInEvent(QFocusEvent *event)
{
    // Only the keyboard's way here shows: the first entry takes the focus with the window, and
    // must not look chosen before the user chose anything.
    const Qt::FocusReason reason = event->reason();
    if (reason == Qt::TabFocusReason || reason == Qt::BacktabFocusReason)
        setHighlighted(true);
    QWidget::focusInEvent(event);
}

void SettingsPopupMenuItem::focusOutEvent(QFocusEvent *event)
{
    setHighlighted(underMouse());
    QWidget::focusOutEvent(event);
}

void SettingsPopupMenuItem::mouseReleaseEvent(QMouseEvent *event)
{
    // A press dragged off the entry is no click.
    if (event->button() == Qt::LeftButton && rect().contains(event->position().toPoint()))
        run();
}

void SettingsPopupMenuItem::keyPressEvent(QKeyEvent *event)
{
    switch (event->key()) {
    case Qt::Key_Return:
    case Qt::Key_Enter:
    case Qt::Key_Space:
        run();
        break;
    default:
        QWidget::keyPressEvent(event);
    }
}

void SettingsPopupMenuItem::paintEvent(QPaintEvent *)
{
    if (!m_highlighted)
        return;
    QPainter painter(this);
    painter.setRenderHint(QPainter::Antialiasing);
    painter.setPen(Qt::NoPen);
    painter.setBrush(palette().color(QPalette::Highlight));
    painter.drawRoundedRect(QRectF(rect()).adjusted(4, 1, -4, -1), 5, 5);
}

void SettingsPopupMenuItem::changeEvent(QEvent *event)
{
    if (event->type() == QEvent::PaletteChange)
        applyColors();
    QWidget::changeEvent(event);
}

void SettingsPopupMenuItem::setHighlighted(bool highlighted)
{
    if (m_highlighted == highlighted)
        return;
    m_highlighted = highlighted;
    applyColors();
    update();
}

void SettingsPopupMenuItem::applyColors()
{
    const QColor color =
        palette().color(m_highlighted ? QPalette::HighlightedText : QPalette::Text);
    m_icon->setPixmap(
        tintedPixmap(m_iconName, color, QSize(iconSize, iconSize), devicePixelRatio()));
    QPalette titlePalette = m_title->palette();
    titlePalette.setColor(QPalette::WindowText, color);
    m_title->setPalette(titlePalette);
}

void SettingsPopupMenuItem::run()
{
    if (block)
        block();
}

} // namespace pexi
