#pragma once

#include <QFont>
#include <QStaticText>

namespace pexi {

// One line of plain text laid out once and kept until its text or font changes: Qt's widgets
// shape their text anew on every paint, which for short texts costs more than drawing them.
class LaidOutText
{
public:
    LaidOutText();

    // The text laid out in `font`, laid out again only when either differs from the last call.
    const QStaticText &in(const QString &text, const QFont &font);

private:
    QStaticText m_laidOut;
    // What `m_laidOut` was laid out from.
    QString m_text;
    QFont m_font;
};

} // namespace pexi
