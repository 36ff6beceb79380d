#include "app/AnalyticsLogger.h"
#include "app/SettingsPopupMenu.h"
#include "app/SettingsPopupMenuItem.h"
#include "app/SettingsPopupMenuWindow.h"
#include "capture/screen/SavePasswordViewController.h"
#include "core/Inventory.h"
#include "core/SyncService.h"
#include "extension/BrowserController.h"
#include "inventory/AddPasswordViewController.h"
#include "inventory/DeletePasswordViewController.h"
#include "inventory/EditPasswordViewController.h"
#include "inventory/InventoryItemDelegate.h"
#include "inventory/InventoryViewController.h"
#include "support/AnalyticsServer.h"
#include "support/DesktopDoubles.h"
#include "support/StandardOutputCapture.h"
#include "support/TemporaryPreferences.h"
#include "support/TemporaryVault.h"

#include <QLabel>
#include <QLineEdit>
#include <QListView>
#include <QNetworkAccessManager>
#include <QNetworkReply>
#include <QPushButton>
#include <QScrollBar>
#include <QSignalSpy>
#include <QTest>

#include <memory>

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

QStringList titles(const QList<InventoryItem> &items)
{
    QStringList titles;
    for (const InventoryItem &item : items)
        titles.append(item.title());
    return titles;
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
    std::unique_ptr<InventoryViewController> screen;

    explicit ListOnScreen(const QList<InventoryItem> &items)
    {
        server.userId = accountId.toString(QUuid::WithoutBraces).toUpper();
        qputenv("PEXI_ANALYTICS_BASE",
                QStringLiteral("http://127.0.0.1:%1/graph/v2.10/").arg(server.port()).toLatin1());
        vault.unlock();
        vault.locker.runWithInventory([&](Inventory &inventory) { inventory.add(items); });
        screen = std::make_unique<InventoryViewController>(
            InventoryServices{vault.locker, sync, analytics, settings});
        screen->resize(340, 440);
        screen->show();
    }

    // The control of that accessible name in `in` (the list by default), a shown one first.
    template <class T = QWidget> T *child(const QString &name, QWidget *in = nullptr) const
    {
        T *hidden = nullptr;
        for (T *widget : (in ? in : screen.get())->findChildren<T *>()) {
            if (widget->accessibleName() == name && widget->isVisible())
                return widget;
            if (widget->accessibleName() == name)
                hidden = widget;
        }
        return hidden;
    }
    QListView *list() const { return child<QListView>("Password list"); }
    QLineEdit *searchField() const { return child<QLineEdit>("Search passwords"); }

    QStringList shownTitles() const
    {
        QStringList titles;
        for (int row = 0; row < screen->model().rowCount(); ++row)
            titles.append(screen->model().item(row).title());
        return titles;
    }
    QStringList coreTitles(const QString &search = {})
    {
        QStringList found;
        vault.locker.runWithInventory([&](Inventory &inventory) {
            found = titles(search.isEmpty() ? inventory.itemList() : inventory.search(search));
        });
        return found;
    }
    bool rowVisible(const QString &title) const
    {
        const int row = shownTitles().indexOf(title);
        return row >= 0 && list()->viewport()->rect().intersects(
                               list()->visualRect(screen->model().index(row)));
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
        return server.requests.join(QStringLiteral(", "));
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
    // Waits for the screen of that type to have slid away again.
    template <class T> bool dismissed() const
    {
        return QTest::qWaitFor([&] { return !screen->findChild<T *>(); });
    }
    void type(QWidget *in, const QString &field, const QString &text) const
    {
        QLineEdit *edit = child<QLineEdit>(field, in);
        edit->selectAll();
        QTest::keyClick(edit, Qt::Key_Delete);
        QTest::keyClicks(edit, text);
    }
    // Opens the row's menu with a click on its menu button and picks an entry.
    void pick(int row, const QString &entry)
    {
        const QRect rect = list()->visualRect(screen->model().index(row));
        QTest::mouseClick(list()->viewport(), Qt::LeftButton, {},
                          InventoryItemDelegate::menuButtonRect(rect).center());
        QVERIFY(screen->menu());
        for (SettingsPopupMenuItem *item :
             screen->menu()->findChildren<SettingsPopupMenuItem *>()) {
            if (item->title() == entry)
                return QTest::mouseClick(item, Qt::LeftButton);
        }
        QFAIL(qPrintable("no entry " + entry));
    }
    QStringList huds() const
    {
        QStringList texts;
        for (QLabel *label : screen->findChildren<QLabel *>("hud"))
            texts.append(label->text());
        return texts;
    }
};

void click(QWidget *button)
{
    QVERIFY(button);
    QTest::mouseClick(button, Qt::LeftButton);
}

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
        QTest::addColumn<QStringList>("rows"); // the field shows from ten items on
        const QStringList ten = titles(numbered(10));
        QTest::newRow("empty vault") << 0 << QString() << QStringList();
        QTest::newRow("nine") << 9 << QString() << ten.mid(0, 9);
        QTest::newRow("ten, spaces only") << 10 << "   " << ten;
        QTest::newRow("spaces and tabs around") << 10 << " \tunt 004\t " << ten.mid(4, 1);
        QTest::newRow("user name") << 10 << "USER7" << ten.mid(7, 1);
    }
    void searchFieldAndRows()
    {
        QFETCH(int, items);
        QFETCH(QString, search);
        QFETCH(QStringList, rows);
        ListOnScreen list(numbered(items));
        if (items >= 10)
            list.searchField()->insert(search); // as pasted: a tab typed moves the focus
        QCOMPARE(list.searchField()->isVisible(), items >= 10);
        QCOMPARE(list.shownTitles(), rows);
        QCOMPARE(list.child("Empty vault")->isVisible(), items == 0);
    }

    // Each key typed shows what the core finds for the whole text, narrowing or widening it;
    // an item added while searching stays among what further keys narrow.
    void typingShowsTheCoresMatches_data()
    {
        QTest::addColumn<QString>("typed");
        QTest::newRow("narrowing") << "account 12";
        QTest::newRow("in the middle, user name, case") << "SER19";
    }
    void typingShowsTheCoresMatches()
    {
        QFETCH(QString, typed);
        ListOnScreen list(numbered(200));
        QLineEdit *field = list.searchField();
        for (const QChar key : typed) {
            QTest::keyClick(field, key.toLatin1());
            QCOMPARE(list.shownTitles(), list.coreTitles(field->text()));
        }
        list.vault.locker.runWithInventory(
            [&](Inventory &inventory) { inventory.upsert(login(typed + "9 new")); });
        for (const auto key : {Qt::Key_9, Qt::Key_Backspace, Qt::Key_Backspace}) {
            QTest::keyClick(field, key);
            QCOMPARE(list.shownTitles(), list.coreTitles(field->text()));
        }
        QVERIFY(list.shownTitles().contains(typed + "9 new"));
    }

    // Each change is followed row by row, in the core's order and with the core's matches,
    // whether the list shows everything or a search.
    void rowsFollowTheCore_data()
    {
        QTest::addColumn<QString>("search");
        QTest::addColumn<QString>("change");
        for (const QString search : {"", "acc"}) {
            for (const QString change : {"add first", "add last", "add unmatched", "retitle down",
                                         "retitle out", "rename user", "delete", "bulk"})
                QTest::addRow("%s, %s", qPrintable(search.isEmpty() ? "all" : search),
                              qPrintable(change))
                    << search << change;
        }
    }
    void rowsFollowTheCore()
    {
        QFETCH(QString, search);
        QFETCH(QString, change);
        ListOnScreen list(numbered(20));
        list.searchField()->setText(search);
        QSignalSpy resets(&list.screen->model(), &QAbstractItemModel::modelReset);
        list.vault.locker.runWithInventory([&](Inventory &inventory) {
            InventoryItem fifth = inventory.itemList().at(5);
            if (change == "add first")
                inventory.upsert(login("Access", "a"));
            else if (change == "add last")
                inventory.upsert(login("Account 999"));
            else if (change == "add unmatched")
                inventory.upsert(login("Zebra"));
            else if (change == "retitle down" || change == "retitle out")
                fifth.setTitle(change == "retitle down" ? "Account 0155" : "Bank");
            else if (change == "rename user")
                fifth.setUsername("someone else");
            if (change.startsWith("retitle") || change == "rename user")
                inventory.upsert(fifth);
            else if (change == "delete")
                inventory.deleteItem(fifth.uuid());
            else if (change == "bulk")
                inventory.add(numbered(InventoryListModel::largeChange + 1));
        });
        QCOMPARE(list.shownTitles(), list.coreTitles(search));
        QCOMPARE(resets.count(), change == "bulk" ? 1 : 0);
    }

    // A click on a row, on its menu button or on the empty space below the rows never selects.
    void rowsAreNeverSelected()
    {
        ListOnScreen list(numbered(3));
        QVERIFY(QTest::qWaitForWindowExposed(list.screen.get()));
        QListView *view = list.list();
        const QRect row = view->visualRect(list.screen->model().index(1));
        QSignalSpy rowClicks(view->itemDelegate(), SIGNAL(itemClicked(QModelIndex)));
        QSignalSpy buttonClicks(view->itemDelegate(), SIGNAL(menuButtonClicked(QModelIndex)));
        for (const QPoint at :
             {row.center(), InventoryItemDelegate::menuButtonRect(row).center(), QPoint(10, 400)})
            QTest::mouseClick(view->viewport(), Qt::LeftButton, {}, at);
        QCOMPARE(rowClicks.count(), 1);
        QCOMPARE(buttonClicks.count(), 1);
        QCOMPARE(rowClicks.first().first().toModelIndex().row(), 1);
        QCOMPARE(buttonClicks.first().first().toModelIndex().row(), 1);
        QVERIFY(!view->selectionModel()->hasSelection());
    }

    // After a write the changed row is brought into view, unless the search hides it.
    void scrollsToTheChangedItem_data()
    {
        QTest::addColumn<QString>("flow");
        QTest::addColumn<QString>("search");
        QTest::newRow("add") << "add" << QString();
        QTest::newRow("save") << "save" << QString();
        QTest::newRow("edit") << "edit" << QString();
        QTest::newRow("edit, searched out") << "edit" << QString("account 00");
    }
    void scrollsToTheChangedItem()
    {
        QFETCH(QString, flow);
        QFETCH(QString, search);
        ListOnScreen list(numbered(200));
        list.searchField()->setText(search);
        InventoryItem item = login("Account 150 b");
        if (flow == "edit") {
            item = list.screen->model().item(0);
            item.setTitle("Account 150 b");
            list.screen->didUpdatePassword(item);
        } else {
            flow == "add" ? list.screen->didAddPassword(item) : list.screen->didSavePassword(item);
        }
        QCOMPARE(list.rowVisible("Account 150 b"), search.isEmpty());
        QCOMPARE(list.list()->verticalScrollBar()->value() > 0, search.isEmpty());
    }

    // Shown, the list logs and shows an update from elsewhere; off screen it leaves it alone.
    void remoteUpdateIsLoggedAndShown()
    {
        ListOnScreen list(numbered(2));
        list.sync.start();
        TemporaryVault other(false, &list.vault);
        QVERIFY(other.unlock());
        StandardOutputCapture output;
        for (const QString title : {"From elsewhere", "Later"}) {
            other.locker.runWithInventory(
                [&](Inventory &inventory) { inventory.upsert(login(title)); });
            list.sync.checkNow();
            // Qt's own warnings may come between.
            const QStringList lines = output.takeLines().filter("Inventory updated");
            const QString expected = " +0000 Inventory updated from remote source: refreshing.";
            QCOMPARE(lines, title == "Later" ? QStringList() : QStringList{lines.value(0)});
            QVERIFY(title == "Later" || lines.first().endsWith(expected));
            list.screen->hide();
        }
        QVERIFY(list.shownTitles().contains("From elsewhere"));
        QCOMPARE(list.events(), "Mac_PasswordDeleted");
    }

    // Each flow as a person goes through it, checked in the vault opened again afterwards, in
    // the analytics the server was sent, and in what the list says and leaves on screen.
    void flowsReachTheVault_data()
    {
        QTest::addColumn<QString>("flow");
        QTest::addColumn<QString>("stored"); // title|site|username|password; "-" absent, "" gone
        QTest::addColumn<QString>("events");
        QTest::addColumn<QString>("hud");
        const QString added = "Mac_PasswordAdded", saved = "Password saved";
        QTest::newRow("add") << "add" << QString("Mail||ada| two  words ") << added << saved;
        QTest::newRow("edit") << "edit" << QString("Bank renamed|||  spaced  ") << QString()
                              << QString();
        QTest::newRow("delete") << "delete" << QString() << QString() << "Password deleted";
        QTest::newRow("save, new uuid")
            << "save new" << QString("Shop|shop.example|ada|pw") << added << saved;
        QTest::newRow("save, existing uuid")
            << "save existing" << QString("Bank|bank.example|ada|changed") << QString() << saved;
    }
    void flowsReachTheVault()
    {
        QFETCH(QString, flow);
        QFETCH(QString, stored);
        QFETCH(QString, events);
        QFETCH(QString, hud);
        const InventoryItem bank = login("Bank", "ada", "bank.example");
        ListOnScreen list({bank});
        QVERIFY(QTest::qWaitForWindowExposed(list.screen.get()));
        QString uuid = bank.uuid();
        if (flow == "add") {
            click(list.child("Add password"));
            auto *screen = list.presented<AddPasswordViewController>();
            list.type(screen, "Title", "  Mail ");
            list.type(screen, "Username", "ada");
            list.type(screen, "Password", " two  words ");
            click(list.child("Save", screen));
            QCOMPARE(list.shownTitles(), QStringList({"Bank", "Mail"}));
            uuid = list.screen->model().item(1).uuid();
            QVERIFY(list.dismissed<AddPasswordViewController>());
        } else if (flow == "edit") {
            list.pick(0, "View / Edit");
            auto *screen = list.presented<EditPasswordViewController>();
            list.type(screen, "Title", "Bank renamed ");
            list.type(screen, "Website", "");
            list.type(screen, "Username", "");
            list.type(screen, "Password", "  spaced  ");
            click(list.child("Save", screen));
            QVERIFY(list.dismissed<EditPasswordViewController>() && !list.screen->menu());
        } else if (flow == "delete") {
            list.pick(0, "Delete");
            click(list.child("Delete", list.presented<DeletePasswordViewController>()));
            QVERIFY(list.dismissed<DeletePasswordViewController>() && !list.screen->menu());
        } else {
            InventoryItem captured =
                flow == "save new" ? login("Shop", "ada", "shop.example") : bank;
            captured.setPassword(flow == "save new" ? "pw" : "changed");
            uuid = captured.uuid();
            list.screen->presentSavePassword(captured);
            click(list.child("Save", list.presented<SavePasswordViewController>()));
            QVERIFY(list.dismissed<SavePasswordViewController>());
        }
        QCOMPARE(list.huds(), hud.isEmpty() ? QStringList() : QStringList{hud});
        QCOMPARE(list.events(), events);
        if (!stored.isEmpty())
            QVERIFY(list.rowVisible(stored.section('|', 0, 0)));

        TemporaryVault reopened(false, &list.vault);
        QVERIFY(reopened.unlock());
        QString found;
        reopened.locker.runWithInventory([&](Inventory &inventory) {
            const std::optional<InventoryItem> item = inventory.item(uuid);
            if (item && !item->deleted())
                found = QStringList{item->title(), item->site().value_or("-"),
                                    item->username().value_or("-"), item->password()}
                            .join('|');
        });
        QCOMPARE(found, stored);
    }

    void importsABrowserExport()
    {
        ListOnScreen list({});
        QTemporaryDir dir;
        QFile csv(dir.filePath("export.csv"));
        QVERIFY(csv.open(QIODevice::WriteOnly));
        csv.write("name,url,username,password\n"
                  "Mail,https://mail.example,ada,one\n"
                  "Bank,https://bank.example,ada,two\n"
                  "Mail again,https://mail.example,ada,one\n");
        csv.close();
        list.screen->importLogins(csv.fileName());
        QCOMPARE(list.shownTitles(), QStringList({"Bank", "Mail"}));
        QCOMPARE(list.huds(), QStringList{"2 passwords added"});
        QVERIFY(!list.child("Empty vault")->isVisible());
    }
};

QTEST_MAIN(TestInventoryViewController)
#include "tst_inventoryviewcontroller.moc"
