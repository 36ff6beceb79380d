#pragma once

#include "ui/LaidOutText.h"

#include <QLabel>

namespace pexi {

// A label of one line of plain text that lays its text out once. QLabel shapes its text anew on
// every paint, which for a heading in Inter cost more than drawing the fifteen pictures below it.
// Rich or wrapped text is drawn as QLabel draws it.
class StaticTextLabel : public QLabel
{
    Q_OBJECT
public:
    explicit StaticTextLabel(QWidget *parent = nullptr) : QLabel(parent) {}

protected:
    void paintEvent(QPaintEvent *event) override;

private:
    bool isPlainLine() const;

    LaidOutText m_text;
};

} // namespace pexi
