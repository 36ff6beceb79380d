#include "capture/SavePasswordController.h"
#include "core/Inventory.h"
#include "extension/BrowserController.h"
#include "extension/ExtensionHandler.h"
#include "extension/ExtensionServer.h"
#include "support/DesktopDoubles.h"
#include "support/ExtensionClient.h"
#include "support/StandardOutputCapture.h"
#include "support/TemporaryVault.h"

#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QTest>

#include <memory>
#include <optional>

using namespace pexi;

namespace {

const QPointF mouse(640.5, 12.25);

class RecordingWindow : public WindowPresenter
{
public:
    void showAt(QPointF point) override { shown.append(point); }
    void showAt(QPointF, const InventoryItem &) override { shown.append({-1, -1}); }
    QList<QPointF> shown;
};

void send(ExtensionClient &client, const QJsonObject &data)
{
    const QJsonObject envelope{{"data", data}, {"sender", "chrome"}, {"build", "7.1"}};
    client.send(QJsonDocument(envelope).toJson(QJsonDocument::Compact));
}

// What arrived before both answers to a lock check sent now, as objects.
QList<QJsonObject> settle(ExtensionClient &client)
{
    QList<QJsonObject> objects;
    for (const QString &text : client.settle(2))
        objects.append(QJsonDocument::fromJson(text.toUtf8()).object());
    return objects;
}

QString uuid(int n)
{
    return "A0000000-0000-4000-8000-00000000000" + QString::number(n);
}

// The vault's contents; titles give the inventory order (case ignored), not the uuids. The last
// one is deleted.
const QList<InventoryItem> &fixture()
{
    static const QList<InventoryItem> items{
        InventoryItem("Beta Shop", "carol", "pw-shop", "https://shop.example.com/a", {}, {},
                      uuid(1)),
        InventoryItem("alpha mail", "ann", "pw-mail", "https://mail.example.com/", {}, {}, uuid(2)),
        InventoryItem("beta", std::nullopt, "pw-beta", "example.com", {}, {}, uuid(3)),
        InventoryItem("Notes", "n", "pw-notes", std::nullopt, {}, {}, uuid(4)),
        InventoryItem("Gone", "g", "pw-gone", "example.com", {}, {}, uuid(5)),
    };
    return items;
}

// The fixture item as the extension sees it: user name and site only when it has them.
QJsonObject credential(int n, bool withPassword)
{
    const InventoryItem &item = fixture()[n - 1];
    QJsonObject object{{"uuid", item.uuid()}, {"title", item.title()}};
    if (withPassword)
        object.insert("password", item.password());
    if (item.username())
        object.insert("username", *item.username());
    if (item.site())
        object.insert("site", *item.site());
    return object;
}

} // namespace

class TestExtensionHandler : public QObject
{
    Q_OBJECT

    std::unique_ptr<TemporaryVault> m_vault;
    std::optional<StandardOutputCapture> m_output;
    NullLauncher m_launcher;
    std::unique_ptr<BrowserController> m_browsers;
    FixedPreferences m_preferences;
    NullEventLogger m_events;
    NullNotificationCenter m_notifications;
    std::unique_ptr<RecordingWindow> m_window;
    std::unique_ptr<SavePasswordController> m_capture;
    std::unique_ptr<ExtensionServer> m_server;
    std::unique_ptr<ExtensionClient> m_client;

