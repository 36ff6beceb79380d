#include "ui/StaticTextLabel.h"

#include "ui/PaintRatio.h"

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
    QPainter painter(this);
    m_text.prepare(
        text(), font(),
        palette().color(isEnabled() ? QPalette::Active : QPalette::Disabled, foregroundRole()),
        paintRatio(painter));
    const QRect area = contentsRect().adjusted(margin(), margin(), -margin(), -margin());
    const Qt::Alignment aligned = QStyle::visualAlignment(layoutDirection(), alignment());
    m_text.paint(painter,
                 QStyle::alignedRect(layoutDirection(), aligned, m_text.size(), area).topLeft());
}

} // namespace pexi
