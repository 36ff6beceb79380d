#pragma once

#include "core/GridLibrary.h"
#include "core/Locker.h"
#include "core/Vault.h"
#include "extension/BrowserController.h"
#include "platform/BrowserLauncher.h"
#include "recall/RecallCollectionViewControllerDelegate.h"
#include "recall/RecallUnlocker.h"

#include <QPointer>
#include <QWidget>

#include <memory>

namespace Ui {
class RecallViewController;
}

namespace pexi {

class IncorrectImagesViewController;
class RecallCollectionViewController;
class RecallViewControllerDelegate;
class VaultSetupViewController;

// What the recall screen works with; the process-wide ones unless told otherwise.
struct RecallServices
{
    GridLibrary &grids = GridLibrary::instance();
    Vault &vault = Vault::shared();
    Locker &locker = Locker::instance();
    BrowserController &browser = BrowserController::instance();
    BrowserLauncher &launcher = BrowserLauncher::shared();
};

// The picture unlock: three grids, one a page, each with its picks. Once all three are
// complete the picks become the recall secret and the vault is opened with it, off this
// thread; the grids are emptied and page 1 shown whatever the outcome.
class RecallViewController : public QWidget, public RecallCollectionViewControllerDelegate
{
    Q_OBJECT
public:
    explicit RecallViewController(RecallServices services = {}, QWidget *parent = nullptr);
    ~RecallViewController() override;

    void setDelegate(RecallViewControllerDelegate *delegate) { m_delegate = delegate; }

    RecallCollectionViewController *page(int index) const;
    int selectedIndex() const;
    void resetSelections();
    // Empty grids, page 1.
    void reset();
    bool isUnlocking() const { return m_unlocker.isRunning(); }

    void helpButtonClicked();
    // `reason`: why the vault could not be read; empty for wrong pictures.
    void presentFailure(const QString &reason);

    void recallCollectionViewControllerDidSelectItem(RecallCollectionViewController *grid) override;

protected:
    void showEvent(QShowEvent *event) override;

private:
    void loadGrids();
    void showPickCount(const RecallCollectionViewController *grid);
    void presentVaultSetup();
    void unlock();

    std::unique_ptr<Ui::RecallViewController> ui;
    RecallServices m_services;
    RecallUnlocker m_unlocker;
    RecallViewControllerDelegate *m_delegate = nullptr;
    QPointer<VaultSetupViewController> m_vaultSetup;
};

} // namespace pexi
