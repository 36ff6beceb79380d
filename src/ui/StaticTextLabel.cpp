#include "ui/StaticTextLabel.h"

#include <QPainter>
#include <QStyle>
#include <QTextDocument>

namespace pexi {

StaticTextLabel::StaticTextLabel(QWidget *parent) : QLabel(parent)
{
    m_laidOut.setTextFormat(Qt::PlainText);
    m_laidOut.setPerformanceHint(QStaticText::AggressiveCaching);
}

bool StaticTextLabel::isPlainLine() const
{
    const bool rich = textFormat() == Qt::RichText ||
                      (textFormat() == Qt::AutoText && Qt::mightBeRichText(text()));
    return !rich && !wordWrap() && !text().contains(QLatin1Char('\n')) && pixmap().isNull();
}

void StaticTextLabel::paintEvent(QPaintEvent *event)
{
    if (!isPlainLine() || frameWidth() > 0) {
        QLabel::paintEvent(event);
        return;
    }
    if (m_text != text() || m_font != font()) {
        m_text = text();
        m_font = font();
        m_laidOut.setText(m_text);
        m_laidOut.prepare(QTransform(), m_font);
    }
    QPainter painter(this);
    painter.setFont(m_font);
    painter.setPen(
        palette().color(isEnabled() ? QPalette::Active : QPalette::Disabled, foregroundRole()));
    const QRect area = contentsRect().adjusted(margin(), margin(), -margin(), -margin());
    const Qt::Alignment aligned = QStyle::visualAlignment(layoutDirection(), alignment());
    painter.drawStaticText(
        QStyle::alignedRect(layoutDirection(), aligned, m_laidOut.size().toSize(), area).topLeft(),
        m_laidOut);
}

} // namespace pexi