    std::unique_ptr<ExtensionServer> serve(TemporaryVault &vault)
    {
        auto server = std::make_unique<ExtensionServer>(0, vault.locker, *m_browsers, vault.center);
        ExtensionHandler::install(
            *server, {vault.locker, *m_browsers, *m_capture, *m_window, [] { return mouse; }});
        if (!server->start())
            QTest::qFail("server did not start", __FILE__, __LINE__);
        return server;
    }
    QStringList logged() { return serverLog(*m_output); }
    // Removes the items not in the fixture; returns them as "title|username|password|site".
    QStringList takeAddedItems()
    {
        QStringList added;
        m_vault->locker.runWithInventory([&](Inventory &inventory) {
            for (const InventoryItem &item : inventory.itemList()) {
                if (item.uuid().startsWith(QLatin1String("A0000000-")))
                    continue;
                added << item.title() + '|' + item.username().value_or("-") + '|' +
                             item.password() + '|' + item.site().value_or("-");
                inventory.deleteItem(item.uuid());
            }
        });
        return added;
    }
    void lockIf(bool locked)
    {
        if (!locked)
            return;
        m_vault->locker.lock();
        settle(*m_client); // the push of the lock
    }

private slots:
    void initTestCase()
    {
        m_vault = std::make_unique<TemporaryVault>();
        QVERIFY(m_vault->unlock());
        m_vault->locker.runWithInventory([](Inventory &inventory) {
            for (const InventoryItem &item : fixture())
                inventory.upsert(item);
            inventory.deleteItem(fixture().last().uuid());
        });
    }

    void init()
    {
        m_output.emplace();
        if (m_vault->locker.lockState() == LockState::locked)
            QVERIFY(m_vault->unlock());
        m_browsers = std::make_unique<BrowserController>(m_launcher);
        m_window = std::make_unique<RecordingWindow>();
        m_capture = std::make_unique<SavePasswordController>(
            SavePasswordController::Services{m_preferences, m_events, m_notifications, *m_window,
                                             m_vault->locker, [] { return mouse; }});
        m_server = serve(*m_vault);
        m_client = std::make_unique<ExtensionClient>(m_server->port());
        QVERIFY(m_client->waitConnected());
        takeAddedItems();
        logged();
    }

    void cleanup()
    {
        m_client.reset();
        m_server.reset();
        m_capture.reset();
        m_output.reset();
    }

    // Until the first vault is made there is nothing to open: the extensions hear "locked".
    void lockCheckWithoutAVaultAnswersLocked()
    {
        TemporaryVault none(false);
        const auto server = serve(none);
        ExtensionClient client(server->port());
        QVERIFY(client.waitConnected());
        send(client, {{"command", "pexi_lock_check"}, {"session", "s1"}});
        const QJsonObject answer{
            {"command", "pexi_lock_state"}, {"session", "s1"}, {"locked", true}};
        QCOMPARE(settle(client), (QList<QJsonObject>{answer, answer}));
    }

