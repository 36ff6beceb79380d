#pragma once

#include <QWidget>

#include <functional>

class QPushButton;

namespace pexi {

// Shown over the unlock the first times the window opens, until the user has read it once:
// what the pictures are for. Its button takes the focus given to the screen, so Return or
// Space dismisses it.
class WelcomeViewController : public QWidget
{
    Q_OBJECT
public:
    explicit WelcomeViewController(QWidget *parent = nullptr);

    QPushButton *actionButton() const { return m_actionButton; }
    std::function<void()> didDismiss;

    void continueClicked();

protected:
    // Keys this screen does not use stop here, not on the grids underneath.
    void keyPressEvent(QKeyEvent *event) override;

private:
    QPushButton *m_actionButton;
};

} // namespace pexi
