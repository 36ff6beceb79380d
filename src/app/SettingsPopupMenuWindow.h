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

protected:
    void changeEvent(QEvent *event) override;
    void keyPressEvent(QKeyEvent *event) override;
    void paintEvent(QPaintEvent *event) override;
};

} // namespace pexi
