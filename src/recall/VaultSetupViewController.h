#pragma once

#include "recall/RecallCollectionViewControllerDelegate.h"
#include "recall/RecallUnlocker.h"
#include "recall/VaultSetup.h"

#include <QWidget>

#include <memory>

namespace Ui {
class VaultSetupViewController;
}

namespace pexi {

class Locker;
class RecallCollectionViewController;
class Vault;

// The unlock screen while there is no vault: the user picks three pictures in each of three
// grids drawn for them, picks them again, and the vault is made with those grids and opened.
class VaultSetupViewController : public QWidget, public RecallCollectionViewControllerDelegate
{
    Q_OBJECT
public:
    static const QString mismatchMessage;

    VaultSetupViewController(Vault &vault, Locker &locker, QWidget *parent = nullptr);
    ~VaultSetupViewController() override;

    RecallCollectionViewController *page(int index) const;
    int selectedIndex() const;
    // Three new grids, every pick forgotten, back to the first round.
    void drawOtherPictures();

    void recallCollectionViewControllerDidSelectItem(RecallCollectionViewController *grid) override;

signals:
    // The vault is made and open, its session installed.
    void unlocked();

protected:
    void showEvent(QShowEvent *event) override;

private:
    void showPickCount(const RecallCollectionViewController *grid);
    void finishRound();
    void showRound(const QString &message = {});
    void setAcceptsPicks(bool accepts);

    std::unique_ptr<Ui::VaultSetupViewController> ui;
    VaultSetup m_setup;
    RecallUnlocker m_unlocker;
};

} // namespace pexi
