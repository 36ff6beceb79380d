#pragma once

#include <QWidget>

namespace pexi {

// The frameless window of the settings pop-up. It closes (and goes) when the user presses Escape
// or turns to any other window, as a menu would.
class SettingsPopupMenuWindow : public QWidget
{
    Q_OBJECT
public:
    explicit SettingsPopupMenuWindow(QWidget *content);

    // Shows the pop-up hanging to the left of and below `anchor` (global), kept on its screen,
    // and gives it the keyboard.
    void popUp(const QPoint &anchor);

protected:
    void changeEvent(QEvent *event) override;
    void keyPressEvent(QKeyEvent *event) override;
    void paintEvent(QPaintEvent *event) override;
};

} // namespace pexi