    // Events sent in turn (while locked or not), then what came back on their socket only, the
    // lines logged and what the events did: the item saved ("title|username|password|site") or
    // where the window showed.
    void eventsAreAnsweredOrLogged_data()
    {
        QTest::addColumn<bool>("locked");
        QTest::addColumn<QList<QJsonObject>>("events");
        QTest::addColumn<QList<QJsonObject>>("answers");
        QTest::addColumn<QStringList>("log");
        QTest::addColumn<QString>("effect");
        const auto row = [](const char *name, bool locked, const QList<QJsonObject> &events,
                            const QList<QJsonObject> &answers, const QStringList &log = {},
                            const QString &effect = {}) {
            QTest::newRow(name) << locked << events << answers << log << effect;
        };
        const auto search = [](const QString &site) {
            return QJsonObject{{"command", "credentials_search"}, {"site", site}, {"session", "s"}};
        };
        // Which sites match, and in what order, is the inventory's business; the handler keeps
        // it. Never with a password; without a hint the key is left out, not null.
        const auto suggest = [](const QList<int> &items, int hint = 0) {
            QJsonArray found;
            for (int n : items)
                found.append(credential(n, false));
            QJsonObject answer{
                {"command", "credentials_suggest"}, {"credentials", found}, {"session", "s"}};
            if (hint)
                answer.insert("logInWithUUID", uuid(hint));
            return answer;
        };
        const auto request = [](int n) {
            return QJsonObject{
                {"command", "request_credential"}, {"uuid", uuid(n)}, {"session", "s"}};
        };
        const auto provide = [](int n) {
            return QJsonObject{{"command", "provide_credential"},
                               {"session", "s"},
                               {"credential", credential(n, true)}};
        };
        const auto store = [](const QString &username, const QString &password) {
            const QJsonObject fields{
                {"title", "Sign in"}, {"username", username}, {"password", password}};
            return QJsonObject{{"command", "credentials_store"},
                               {"site", "https://login.example.org/in"},
                               {"credential", fields}};
        };
        const auto command = [](const char *name) { return QJsonObject{{"command", name}}; };
        const auto check = [](const QJsonValue &session) {
            QJsonObject event{{"command", "pexi_lock_check"}};
            if (!session.isUndefined())
                event.insert("session", session);
            return event;
        };
        const auto state = [](const QJsonValue &session, bool locked) {
            return QJsonObject{
                {"command", "pexi_lock_state"}, {"session", session}, {"locked", locked}};
        };
        const QJsonValue null(QJsonValue::Null);
        const QString suggested = "sent SUGGEST", provided = "sent PROVIDE";
        const QString locked = "got a search event, but inventory was locked";
        const QString missing = "item missing for uuid-based request!";
        const QString saved = "Example|ann|pw|https://login.example.org/in";
        const QString www = "https://www.example.com/login?next=1";

        row("lock check, locked", true, {check("s1")}, {state("s1", true), state("s1", true)});
        row("lock check, no session", false, {check(QJsonValue::Undefined)},
            {state(null, false), state(null, false)});
        row("search on a subdomain", false, {search(www)}, {suggest({2, 3, 1})}, {suggested});
        row("search, locked", true, {search(www)}, {}, {locked});
        // The lock is looked at first.
        row("search, locked, bad site", true, {search("not a host")}, {}, {locked});
        row("search, empty site", false, {search("")}, {},
            {"unable to parse host info from search event"});
        // A hint stays for later searches.
        row("search with a hint", false,
            {search("https://hint.example.com/"), search("https://hint.example.com/")},
            {suggest({2, 3, 1}, 3), suggest({2, 3, 1}, 3)}, {suggested, suggested});
        row("request without username", false, {request(3)}, {provide(3)}, {provided});
        row("request without site", false, {request(4)}, {provide(4)}, {provided});
        row("request, unknown uuid", false, {request(9)}, {}, {missing});
        row("request, deleted item", false, {request(5)}, {}, {missing});
        row("request, locked", true, {request(3)}, {}, {missing});
        // The title from the site wins over the page's.
        row("store only", false, {store("ann", "pw")}, {}, {}, "pending");
        row("store, commit", false, {store("ann", "pw"), command("credentials_commit")}, {}, {},
            saved);
        row("store, abort, commit", false,
            {store("ann", "pw"), command("credentials_abort"), command("credentials_commit")}, {});
        row("empty password keeps what was pending", false,
            {store("ann", "pw"), store("bob", ""), command("credentials_commit")}, {}, {}, saved);
        row("icon click at a point", false,
            {{{"command", "ext_icon_clicked"},
              {"coordinates", QJsonObject{{"x", -1280}, {"y", 0.25}}}}},
            {}, {}, "window at -1280,0.25");
        row("icon click without a point", false, {command("ext_icon_clicked")}, {}, {},
            "window at 640.5,12.25");
    }
    void eventsAreAnsweredOrLogged()
    {
        QFETCH(bool, locked);
        QFETCH(QList<QJsonObject>, events);
        QFETCH(QList<QJsonObject>, answers);
        QFETCH(QStringList, log);
        QFETCH(QString, effect);
        ExtensionClient other(m_server->port());
        QVERIFY(other.waitConnected());
        lockIf(locked);
        settle(other);
        m_browsers->recordLogin("hint.example.com", uuid(3));
        for (const QJsonObject &event : events)
            send(*m_client, event);
        QCOMPARE(settle(*m_client), answers);
        QCOMPARE(settle(other), QList<QJsonObject>());
        QCOMPARE(logged(), log);
        QStringList effects = takeAddedItems();
        if (m_capture->pendingItem())
            effects << "pending";
        for (const QPointF point : m_window->shown)
            effects << QStringLiteral("window at %1,%2").arg(point.x()).arg(point.y());
        QCOMPARE(effects.join(", "), effect);
    }
};

QTEST_MAIN(TestExtensionHandler)
#include "tst_extensionhandler.moc"
