#pragma once

#include <QWidget>

namespace pexi {

// The frameless, rounded window the worker's screens live in. It takes the keyboard, and goes
// (closed and deleted) on Escape, when the user turns to another application, or when focus
// leaves for no window of ours; another window of ours taking the focus (a menu, the settings
// pop-up, a dialog) keeps it open.
class FloatingWindow : public QWidget
{
    Q_OBJECT
public:
    static constexpr int cornerRadius = 10;

    explicit FloatingWindow(QWidget *contentViewController);

    QWidget *contentViewController() const { return m_content; }

protected:
    void changeEvent(QEvent *event) override;
    void resizeEvent(QResizeEvent *event) override;

private:
    QWidget *m_content;
    QWidget *m_corners;
};

} // namespace pexi
