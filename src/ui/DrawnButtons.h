#pragma once

#include <QRect>
#include <QString>

class QWidget;

namespace pexi {

class DrawnButtonsHandle;

// A widget that draws a set of checkable buttons itself instead of holding a widget for each:
// each widget more costs time every time a window shows it. The widget says where each button
// is, what it is called and whether it is checked; this gives it the clicks (a press and a
// release on the same button, while the widget is enabled) and shows the buttons to a screen
// reader as buttons of their own, which it can press.
class DrawnButtons
{
public:
    explicit DrawnButtons(QWidget *widget);
    virtual ~DrawnButtons();

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
    // Tells a screen reader that there are other buttons now.
    void announceButtonsChanged() const;
    // Tells a screen reader that the button's checked state changed.
    void announceCheckedChange(int index) const;

private:
    // Lives with the widget, and outlives this part of it by a moment while the widget is
    // destroyed: the clicks and the screen reader's interfaces reach the buttons through it.
    DrawnButtonsHandle *m_handle;
};

} // namespace pexi
