#pragma once

#include <QFont>
#include <QLabel>
#include <QStaticText>

namespace pexi {

// A label of one line of plain text that lays its text out once. QLabel shapes its text anew on
// every paint, which for a heading in Inter cost more than drawing the fifteen pictures below it.
// Rich or wrapped text is drawn as QLabel draws it.
class StaticTextLabel : public QLabel
{
    Q_OBJECT
public:
    explicit StaticTextLabel(QWidget *parent = nullptr);

protected:
    void paintEvent(QPaintEvent *event) override;

private:
    bool isPlainLine() const;

    QStaticText m_laidOut;
    // What `m_laidOut` was laid out from.
    QString m_text;
    QFont m_font;
};

} // namespace pexi
