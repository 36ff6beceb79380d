#pragma once

#include "ui/LaidOutText.h"

#include <QToolButton>

namespace pexi {

// A flat tool button showing a short text ("?", an arrow) that lays the text out once. At rest a
// flat button is its text alone, which it draws itself; hovered, pressed, with the keyboard
// focus or an icon it is drawn by the style as any tool button. The style shaped the text anew
// on each paint, and three such buttons cost as much as the grid of pictures beside them.
class StaticTextToolButton : public QToolButton
{
    Q_OBJECT
public:
    explicit StaticTextToolButton(QWidget *parent = nullptr) : QToolButton(parent) {}

protected:
    void paintEvent(QPaintEvent *event) override;

private:
    bool isAtRest() const;

    LaidOutText m_text;
};

} // namespace pexi
