#include "app/SettingsPopupMenu.h"
#include "app/SettingsPopupMenuItem.h"
#include "capture/screen/SavePasswordViewController.h"
#include "core/Inventory.h"
#include "inventory/AddPasswordViewController.h"
#include "inventory/DeletePasswordViewController.h"
#include "inventory/EditPasswordViewController.h"
#include "inventory/InventoryItemDelegate.h"
#include "inventory/InventoryViewController.h"
#include "support/AnalyticsServer.h"
#include "support/DesktopDoubles.h"
#include "support/Files.h"
#include "support/ItemText.h"
#include "support/ScreenInput.h"
#include "support/StandardOutputCapture.h"
#include "support/TemporaryPreferences.h"
#include "support/TemporaryVault.h"

#include <QLineEdit>
#include <QListView>
#include <QNetworkReply>
#include <QPushButton>
#include <QSignalSpy>
#include <QTest>

using namespace pexi;

namespace {

const QUuid accountId("{6f1c2a9e-3b7d-4e15-a0c4-9d2e8b7f5a31}");

InventoryItem login(const QString &title, const std::optional<QString> &username = std::nullopt,
                    const std::optional<QString> &site = std::nullopt)
{
    return InventoryItem(title, username, QStringLiteral("secret"), site);
}

QList<InventoryItem> numbered(int count)
{
    QList<InventoryItem> items;
    for (int i = 0; i < count; ++i)
        items.append(login(QStringLiteral("Account %1").arg(i, 3, 10, QChar(u'0')),
                           QStringLiteral("user%1").arg(i)));
    return items;
}

// The list on screen over a real vault, with the analytics going to a server on loopback.
struct ListOnScreen
{
    TemporaryVault vault;
    SyncService sync{vault.vault, vault.locker};
    NullLauncher launcher;
    BrowserController browser{launcher};
    NullApplicationLauncher applications;
    TemporaryPreferences preferencesStore;
    std::unique_ptr<Preferences> preferences = preferencesStore.preferences();
    SettingsPopupMenu settings{{vault.locker, browser, launcher, applications, *preferences}};
    AnalyticsServer server;
    QNetworkAccessManager network;
    AnalyticsLogger analytics{[] { return std::optional(accountId); }, &network};
    PasteboardController pasteboard;
    std::unique_ptr<InventoryViewController> screen;
    QListView *list = nullptr;
    QLineEdit *searchField = nullptr;

    explicit ListOnScreen(const QList<InventoryItem> &items)
    {
        server.userId = accountId.toString(QUuid::WithoutBraces).toUpper();
        qputenv("PEXI_ANALYTICS_BASE",
                QStringLiteral("http://127.0.0.1:%1/graph/v2.10/").arg(server.port()).toLatin1());
        vault.unlock();
        vault.locker.runWithInventory([&](Inventory &inventory) { inventory.add(items); });
        screen = std::make_unique<InventoryViewController>(
            InventoryServices{vault.locker, sync, analytics, settings, browser, pasteboard});
        screen->resize(340, 440);
        screen->show();
        list = screen->findChild<QListView *>();
        searchField = named<QLineEdit>(screen.get(), "Search passwords");
    }

    QStringList shownTitles() const { return titles(screen->model().rows()); }
    QStringList coreTitles(const QString &search = {})
    {
        QStringList found;
        vault.locker.runWithInventory(
            [&](Inventory &inventory) { found = titles(inventory.search(search)); });
        return found;
    }
    bool rowVisible(const QString &title) const
    {
        const int row = int(shownTitles().indexOf(title));
        return row >= 0 &&
               list->viewport()->rect().intersects(list->visualRect(screen->model().index(row)));
    }
    // The events the server was sent, once every request has had its answer.
    QString events()
    {
        const auto pending = [&] {
            const auto replies = network.findChildren<QNetworkReply *>();
            return std::count_if(replies.begin(), replies.end(),
                                 [](QNetworkReply *reply) { return !reply->isFinished(); });
        };
        [&] { QTRY_COMPARE_WITH_TIMEOUT(pending(), 0, 10000); }();
        return server.requests.join(", ");
    }
    // Waits for a screen of that type to have slid in over the list.
    template <class T> T *presented() const
    {
        T *shown = nullptr;
        [&] {
            QTRY_VERIFY((shown = screen->findChild<T *>()) && shown->geometry() == screen->rect());
        }();
        return shown;
    }
    // Opens the row's actions with its menu button and picks one.
    void pick(int row, const QString &action)
    {
        const QRect rect = list->visualRect(screen->model().index(row));
        QTest::mouseClick(list->viewport(), Qt::LeftButton, {},
                          InventoryItemDelegate::menuButtonRect(rect).center());
        for (SettingsPopupMenuItem *item :
             screen->menu()->findChildren<SettingsPopupMenuItem *>()) {
            if (item->title() == action)
                QTest::mouseClick(item, Qt::LeftButton);
        }
    }
};

} // namespace

