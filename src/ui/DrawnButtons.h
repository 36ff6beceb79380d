#pragma once

#include <QRect>
#include <QString>

class QMouseEvent;
class QWidget;

namespace pexi {

// A widget that draws a set of checkable buttons itself instead of holding a widget for each:
// each widget more costs time every time a window shows it. The widget says where each button
// is, what it is called and whether it is checked; this gives it the clicks (a press and a
// release on the same button) and shows the buttons to a screen reader as buttons of their
// own, which it can press.
class DrawnButtons
{
public:
    explicit DrawnButtons(QWidget *widget);
    virtual ~DrawnButtons() = default;

    virtual int buttonCount() const = 0;
    // In the widget's coordinates.
    virtual QRect buttonRect(int index) const = 0;
    virtual QString buttonName(int index) const = 0;
    virtual QString buttonDescription(int index) const;
    virtual bool isButtonChecked(int index) const = 0;
    // A click, or a screen reader's press.
    virtual void pressButton(int index) = 0;

    // The button at a point of the widget; -1 between buttons.
    int buttonAt(QPoint point) const;

protected:
    // The widget's mouse handlers call these.
    void trackPress(const QMouseEvent *event);
    void trackRelease(const QMouseEvent *event);
    // Tells a screen reader that the button's checked state changed.
    void announceCheckedChange(int index) const;

private:
    QWidget *m_widget;
    // The button a press began on.
    int m_pressed = -1;
};

} // namespace pexi
