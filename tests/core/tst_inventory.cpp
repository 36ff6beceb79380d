#include "support/ItemText.h"
#include "support/TemporaryVault.h"

#include "core/Inventory.h"

#include <QRandomGenerator>
#include <QTest>

using pexi::Inventory;
using pexi::InventoryItem;

namespace {

InventoryItem item(const QString &title, const QString &uuid,
                   const std::optional<QString> &username = std::nullopt,
                   const std::optional<QString> &site = std::nullopt,
                   const QString &password = QStringLiteral("secret"))
{
    return InventoryItem(title, username, password, site, {}, {}, uuid);
}

} // namespace

class TestInventory : public QObject
{
    Q_OBJECT

    std::unique_ptr<TemporaryVault> m_vault;

    // Runs `block` on the open inventory; fails the test when it does not run.
    void withInventory(const std::function<void(Inventory &)> &block)
    {
        QVERIFY(m_vault->locker.runWithInventory(block));
    }

    QStringList titlesOf(const std::function<QList<InventoryItem>(Inventory &)> &query)
    {
        QStringList result;
        withInventory([&](Inventory &inventory) { result = titles(query(inventory)); });
        return result;
    }

    void seed(const QList<InventoryItem> &items)
    {
        withInventory([&](Inventory &inventory) { inventory.add(items); });
    }

    void relock()
    {
        m_vault->locker.lock();
        QVERIFY(m_vault->unlock());
    }

private Q_SLOTS:
    void init()
    {
        m_vault = std::make_unique<TemporaryVault>();
        QVERIFY(m_vault->unlock());
    }
    void cleanup() { m_vault.reset(); }

    void order_data()
    {
        QTest::addColumn<QList<InventoryItem>>("items");
        QTest::addColumn<QStringList>("expected");
        QTest::newRow("case ignored")
            << QList{item("banana", "1"), item("Apple", "2"), item("cherry", "3")}
            << QStringList{"Apple", "banana", "cherry"};
        QTest::newRow("accents ignored")
            << QList{item("Eclair", "1"), item("éclair", "0"), item("Donut", "3"), item("Fig", "4")}
            << QStringList{"Donut", "éclair", "Eclair", "Fig"};
        QTest::newRow("uuid breaks ties")
            << QList{item("mail", "B"), item("Mail", "A"), item("MAIL", "C")}
            << QStringList{"Mail", "mail", "MAIL"};
        QTest::newRow("deleted left out")
            << QList{item("b", "1"), InventoryItem("a", {}, "p", {}, {}, {}, "2", true)}
            << QStringList{"b"};
        // Enough to be sorted in ranges, one per core, and merged.
        QList<InventoryItem> many;
        QStringList numbered;
        for (int i = 0; i < 700; ++i) {
            const int n = (i * 389) % 700; // every number once, shuffled
            many.append(item(QString("item %1").arg(n, 3, 10, QChar('0')), QString::number(i)));
            numbered.append(QString("item %1").arg(i, 3, 10, QChar('0')));
        }
        QTest::newRow("a large batch") << many << numbered;
    }

    void order()
    {
        QFETCH(QList<InventoryItem>, items);
        QFETCH(QStringList, expected);
        seed(items);
        QCOMPARE(titlesOf(&Inventory::itemList), expected);
        relock();
        QCOMPARE(titlesOf(&Inventory::itemList), expected);
    }

    void search_data()
    {
        QTest::addColumn<QString>("query");
        QTest::addColumn<QStringList>("expected");
        QTest::newRow("title substring, any case") << "MAIL" << QStringList{"Gmail", "Mailbox"};
        QTest::newRow("trimmed") << " \tmail\t " << QStringList{"Gmail", "Mailbox"};
        QTest::newRow("username") << "ann@" << QStringList{"Bank", "Mailbox"};
        QTest::newRow("site") << "bank.example" << QStringList{"Bank"};
        QTest::newRow("accent-free query finds accents") << "cafe" << QStringList{"Café"};
        QTest::newRow("deleted never found") << "old" << QStringList{};
        QTest::newRow("never across two fields") << "boxann" << QStringList{};
    }

    void search()
    {
        QFETCH(QString, query);
        QFETCH(QStringList, expected);
        seed({item("Mailbox", "1", "ann@example.com"), item("Gmail", "2", "bob", "mail.google.com"),
              item("Bank", "3", "ann@bank", "https://bank.example/login"), item("Café", "4"),
              InventoryItem("Old account", {}, "p", {}, {}, {}, "5", true)});
        QCOMPARE(titlesOf([&](Inventory &inventory) { return inventory.search(query); }), expected);
    }