class TestInventoryViewController : public QObject
{
    Q_OBJECT

private slots:
    // The field counts every item in the vault, not the matches; its text is trimmed of spaces
    // and tabs only.
    void searchFieldAndRows_data()
    {
        QTest::addColumn<int>("items");
        QTest::addColumn<QString>("search");
        QTest::addColumn<bool>("fieldShown");
        QTest::addColumn<QStringList>("rows");
        const QStringList ten = titles(numbered(10));
        QTest::newRow("empty vault") << 0 << "" << false << QStringList();
        QTest::newRow("nine") << 9 << "" << false << ten.mid(0, 9);
        QTest::newRow("ten") << 10 << "" << true << ten;
        QTest::newRow("matching nothing") << 10 << "zebra" << true << QStringList();
        QTest::newRow("spaces and tabs around")
            << 10 << " \tunt 004\t " << true << QStringList{"Account 004"};
        QTest::newRow("user name") << 10 << "USER7" << true << QStringList{"Account 007"};
    }
    void searchFieldAndRows()
    {
        QFETCH(int, items);
        QFETCH(QString, search);
        QFETCH(bool, fieldShown);
        QFETCH(QStringList, rows);
        ListOnScreen list(numbered(items));
        list.searchField->insert(search); // as pasted: a tab typed would move the focus
        QCOMPARE(list.searchField->isVisible(), fieldShown);
        QCOMPARE(list.shownTitles(), rows);
        QCOMPARE(named<QWidget>(list.screen.get(), "Empty vault") != nullptr, items == 0);
    }

    // Each key shows what the core finds for the whole text, whether it narrows or widens it,
    // and an item added meanwhile is among what the next key narrows.
    void typingShowsTheCoresMatches_data()
    {
        QTest::addColumn<QString>("typed");
        QTest::newRow("from the start") << "account 12";
        QTest::newRow("in the middle") << "12";
    }
    void typingShowsTheCoresMatches()
    {
        QFETCH(QString, typed);
        ListOnScreen list(numbered(200));
        for (const QChar key : typed) {
            QTest::keyClick(list.searchField, key.toLatin1());
            QCOMPARE(list.shownTitles(), list.coreTitles(list.searchField->text()));
        }
        list.vault.locker.runWithInventory(
            [&](Inventory &inventory) { inventory.upsert(login(typed + "9 new")); });
        for (const auto key : {Qt::Key_9, Qt::Key_Backspace, Qt::Key_Backspace}) {
            QTest::keyClick(list.searchField, key);
            QCOMPARE(list.shownTitles(), list.coreTitles(list.searchField->text()));
        }
        QVERIFY(list.shownTitles().contains(typed + "9 new"));
    }

