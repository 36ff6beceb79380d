#include "inventory/InventoryMenuViewController.h"

#include "app/SettingsPopupMenuItem.h"
#include "app/SettingsPopupMenuWindow.h"
#include "core/InventoryItem.h"
#include "extension/BrowserController.h"
#include "ui/Appearance.h"

#include <QEvent>
#include <QFrame>
#include <QLabel>
#include <QVBoxLayout>

namespace pexi {

namespace {

// Wide enough for the longest entry; a longer title is cut short with an ellipsis.
constexpr int titleWidth = 200;

} // namespace

InventoryMenuViewController::InventoryMenuViewController(const QString &title, QWidget *parent)
    : QWidget(parent), m_titleLabel(new QLabel(this)), m_menuTableView(new QWidget(this))
{
    setAccessibleName(QStringLiteral("Item actions"));
    m_titleLabel->setAccessibleName(QStringLiteral("Title"));
    m_titleLabel->setFont(Appearance::mediumFont(13));
    // Lined up with the entries' icons.
    m_titleLabel->setContentsMargins(11, 6, 14, 4);
    m_menuTableView->setAccessibleName(QStringLiteral("Actions"));
    auto *rows = new QVBoxLayout(m_menuTableView);
    rows->setContentsMargins(0, 0, 0, 0);
    rows->setSpacing(1);

    auto *divider = new QFrame(this);
    divider->setFrameShape(QFrame::HLine);
    divider->setFrameShadow(QFrame::Plain);
    divider->setForegroundRole(QPalette::Mid);

    auto *layout = new QVBoxLayout(this);
    layout->setContentsMargins(0, 5, 0, 5);
    layout->setSpacing(4);
    layout->addWidget(m_titleLabel);
    layout->addWidget(divider);
    layout->addWidget(m_menuTableView);
    updateTitle(title);
}

InventoryMenuViewController *InventoryMenuViewController::forItem(const InventoryItem &item,
                                                                  ItemActions actions)
{
    auto *menu = new InventoryMenuViewController(item.title());
    const std::optional<QString> &site = item.site();
    if (site && !site->isEmpty()) {
        if (const std::optional<QUrl> url = BrowserController::normalizedURL(*site)) {
            menu->didOpenInBrowser = [open = std::move(actions.openInBrowser), url = *url] {
                if (open)
                    open(url);
            };
        }
    }
    menu->didShowPassword = std::move(actions.showPassword);
    menu->didCopyPassword = std::move(actions.copyPassword);
    const std::optional<QString> &username = item.username();
    if (username && !username->isEmpty())
        menu->didCopyUsername = std::move(actions.copyUsername);
    menu->didView = std::move(actions.view);
    menu->didDelete = std::move(actions.deleteItem);
    return menu;
}

void InventoryMenuViewController::updateTitle(const QString &title)
{
    m_title = title;
    m_titleLabel->setText(
        m_titleLabel->fontMetrics().elidedText(title, Qt::ElideRight, titleWidth));
    m_titleLabel->setToolTip(title);
}

void InventoryMenuViewController::viewDidLoad()
{
    m_loaded = true;
    updateTitle(m_title);
    qDeleteAll(m_menuTableView->findChildren<SettingsPopupMenuItem *>(Qt::FindDirectChildrenOnly));
    m_items.clear();
    const auto add = [this](const char *icon, const char *title,
                            const std::function<void()> &action) {
        if (action)
            m_items.append({QString::fromLatin1(icon), QString::fromLatin1(title), action});
    };
    add("iconOpenBrowser", "Open in browser", didOpenInBrowser);
    add("iconShowPassword", "Show password", didShowPassword);
    add("iconCopy", "Copy password", didCopyPassword);
    add("iconCopy", "Copy username", didCopyUsername);
    add("iconView", "View / Edit", didView);
    add("iconDelete", "Delete", didDelete);
    for (int row = 0; row < m_items.size(); ++row) {
        m_menuTableView->layout()->addWidget(new SettingsPopupMenuItem(
            m_items[row].icon, m_items[row].title, [this, row] { itemClicked(row); },
            m_menuTableView));
    }
}

void InventoryMenuViewController::popUp(QWidget *view, const QRect &anchor)
{
    m_window = new SettingsPopupMenuWindow(this);
    m_window->installEventFilter(this);
    m_window->popUp(view->mapToGlobal(QRectF(anchor).center()).toPoint());
}

void InventoryMenuViewController::dismiss()
{
    m_dismissing = true;
    if (m_window)
        m_window->close();
}

void InventoryMenuViewController::itemClicked(int row)
{
    if (row < 0 || row >= m_items.size())
        return;
    // A copy: the action may dismiss the menu and with it these entries.
    const std::function<void()> action = m_items[row].action;
    action();
}

void InventoryMenuViewController::showEvent(QShowEvent *event)
{
    if (!m_loaded)
        viewDidLoad();
    QWidget::showEvent(event);
}

bool InventoryMenuViewController::eventFilter(QObject *watched, QEvent *event)
{
    if (watched == m_window && event->type() == QEvent::Close && !m_dismissing) {
        m_dismissing = true;
        if (didClose)
            didClose();
    }
    return QWidget::eventFilter(watched, event);
}

} // namespace pexi