    void containsLogin_data()
    {
        QTest::addColumn<QString>("username");
        QTest::addColumn<QString>("site");
        QTest::addColumn<QString>("password");
        QTest::addColumn<bool>("expected");
        const auto row = [](const char *name, const char *username, const char *site,
                            const char *password, bool expected) {
            QTest::newRow(name) << QString(username) << QString(site) << QString(password)
                                << expected;
        };
        row("same host as url", "ann", "https://SHOP.example.com/login", "pw", true);
        row("other password", "ann", "shop.example.com", "pw2", false);
        row("other username", "bob", "shop.example.com", "pw", false);
        row("other host, same domain", "ann", "www.example.com", "pw", false);
        row("no username matches empty", "", "nouser.example", "pw", true);
        row("deleted item ignored", "gone", "shop.example.com", "pw", false);
        row("deleted item without a host ignored", "gone", "exa mple", "pw", false);
        row("deleted item without a site ignored", "gone", "", "pw", false);
    }

    void containsLogin()
    {
        QFETCH(QString, username);
        QFETCH(QString, site);
        QFETCH(QString, password);
        QFETCH(bool, expected);
        seed({item("Shop", "1", "ann", "shop.example.com", "pw"),
              item("No user", "2", std::nullopt, "nouser.example", "pw"),
              InventoryItem("Gone", "gone", "pw", "shop.example.com", {}, {}, "3", true),
              InventoryItem("Gone too", "gone", "pw", "exa mple", {}, {}, "4", true),
              InventoryItem("Gone three", "gone", "pw", "", {}, {}, "5", true)});
        withInventory([&](Inventory &inventory) {
            QCOMPARE(inventory.containsLogin(username, site, password), expected);
        });
    }

    void upsert_data()
    {
        QTest::addColumn<InventoryItem>("incoming");
        QTest::addColumn<bool>("preserveTitle");
        QTest::addColumn<pexi::UpsertReturnVal>("result");
        QTest::addColumn<QStringList>("expected"); // title/username/password per listed item
        const QString site = QStringLiteral("https://login.shop.example.com");
        QTest::newRow("same uuid replaces")
            << item("Shop 2", "1", "ann", site, "new") << false << pexi::UpsertReturnVal::updated
            << QStringList{"Shop 2/ann/new"};
        QTest::newRow("captured login for same domain and user keeps title")
            << item("Example", "9", "ann", "www.shop.example.com", "new") << true
            << pexi::UpsertReturnVal::merged << QStringList{"Shop/ann/new"};
        QTest::newRow("without preserveTitle a second item is made")
            << item("Example", "9", "ann", "www.shop.example.com", "new") << false
            << pexi::UpsertReturnVal::inserted << QStringList{"Example/ann/new", "Shop/ann/old"};
        QTest::newRow("other user is a new item")
            << item("Example", "9", "bob", site, "new") << true << pexi::UpsertReturnVal::inserted
            << QStringList{"Example/bob/new", "Shop/ann/old"};
        QTest::newRow("other domain is a new item")
            << item("Other", "9", "ann", "shop.example.org", "new") << true
            << pexi::UpsertReturnVal::inserted << QStringList{"Other/ann/new", "Shop/ann/old"};
    }

    void upsert()
    {
        QFETCH(InventoryItem, incoming);
        QFETCH(bool, preserveTitle);
        QFETCH(pexi::UpsertReturnVal, result);
        QFETCH(QStringList, expected);
        seed({item("Shop", "1", "ann", "https://login.shop.example.com", "old")});
        withInventory([&](Inventory &inventory) {
            QCOMPARE(inventory.upsert(incoming, preserveTitle), result);
        });
        relock(); // what counts is what reached the vault file
        withInventory([&](Inventory &inventory) {
            QStringList listed;
            for (const InventoryItem &i : inventory.itemList())
                listed.append(i.title() + "/" + i.username().value_or("") + "/" + i.password());
            QCOMPARE(listed, expected);
        });
    }

    // The host index must agree with HostnameInfo::matches() item by item, in inventory order.
    // Also for a batch large enough to be prepared on every core, where each site is read once.
    void itemsMatchingHostAgreesWithMatches_data()
    {
        QTest::addColumn<QString>("query");
        QTest::addColumn<int>("copies");
        for (const int copies : {1, 40}) {
            const auto row = [&](const char *name) -> QTestData & {
                return QTest::addRow("%s, %d of each site", name, copies);
            };
            row("subdomain") << "https://accounts.shop.example.com/x" << copies;
            row("co.uk") << "www.bbc.co.uk" << copies;
            row("ip") << "192.168.1.1" << copies;
            row("localhost") << "localhost:8080" << copies;
            row("nothing") << "nothing.example" << copies;
        }
    }