    // A change is followed row by row in the core's order and with its matches, whether the list
    // shows everything or a search; only a large one reads the rows again.
    void rowsFollowTheCore_data()
    {
        QTest::addColumn<QString>("search");
        QTest::addColumn<QString>("change");
        for (const char *search : {"", "acc"}) {
            for (const char *change : {"add first", "add last", "add unmatched", "retitle down",
                                       "retitle out", "rename user", "delete", "bulk"})
                QTest::addRow("'%s', %s", search, change) << search << change;
        }
    }
    void rowsFollowTheCore()
    {
        QFETCH(QString, search);
        QFETCH(QString, change);
        ListOnScreen list(numbered(20));
        list.searchField->setText(search);
        QSignalSpy resets(&list.screen->model(), &QAbstractItemModel::modelReset);
        list.vault.locker.runWithInventory([&](Inventory &inventory) {
            const InventoryItem fifth = inventory.itemList().at(5);
            InventoryItem retitled = fifth;
            retitled.setTitle(change == "retitle down" ? "Account 0155" : "Bank");
            InventoryItem renamed = fifth;
            renamed.setUsername("someone else");
            const QMap<QString, std::function<void()>> changes = {
                {"add first", [&] { inventory.upsert(login("Access", "a")); }},
                {"add last", [&] { inventory.upsert(login("Account 999")); }},
                {"add unmatched", [&] { inventory.upsert(login("Zebra")); }},
                {"retitle down", [&] { inventory.upsert(retitled); }},
                {"retitle out", [&] { inventory.upsert(retitled); }},
                {"rename user", [&] { inventory.upsert(renamed); }},
                {"delete", [&] { inventory.deleteItem(fifth.uuid()); }},
                {"bulk", [&] { inventory.add(numbered(InventoryListModel::largeChange + 1)); }}};
            changes.value(change)();
        });
        QCOMPARE(list.shownTitles(), list.coreTitles(search));
        QCOMPARE(resets.count(), change == "bulk" ? 1 : 0);
    }

    // A click on a row or on its menu button opens that item's actions; nothing is selected,
    // and a click below the rows does nothing. A row without a user name shows its title alone.
    void clicksOpenTheActionsAndSelectNothing()
    {
        ListOnScreen list({login("Absent"), login("Empty", ""), login("Named", "ada")});
        QVERIFY(QTest::qWaitForWindowExposed(list.screen.get()));
        QStringList menus;
        for (const int row : {1, 2}) {
            const QRect rect = list.list->visualRect(list.screen->model().index(row));
            QTest::mouseClick(list.list->viewport(), Qt::LeftButton, {},
                              row == 1 ? rect.center()
                                       : InventoryItemDelegate::menuButtonRect(rect).center());
            menus << list.screen->menu()->title();
            list.screen->menu()->dismiss();
        }
        QTest::mouseClick(list.list->viewport(), Qt::LeftButton, {}, QPoint(10, 400));
        QCOMPARE(menus, QStringList({"Empty", "Named"}));
        QTRY_VERIFY(!list.screen->menu());
        QVERIFY(!list.list->selectionModel()->hasSelection());
        QStringList usernames;
        for (int row = 0; row < 3; ++row)
            usernames << list.screen->model()
                             .index(row)
                             .data(InventoryListModel::UsernameRole)
                             .toString();
        QCOMPARE(usernames, QStringList({"", "", "ada"}));
    }

    // Another process's write: one dated line, the event, the row; nothing once off screen.
    void remoteUpdateIsLoggedAndShown()
    {
        ListOnScreen list(numbered(2));
        list.sync.start();
        TemporaryVault other(false, &list.vault);
        QVERIFY(other.unlock());
        StandardOutputCapture output;
        for (const bool shown : {true, false}) {
            list.screen->setVisible(shown);
            other.locker.runWithInventory(
                [&](Inventory &inventory) { inventory.upsert(login(shown ? "Seen" : "Unseen")); });
            list.sync.checkNow();
            // Qt's own warnings may come between.
            const QStringList lines = output.takeLines().filter("Inventory updated");
            QCOMPARE(lines.size(), int(shown));
            static const QRegularExpression line(
                "^\\d{4}-\\d\\d-\\d\\d \\d\\d:\\d\\d:\\d\\d \\+0000 Inventory updated from "
                "remote source: refreshing\\.$");
            QVERIFY(!shown || line.match(lines.value(0)).hasMatch());
        }
        QCOMPARE(list.shownTitles().filter("een"), QStringList({"Seen", "Unseen"}));
        QCOMPARE(list.events(), "Mac_PasswordDeleted");
    }

