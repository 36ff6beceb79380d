#pragma once

#include "platform/BrowserLauncher.h"

#include <QWidget>

#include <functional>
#include <memory>

class QPushButton;

namespace Ui {
class IncorrectImagesViewController;
}

namespace pexi {

// Shown over the recall screen when the picked pictures did not open the vault, or the vault
// could not be read: try again, or tell us.
class IncorrectImagesViewController : public QWidget
{
    Q_OBJECT
public:
    explicit IncorrectImagesViewController(BrowserLauncher &launcher = BrowserLauncher::shared(),
                                           QWidget *parent = nullptr);
    ~IncorrectImagesViewController() override;

    // Why the vault did not open, a sentence for the user; empty for wrong pictures.
    void setReason(const QString &reason);
    QPushButton *actionButton() const;

    std::function<void()> didDismiss;

    void retry();
    // A mail to the feedback address with the subject "Feedback", then back to the grids.
    void sendFeedback();

protected:
    // Keys this screen does not use stop here, not on the grids underneath.
    void keyPressEvent(QKeyEvent *event) override;

private:
    std::unique_ptr<Ui::IncorrectImagesViewController> ui;
    BrowserLauncher &m_launcher;
};

} // namespace pexi