    void itemsMatchingHostAgreesWithMatches()
    {
        QFETCH(QString, query);
        QFETCH(int, copies);
        const QList<std::pair<QString, std::optional<QString>>> sites{
            {"b shop", "shop.example.com"},
            {"a shop", "https://login.shop.example.com"},
            {"bbc", "bbc.co.uk"},
            {"other uk", "itv.co.uk"},
            {"router", "192.168.1.1"},
            {"other ip", "192.168.1.2"},
            {"dev", "http://localhost:3000"},
            {"no site", std::nullopt},
            {"not a host", "exa mple"}};
        QList<InventoryItem> items;
        for (int copy = 0; copy < copies; ++copy) {
            for (const auto &[title, site] : sites)
                items.append(item(title, InventoryItem::newUuid(), {}, site));
        }
        seed(items);
        const auto host = pexi::HostnameInfo::fromString(query);
        const auto check = [&](Inventory &inventory) {
            QStringList expected;
            for (const InventoryItem &i : inventory.itemList()) {
                try {
                    if (i.site() && host.matches(*i.site()))
                        expected.append(i.title());
                } catch (const pexi::HostnameError &) {
                }
            }
            QCOMPARE(titles(inventory.itemsMatchingHost(host)), expected);
        };
        withInventory(check);
        relock();
        withInventory(check);
    }

    // The order, the search and the host index are kept up to date change by change (and batch by
    // batch for large ones, which also replace items); they must always be what a fresh unlock
    // builds. A deleted item stays as a tombstone.
    void indexesFollowEveryChange()
    {
        QRandomGenerator random(7);
        QStringList uuids;
        const auto randomTitle = [&] { return QString::number(random.bounded(60)) + " item"; };
        const auto randomSite = [&] {
            return QStringLiteral("s%1.example").arg(random.bounded(4));
        };
        const auto anyUuid = [&] { return uuids.at(random.bounded(int(uuids.size()))); };
        const auto indexes = [](Inventory &inventory) {
            QList<QStringList> byHost;
            for (int site = 0; site < 4; ++site)
                byHost.append(titles(inventory.itemsMatchingHost(
                    pexi::HostnameInfo::fromString(QStringLiteral("s%1.example").arg(site)))));
            return std::tuple(inventory.itemList(), titles(inventory.search("1")), byHost);
        };
        for (int round = 0; round < 60; ++round) {
            withInventory([&](Inventory &inventory) {
                const int change = round % 20 == 10 ? 3 : uuids.isEmpty() ? 0 : random.bounded(3);
                if (change == 1) {
                    InventoryItem changed = *inventory.item(anyUuid());
                    changed.setTitle(randomTitle());
                    changed.setSite(randomSite());
                    inventory.upsert(changed);
                } else if (change == 2) {
                    const QString uuid = anyUuid();
                    inventory.deleteItem(uuid);
                    QVERIFY(inventory.item(uuid)->deleted());
                } else { // one item, or a batch large enough to be sorted on every core
                    QList<InventoryItem> batch;
                    for (int i = 0; i < (change == 3 ? 300 : 1); ++i)
                        batch.append(InventoryItem(randomTitle(), {}, "p", randomSite()));
                    for (const QString &uuid : change == 3 ? uuids : QStringList()) {
                        InventoryItem replacing = *inventory.item(uuid);
                        replacing.setTitle(randomTitle());
                        replacing.setSite(randomSite());
                        batch.append(replacing);
                    }
                    uuids.append(batch.first().uuid());
                    change == 3 ? inventory.add(batch) : void(inventory.upsert(batch.first()));
                }
            });
            if (round % 10 == 9) {
                decltype(indexes(std::declval<Inventory &>())) kept;
                withInventory([&](Inventory &inventory) { kept = indexes(inventory); });
                relock();
                withInventory([&](Inventory &inventory) { QCOMPARE(indexes(inventory), kept); });
            }
        }
    }

    void changesAreReported()
    {
        seed({item("Shop", "1", {}, "shop.example.com"), item("Mail", "2")});
        QList<pexi::InventoryChange> heard;
        withInventory([&](Inventory &inventory) {
            inventory.setChangeListener(
                [&](const pexi::InventoryChange &change) { heard.append(change); });
            inventory.upsert(item("New", "3"));
            inventory.upsert(item("Shop renamed", "1"));
            inventory.deleteItem("2");
            inventory.deleteItem("2"); // already gone: nothing to tell
            inventory.add({item("A", "4"), item("B", "5")});
            inventory.upsert(InventoryItem("Tombstone", {}, "p", {}, {}, {}, "6", true));
        });
        QCOMPARE(heard,
                 (QList<pexi::InventoryChange>{
                     {{"3"}, {}, {}}, {{}, {"1"}, {}}, {{}, {}, {"2"}}, {{"4", "5"}, {}, {}}}));
    }
};

QTEST_GUILESS_MAIN(TestInventory)
#include "tst_inventory.moc"
