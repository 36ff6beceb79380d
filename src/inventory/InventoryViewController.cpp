#include "inventory/InventoryViewController.h"

#include "ui_InventoryViewController.h"

#include "app/SettingsPopupMenuWindow.h"

#include "capture/screen/SavePasswordViewController.h"
#include "core/Constants.h"
#include "core/Inventory.h"
#include "core/Log.h"
#include "core/LoginImporter.h"
#include "core/VaultError.h"
#include "inventory/AddPasswordViewController.h"
#include "inventory/DeletePasswordViewController.h"
#include "inventory/EditPasswordViewController.h"
#include "inventory/InventoryItemDelegate.h"
#include "inventory/InventoryMenuViewController.h"
#include "inventory/ShowPasswordViewController.h"
#include "ui/Appearance.h"
#include "ui/Hud.h"
#include "ui/Icons.h"
#include "ui/SlidePresentationAnimator.h"

#include <QFile>
#include <QFileDialog>
#include <QFileInfo>

namespace pexi {

namespace {

// Spaces and tabs only: a line break typed into the search is kept.
QString trimSpacesAndTabs(const QString &text)
{
    const auto blank = [](QChar c) { return c == u' ' || c == u'\t'; };
    qsizetype begin = 0;
    qsizetype end = text.size();
    while (begin < end && blank(text.at(begin)))
        ++begin;
    while (end > begin && blank(text.at(end - 1)))
        --end;
    return text.mid(begin, end - begin);
}

void dismiss(QPointer<QWidget> &screen)
{
    if (screen)
        SlidePresentationAnimator::dismiss(screen);
    screen = nullptr;
}

} // namespace

InventoryViewController::InventoryViewController(InventoryServices services, QWidget *parent)
    : QWidget(parent), m_services(services), ui(std::make_unique<Ui::InventoryViewController>()),
      m_delegate(new InventoryItemDelegate(this))
{
    ui->setupUi(this);
    setAutoFillBackground(true);
    ui->titleLabel->setFont(Appearance::mediumFont(17));
    ui->addButton->setIcon(tintedIcon(QStringLiteral("iconAdd")));
    ui->settingsButton->setIcon(tintedIcon(QStringLiteral("iconSettings")));
    ui->inventoryTableView->setModel(&m_model);
    ui->inventoryTableView->setItemDelegate(m_delegate);
    ui->searchFieldView->hide();
    ui->emptyView->hide();

    connect(ui->searchField, &QLineEdit::textChanged, this,
            &InventoryViewController::searchChanged);
    connect(m_delegate, &InventoryItemDelegate::itemClicked, this,
            &InventoryViewController::showActions);
    connect(m_delegate, &InventoryItemDelegate::menuButtonClicked, this,
            &InventoryViewController::showActions);
    connect(ui->addButton, &QPushButton::clicked, this,
            &InventoryViewController::addPasswordClicked);
    connect(ui->settingsButton, &QPushButton::clicked, this,
            [this] { m_services.settingsMenu.open(ui->settingsButton); });
    connect(ui->importButton, &QPushButton::clicked, this, &InventoryViewController::importClicked);
    connect(&m_services.locker, &Locker::inventoryChanged, this,
            &InventoryViewController::followChange);
}

InventoryViewController::~InventoryViewController()
{
    if (isVisible())
        m_services.sync.setInventoryUpdatedHandler({});
}

QString InventoryViewController::searchText() const
{
    return trimSpacesAndTabs(ui->searchField->text());
}

void InventoryViewController::refresh()
{
    readRows(false);
}

void InventoryViewController::searchChanged()
{
    // A key that extends the search can only narrow what the last one found.
    const QString text = searchText();
    readRows(!m_rowsSearch.isEmpty() && text.contains(m_rowsSearch));
}

void InventoryViewController::readRows(bool narrowing)
{
    const QString text = searchText();
    int total = 0;
    QList<InventoryItem> rows;
    const bool unlocked = m_services.locker.runWithInventory([&](Inventory &inventory) {
        total = inventory.count();
        if (text.isEmpty())
            rows = inventory.itemList();
        else
            rows = narrowing ? inventory.search(text, m_model.rows()) : inventory.search(text);
    });
    m_model.setRows(rows);
    m_rowsSearch = unlocked ? text : QString();
    showControls(total);
}

void InventoryViewController::followChange(const InventoryChange &change)
{
    bool followed = false;
    int total = 0;
    m_services.locker.runWithInventory([&](Inventory &inventory) {
        followed = m_model.apply(change, inventory, searchText());
        total = inventory.count();
    });
    if (followed)
        showControls(total);
    else
        refresh();
}

void InventoryViewController::refreshControls()
{
    int total = 0;
    m_services.locker.runWithInventory([&](Inventory &inventory) { total = inventory.count(); });
    showControls(total);
}

void InventoryViewController::showControls(int total)
{
    // The total, not the matches: a search that finds nothing keeps its field.
    ui->searchFieldView->setVisible(total >=
                                    Constants::AppConstants::MIN_ITEMS_FOR_SEARCH_AND_INDEXES);
    ui->emptyView->setVisible(total == 0);
    ui->inventoryTableView->setVisible(total > 0);
}

void InventoryViewController::scrollToItem(const InventoryItem &item)
{
    const int row = m_model.rowOf(item.uuid());
    if (row >= 0)
        ui->inventoryTableView->scrollTo(m_model.index(row));
}

bool InventoryViewController::write(const std::function<void(Inventory &)> &block)
{
    try {
        m_services.locker.runWithInventory(block);
        return true;
    } catch (const VaultError &error) {
        hudWithTitle(this, error.message());
        return false;
    }
}

void InventoryViewController::didAddPassword(const InventoryItem &item)
{
    if (!write([&](Inventory &inventory) {
            m_services.analytics.logEvent(QStringLiteral("Mac_PasswordAdded"));
            inventory.upsert(item);
        }))
        return;
    refreshControls();
    dismiss(m_addScreen);
    scrollToItem(item);
    hudWithTitle(this, tr("Password saved"));
}

void InventoryViewController::didSavePassword(const InventoryItem &item)
{
    if (!write([&](Inventory &inventory) {
            const std::optional<InventoryItem> existing = inventory.item(item.uuid());
            if (!existing || existing->deleted())
                m_services.analytics.logEvent(QStringLiteral("Mac_PasswordAdded"));
            inventory.upsert(item);
        }))
        return;
    refreshControls();
    dismiss(m_saveScreen);
    scrollToItem(item);
    hudWithTitle(this, tr("Password saved"));
}

void InventoryViewController::didUpdatePassword(const InventoryItem &item)
{
    if (!write([&](Inventory &inventory) { inventory.upsert(item); }))
        return;
    refreshControls();
    dismiss(m_editScreen);
    dismissMenu();
    scrollToItem(item);
}

void InventoryViewController::didDeletePassword(const InventoryItem &item)
{
    if (!write([&](Inventory &inventory) { inventory.deleteItem(item.uuid()); }))
        return;
    refreshControls();
    hudWithTitle(this, tr("Password deleted"));
    dismiss(m_deleteScreen);
    dismissMenu();
}

void InventoryViewController::inventoryUpdatedFromRemote()
{
    logLine(logDate() + QStringLiteral(" Inventory updated from remote source: refreshing."));
    // The name is the one every remote update has always been logged under, whatever changed.
    m_services.analytics.logEvent(QStringLiteral("Mac_PasswordDeleted"));
    // The rows already followed the change through the locker.
    refreshControls();
}

void InventoryViewController::present(QWidget *screen)
{
    SlidePresentationAnimator::present(
        screen, this, new SlidePresentationAnimator(SlidePresentationAnimator::SlideLeft, 0.2));
}

void InventoryViewController::addPasswordClicked()
{
    auto *screen = new AddPasswordViewController;
    screen->didAddPassword = [this](const InventoryItem &item) { didAddPassword(item); };
    screen->didClose = [this] { dismiss(m_addScreen); };
    m_addScreen = screen;
    present(screen);
}

void InventoryViewController::presentSavePassword(const InventoryItem &item)
{
    auto *screen = new SavePasswordViewController;
    screen->item = item;
    screen->didSavePassword = [this](const InventoryItem &saved) { didSavePassword(saved); };
    screen->didClose = [this] { dismiss(m_saveScreen); };
    m_saveScreen = screen;
    present(screen);
}

void InventoryViewController::showActions(const QModelIndex &index)
{
    const InventoryItem item = m_model.item(index.row());
    InventoryMenuViewController::ItemActions actions;
    actions.openInBrowser = [this, item](const QUrl &url) { openInBrowser(item, url); };
    actions.showPassword = [this, item] { presentShowPassword(item); };
    actions.copyPassword = [this, item] { copy(item.password(), tr("Password copied")); };
    actions.copyUsername = [this, item] {
        copy(item.username().value_or(QString()), tr("Username copied"));
    };
    actions.view = [this, item] { presentEdit(item); };
    actions.deleteItem = [this, item] { presentDelete(item); };
    dismissMenu();
    m_menu = InventoryMenuViewController::forItem(item, std::move(actions));
    QListView *list = ui->inventoryTableView;
    m_menu->popUp(list->viewport(), InventoryItemDelegate::menuButtonRect(list->visualRect(index)));
}

void InventoryViewController::dismissMenu()
{
    if (m_menu)
        m_menu->dismiss();
    m_menu = nullptr;
}

void InventoryViewController::openInBrowser(const InventoryItem &item, const QUrl &url)
{
    // So that the extension's next request for this host is matched to the item opened.
    if (!url.host().isEmpty())
        m_services.browser.recordLogin(url.host(), item.uuid());
    m_services.browser.open(url);
    logLine(QStringLiteral("didOpenInBrowser: ") + url.toString());
}

void InventoryViewController::copy(const QString &text, const QString &done)
{
    m_services.pasteboard.copy(text);
    hudWithTitle(this, done);
    dismissMenu();
}

void InventoryViewController::presentShowPassword(const InventoryItem &item)
{
    auto *screen = new ShowPasswordViewController(item.title(), item.password());
    screen->didClose = [this] { dismiss(m_showScreen); };
    m_showScreen = screen;
    present(screen);
}

void InventoryViewController::presentEdit(const InventoryItem &item)
{
    auto *screen = new EditPasswordViewController(item);
    screen->didUpdatePassword = [this](const InventoryItem &edited) { didUpdatePassword(edited); };
    screen->didClose = [this] { dismiss(m_editScreen); };
    m_editScreen = screen;
    present(screen);
}

void InventoryViewController::presentDelete(const InventoryItem &item)
{
    auto *screen = new DeletePasswordViewController(item.title());
    screen->didDelete = [this, item] { didDeletePassword(item); };
    screen->didClose = [this] { dismiss(m_deleteScreen); };
    m_deleteScreen = screen;
    present(screen);
}

void InventoryViewController::importClicked()
{
    const QString path = QFileDialog::getOpenFileName(this, tr("Import passwords"), QString(),
                                                      tr("CSV files (*.csv);;All files (*)"));
    if (!path.isEmpty())
        importLogins(path);
}

void InventoryViewController::importLogins(const QString &path)
{
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly)) {
        hudWithTitle(this, tr("Cannot read %1").arg(QFileInfo(path).fileName()));
        return;
    }
    QList<CsvLogin> logins;
    try {
        logins = LoginCsv::parse(QString::fromUtf8(file.readAll()));
    } catch (const CsvError &error) {
        hudWithTitle(this, QString::fromStdString(error.what()));
        return;
    }
    LoginImporter::Result result;
    if (!write([&](Inventory &inventory) { result = LoginImporter::import(inventory, logins); }))
        return;
    refreshControls();
    const qsizetype added = result.added.size();
    hudWithTitle(this, added == 1 ? tr("1 password added") : tr("%1 passwords added").arg(added));
}

void InventoryViewController::showEvent(QShowEvent *event)
{
    QWidget::showEvent(event);
    refresh();
    m_services.sync.setInventoryUpdatedHandler([this] { inventoryUpdatedFromRemote(); });
}

void InventoryViewController::hideEvent(QHideEvent *event)
{
    m_services.sync.setInventoryUpdatedHandler({});
    QWidget::hideEvent(event);
}

} // namespace pexi
