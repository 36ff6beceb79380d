#include "app/SettingsPopupMenuItem.h"
#include "core/InventoryItem.h"
#include "inventory/InventoryMenuViewController.h"

#include <QApplication>
#include <QPointer>
#include <QTest>
#include <QUrl>

using namespace pexi;

class TestInventoryMenuViewController : public QObject
{
    Q_OBJECT

    QStringList m_done;
    QWidget m_list;
    QPointer<InventoryMenuViewController> m_menu;

    // The menu of `item` at a button at (280, 40, 30, 30) of the list; the list's actions note
    // what they did.
    QWidget *openMenu(const InventoryItem &item)
    {
        const auto note = [this](const QString &done) { return [this, done] { m_done << done; }; };
        m_menu = InventoryMenuViewController::forItem(
            item,
            {[this](const QUrl &url) { m_done << "open " + url.toString(); }, note("Show password"),
             note("Copy password"), note("Copy username"), note("View / Edit"), note("Delete")});
        m_menu->popUp(&m_list, QRect(280, 40, 30, 30));
        return QTest::qWaitForWindowExposed(m_menu->window()) ? m_menu->window() : nullptr;
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

    // The item's site and user name (null: absent), the entries offered, each clicked in turn,
    // and the address "Open in browser" hands over.
    void entries_data()
    {
        QTest::addColumn<QString>("site");
        QTest::addColumn<QString>("username");
        QTest::addColumn<QStringList>("offered");
        QTest::addColumn<QString>("address");
        const QStringList all{"Open in browser", "Show password", "Copy password",
                              "Copy username",   "View / Edit",   "Delete"};
        const QStringList neither{all[1], all[2], all[4], all[5]};
        const auto row = [](const char *name, const QString &site, const QString &username,
                            const QStringList &offered, const char *address) {
            QTest::newRow(name) << site << username << offered << QString(address);
        };
        row("both", "Example.COM", "ada", all, "https://example.com");
        row("address kept", "http://a.test:8080/x?y=1", "ada", all, "http://a.test:8080/x?y=1");
        row("neither", QString(), QString(), neither, "");
        row("both empty", "", "", neither, "");
        row("site makes no address", "bad host.com", "ada", all.mid(1, 3) + neither.mid(2), "");
        row("only a site", "example.org", "", all.mid(0, 3) + neither.mid(2),
            "https://example.org");
    }
    void entries()
    {
        QFETCH(QString, site);
        QFETCH(QString, username);
        QFETCH(QStringList, offered);
        QFETCH(QString, address);
        const auto optional = [](const QString &text) {
            return text.isNull() ? std::nullopt : std::optional<QString>(text);
        };
        QWidget *window = openMenu(InventoryItem("Mail", optional(username), "pw", optional(site)));
        QVERIFY(window);
        // Hanging to the left of and below the middle of the button, (295, 55) in the list.
        QCOMPARE(window->geometry().topRight() + QPoint(1, 0), QPoint(100 + 295, 100 + 55));
        QStringList shown;
        for (SettingsPopupMenuItem *entry : m_menu->findChildren<SettingsPopupMenuItem *>()) {
            shown << entry->title();
            QTest::mouseClick(entry, Qt::LeftButton);
        }
        QCOMPARE(shown, offered);
        QCOMPARE(m_done, offered.replaceInStrings("Open in browser", "open " + address));
    }

    // Closed by the user (Escape; another window taking over closes it the same way) the menu
    // tells didClose; dismissed by the list after an action it does not. Either way the pop-up
    // and the menu go.
    void closing_data()
    {
        QTest::addColumn<QString>("how");
        QTest::addColumn<int>("didClose");
        QTest::newRow("Escape") << "escape" << 1;
        QTest::newRow("copy, then dismissed") << "copy" << 0;
    }
    void closing()
    {
        QFETCH(QString, how);
        QFETCH(int, didClose);
        QWidget *window = openMenu(InventoryItem("Mail", "ada", "pw"));
        QVERIFY(window);
        int closes = 0;
        m_menu->didClose = [&closes] { ++closes; };
        m_menu->didCopyPassword = [this] { m_menu->dismiss(); };
        m_menu->viewDidLoad();
        QTRY_COMPARE(QApplication::activeWindow(), window);
        if (how == "escape")
            QTest::keyClick(window, Qt::Key_Escape);
        else
            QTest::mouseClick(m_menu->findChildren<SettingsPopupMenuItem *>().at(1),
                              Qt::LeftButton);
        QTRY_VERIFY(m_menu.isNull());
        QCOMPARE(closes, didClose);
    }
};

QTEST_MAIN(TestInventoryMenuViewController)
#include "tst_inventorymenuviewcontroller.moc"
