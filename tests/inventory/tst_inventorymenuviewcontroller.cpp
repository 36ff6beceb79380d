#include "app/SettingsPopupMenuItem.h"
#include "app/SettingsPopupMenuWindow.h"
#include "core/InventoryItem.h"
#include "inventory/InventoryMenuViewController.h"

#include <QApplication>
#include <QPointer>
#include <QTest>
#include <QUrl>

using namespace pexi;

namespace {

std::optional<QString> optional(const QString &text)
{
    return text == "-" ? std::nullopt : std::optional<QString>(text);
}

} // namespace

class TestInventoryMenuViewController : public QObject
{
    Q_OBJECT

    QStringList m_done;
    QWidget m_list;
    QRect m_button{280, 40, 30, 30};
    QPointer<InventoryMenuViewController> m_menu;

    // The list's actions, each noting what it did.
    InventoryMenuViewController::ItemActions actions()
    {
        return {[this](const QUrl &url) { m_done << "open " + url.toString(); },
                [this] { m_done << "Show password"; },
                [this] { m_done << "Copy password"; },
                [this] { m_done << "Copy username"; },
                [this] { m_done << "View / Edit"; },
                [this] { m_done << "Delete"; }};
    }
    SettingsPopupMenuWindow *openMenu(const InventoryItem &item)
    {
        m_menu = InventoryMenuViewController::forItem(item, actions());
        m_menu->popUp(&m_list, m_button);
        auto *window = qobject_cast<SettingsPopupMenuWindow *>(m_menu->window());
        return window && QTest::qWaitForWindowExposed(window) ? window : nullptr;
    }
    QList<SettingsPopupMenuItem *> menuEntries() const
    {
        return m_menu->findChildren<SettingsPopupMenuItem *>();
    }

private slots:
    void initTestCase()
    {
        m_list.setGeometry(100, 100, 320, 400);
        m_list.show();
        QVERIFY(QTest::qWaitForWindowExposed(&m_list));
    }
    void init() { m_done.clear(); }
    void cleanup()
    {
        if (m_menu)
            delete m_menu->window();
    }

    // The item's site and user name ("-": absent), then the entries offered, each clicked in turn
    // and run, and the address a click on "Open in browser" hands over.
    void entries_data()
    {
        QTest::addColumn<QString>("site");
        QTest::addColumn<QString>("username");
        QTest::addColumn<QStringList>("offered");
        QTest::addColumn<QString>("address");
        const QStringList always{"Show password", "Copy password", "View / Edit", "Delete"};
        const QStringList all{"Open in browser", "Show password", "Copy password",
                              "Copy username",   "View / Edit",   "Delete"};
        QTest::newRow("both") << "Example.COM"
                              << "ada" << all << "https://example.com";
        QTest::newRow("full address kept") << "http://a.test:8080/x?y=1"
                                           << "ada" << all << "http://a.test:8080/x?y=1";
        QTest::newRow("neither") << "-"
                                 << "-" << always << "";
        QTest::newRow("both empty") << ""
                                    << "" << always << "";
        QTest::newRow("site makes no address")
            << "bad host.com"
            << "ada" << always.mid(0, 2) + QStringList{"Copy username"} + always.mid(2) << "";
        QTest::newRow("only a site")
            << "example.org"
            << "" << QStringList{"Open in browser"} + always << "https://example.org";
    }
    void entries()
    {
        QFETCH(QString, site);
        QFETCH(QString, username);
        QFETCH(QStringList, offered);
        QFETCH(QString, address);
        SettingsPopupMenuWindow *window =
            openMenu(InventoryItem("Mail", optional(username), "pw", optional(site)));
        QVERIFY(window);
        // Hanging to the left of and below the middle of the button, (295, 55) in the list.
        QCOMPARE(window->geometry().topRight() + QPoint(1, 0), QPoint(100 + 295, 100 + 55));

        QStringList shown;
        for (SettingsPopupMenuItem *entry : menuEntries()) {
            shown << entry->title();
            QTest::mouseClick(entry, Qt::LeftButton);
        }
        QCOMPARE(shown, offered);
        QStringList expected = offered;
        expected.replaceInStrings("Open in browser", "open " + address);
        QCOMPARE(m_done, expected);
    }

    // How the menu goes: closed by the user (Escape, another window) it tells didClose; dismissed
    // by the list after an action it does not. Either way the pop-up and the menu go.
    void closing_data()
    {
        QTest::addColumn<QString>("how");
        QTest::addColumn<int>("didClose");
        QTest::newRow("Escape") << "escape" << 1;
        QTest::newRow("another window") << "other" << 1;
        QTest::newRow("copy, then dismissed") << "copy" << 0;
    }
    void closing()
    {
        QFETCH(QString, how);
        QFETCH(int, didClose);
        int closes = 0;
        SettingsPopupMenuWindow *window = openMenu(InventoryItem("Mail", "ada", "pw"));
        QVERIFY(window);
        m_menu->didClose = [&closes] { ++closes; };
        m_menu->didCopyPassword = [this] { m_menu->dismiss(); };
        m_menu->viewDidLoad();
        QTRY_COMPARE(QApplication::activeWindow(), window);
        if (how == "escape")
            QTest::keyClick(window, Qt::Key_Escape);
        else if (how == "other")
            m_list.activateWindow();
        else
            QTest::mouseClick(menuEntries().at(1), Qt::LeftButton);
        QTRY_VERIFY(m_menu.isNull());
        QCOMPARE(closes, didClose);
    }
};

QTEST_MAIN(TestInventoryMenuViewController)
#include "tst_inventorymenuviewcontroller.moc"
