#pragma once

#include <QList>
#include <QPointer>
#include <QString>
#include <QWidget>

#include <functional>

class QLabel;
class QUrl;

namespace pexi {

class InventoryItem;
class SettingsPopupMenuWindow;

// The actions on one saved login, in a small pop-up at its row's menu button: the item's title,
// then one entry per action the list supplied, always in the same order. The menu draws the
// entries and runs the chosen one's closure; what is offered and what each does is the list's.
class InventoryMenuViewController : public QWidget
{
    Q_OBJECT
public:
    struct MenuItem
    {
        QString icon; // a name of ui/Icons.h
        QString title;
        std::function<void()> action;
    };

    // What the list does for an item; openInBrowser is handed the address its site makes.
    struct ItemActions
    {
        std::function<void(const QUrl &)> openInBrowser;
        std::function<void()> showPassword;
        std::function<void()> copyPassword;
        std::function<void()> copyUsername;
        std::function<void()> view;
        std::function<void()> deleteItem;
    };

    explicit InventoryMenuViewController(const QString &title, QWidget *parent = nullptr);

    // The menu of `item`, titled with its title. "Open in browser" only when its site is there,
    // not empty, and makes an address (an "https" one for a bare host); "Copy username" only when
    // its user name is there and not empty; the other four always.
    static InventoryMenuViewController *forItem(const InventoryItem &item, ItemActions actions);

    QString title() const { return m_title; }
    void updateTitle(const QString &title);
    const QList<MenuItem> &items() const { return m_items; }

    std::function<void()> didClose;
    std::function<void()> didOpenInBrowser;
    std::function<void()> didShowPassword;
    std::function<void()> didCopyPassword;
    std::function<void()> didCopyUsername;
    std::function<void()> didView;
    std::function<void()> didDelete;

    // One entry per closure set now, in the fixed order; runs when the menu is first shown.
    void viewDidLoad();
    // Opens the menu in its own pop-up window, hanging to the left of and below the middle of
    // `anchor` (in `view`'s coordinates: the row's menu button). The pop-up closes, and calls
    // didClose, on Escape or when the user turns to another window; it deletes the menu.
    void popUp(QWidget *view, const QRect &anchor);
    // Closes the pop-up after an action, without didClose.
    void dismiss();
    void itemClicked(int row);

protected:
    void showEvent(QShowEvent *event) override;
    bool eventFilter(QObject *watched, QEvent *event) override;

private:
    QString m_title;
    QLabel *m_titleLabel;
    QWidget *m_menuTableView;
    QList<MenuItem> m_items;
    QPointer<SettingsPopupMenuWindow> m_window;
    bool m_loaded = false;
    bool m_dismissing = false;
};

} // namespace pexi
