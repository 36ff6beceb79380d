#include "ui/LaidOutText.h"

#include <QTransform>

namespace pexi {

LaidOutText::LaidOutText()
{
    m_laidOut.setTextFormat(Qt::PlainText);
    m_laidOut.setPerformanceHint(QStaticText::AggressiveCaching);
}

const QStaticText &LaidOutText::in(const QString &text, const QFont &font)
{
    if (m_text != text || m_font != font) {
        m_text = text;
        m_font = font;
        m_laidOut.setText(text);
        m_laidOut.prepare(QTransform(), font);
    }
    return m_laidOut;
}

} // namespace pexi