    // Each flow as a person goes through it, checked in the vault opened again, the analytics
    // sent, and what the list says and shows: the changed row, last of 201, is scrolled to.
    void flowsReachTheVault_data()
    {
        QTest::addColumn<QString>("flow");
        QTest::addColumn<QString>("stored"); // title|site|username|password; "-" absent, "" gone
        QTest::addColumn<QString>("events");
        QTest::addColumn<QStringList>("messages");
        const auto row = [](const char *flow, const char *stored, const char *events,
                            const char *hud) {
            QTest::newRow(flow) << QString(flow) << QString(stored) << QString(events)
                                << (*hud ? QStringList{hud} : QStringList());
        };
        row("add", "Mail||ada| two  words ", "Mac_PasswordAdded", "Password saved");
        row("edit", "Bank renamed|||  spaced  ", "", "");
        row("delete", "", "", "Password deleted");
        row("save new", "Shop|shop.example|ada|pw", "Mac_PasswordAdded", "Password saved");
        row("save existing", "Bank|bank.example|ada|changed", "", "Password saved");
    }
    void flowsReachTheVault()
    {
        QFETCH(QString, flow);
        QFETCH(QString, stored);
        QFETCH(QString, events);
        QFETCH(QStringList, messages);
        const InventoryItem bank = login("Bank", "ada", "bank.example");
        ListOnScreen list(numbered(200) << bank);
        QVERIFY(QTest::qWaitForWindowExposed(list.screen.get()));
        list.screen->scrollToItem(bank); // for its menu button
        QString uuid = bank.uuid();
        QWidget *screen = nullptr;
        if (flow == "add") {
            QTest::mouseClick(named<QPushButton>(list.screen.get(), "Add password"),
                              Qt::LeftButton);
            screen = list.presented<AddPasswordViewController>();
            retype(screen, "Title", "  Mail ");
            retype(screen, "Username", "ada");
            retype(screen, "Password", " two  words ");
        } else if (flow == "edit") {
            list.pick(200, "View / Edit");
            screen = list.presented<EditPasswordViewController>();
            retype(screen, "Title", "Bank renamed ");
            retype(screen, "Website", "");
            retype(screen, "Username", "");
            retype(screen, "Password", "  spaced  ");
        } else if (flow == "delete") {
            list.pick(200, "Delete");
            screen = list.presented<DeletePasswordViewController>();
        } else {
            InventoryItem captured =
                flow == "save new" ? login("Shop", "ada", "shop.example") : bank;
            captured.setPassword(flow == "save new" ? "pw" : "changed");
            uuid = captured.uuid();
            list.screen->presentSavePassword(captured);
            screen = list.presented<SavePasswordViewController>();
        }
        list.list->scrollToTop();
        QTest::mouseClick(named<QPushButton>(screen, flow == "delete" ? "Delete" : "Save"),
                          Qt::LeftButton);
        const QPointer<QWidget> gone = screen;
        QTRY_VERIFY(!gone);
        QVERIFY(!list.screen->menu());
        QCOMPARE(huds(list.screen.get()), messages);
        QCOMPARE(list.events(), events);
        const QString title = stored.section('|', 0, 0);
        QCOMPARE(list.rowVisible(title), !stored.isEmpty());
        if (flow == "add")
            uuid = list.screen->model().item(int(list.shownTitles().indexOf(title))).uuid();

        TemporaryVault reopened(false, &list.vault);
        QVERIFY(reopened.unlock());
        QString found;
        reopened.locker.runWithInventory([&](Inventory &inventory) {
            const std::optional<InventoryItem> item = inventory.item(uuid);
            if (item && !item->deleted())
                found = described(*item);
        });
        QCOMPARE(found, stored);
    }

    void importsABrowserExport()
    {
        ListOnScreen list({});
        const QString csv = list.vault.dir.filePath("export.csv");
        QVERIFY(writeFile(csv, "name,url,username,password\n"
                               "Mail,https://mail.example,ada,one\n"
                               "Bank,https://bank.example,ada,two\n"
                               "Mail again,https://mail.example,ada,one\n"));
        list.screen->importLogins(csv);
        QCOMPARE(list.shownTitles(), QStringList({"Bank", "Mail"}));
        QCOMPARE(huds(list.screen.get()), QStringList{"2 passwords added"});
        QVERIFY(!named<QWidget>(list.screen.get(), "Empty vault"));
    }
};

QTEST_MAIN(TestInventoryViewController)
#include "tst_inventoryviewcontroller.moc"
