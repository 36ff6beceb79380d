#pragma once

#include "recall/PageControlDelegate.h"
#include "recall/RecallCollectionViewControllerDelegate.h"
#include "recall/RecallUnlocker.h"
#include "recall/VaultSetup.h"

#include <QWidget>

#include <array>
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
class VaultSetupViewController : public QWidget,
                                 public RecallCollectionViewControllerDelegate,
                                 public PageControlDelegate
{
    Q_OBJECT
public:
    static constexpr int numberOfGrids = 3;
    static const QString mismatchMessage;

    VaultSetupViewController(Vault &vault, Locker &locker, QWidget *parent = nullptr);
    ~VaultSetupViewController() override;

    RecallCollectionViewController *page(int index) const;
    int selectedIndex() const;
    void selectPageWithIndex(int index);
    // Shows the first page whose grid still lacks picks; false when all are complete.
    bool selectOldestIncompletePage();
    // Three new grids, every pick forgotten, back to the first round.
    void drawOtherPictures();

    void recallCollectionViewControllerDidSelectItem(RecallCollectionViewController *grid) override;
    void pageControl(PageControl *control, int didSelectPageAt) override;

signals:
    // The vault is made and open, its session installed.
    void unlocked();

protected:
    void keyPressEvent(QKeyEvent *event) override;
    void showEvent(QShowEvent *event) override;

private:
    void didTransition();
    void finishRound();
    void showRound(const QString &message = {});
    void setAcceptsPicks(bool accepts);

    std::unique_ptr<Ui::VaultSetupViewController> ui;
    VaultSetup m_setup;
    RecallUnlocker m_unlocker;
    std::array<RecallCollectionViewController *, numberOfGrids> m_pages{};
};

} // namespace pexi
