#include "ui/StaticTextLabel.h"

#include <QPainter>
#include <QStyle>
#include <QTextDocument>

namespace pexi {

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
    const QStaticText &laidOut = m_text.in(text(), font());
    QPainter painter(this);
    painter.setFont(font());
    painter.setPen(
        palette().color(isEnabled() ? QPalette::Active : QPalette::Disabled, foregroundRole()));
    const QRect area = contentsRect().adjusted(margin(), margin(), -margin(), -margin());
    const Qt::Alignment aligned = QStyle::visualAlignment(layoutDirection(), alignment());
    painter.drawStaticText(
        QStyle::alignedRect(layoutDirection(), aligned, laidOut.size().toSize(), area).topLeft(),
        laidOut);
}

} // namespace pexi
