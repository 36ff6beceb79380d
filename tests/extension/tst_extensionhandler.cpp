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

#include <algorithm>
#include <memory>
#include <optional>

using namespace pexi;

namespace {

const QPointF mouse(640.5, 12.25);

class RecordingWindow : public WindowPresenter
{
public:
    void showAt(QPointF point) override { shown.append({point, false}); }
    void showAt(QPointF point, const InventoryItem &) override { shown.append({point, true}); }
    QList<std::pair<QPointF, bool>> shown; // where, and whether with an item
};

// Sends `data` as Chrome's extension does.
void send(ExtensionClient &client, const QJsonObject &data)
{
    const QJsonObject envelope{{"data", data}, {"sender", "chrome"}, {"build", "7.1"}};
    client.send(QJsonDocument(envelope).toJson(QJsonDocument::Compact));
}

// What arrived before both answers to a lock check sent now, as objects.
QList<QJsonObject> settle(ExtensionClient &client)
{
    QList<QJsonObject> objects;
    for (const QString &text : client.settle(2)) {
        const QJsonDocument document = QJsonDocument::fromJson(text.toUtf8());
        objects.append(document.isObject() ? document.object() : QJsonObject{{"text", text}});
    }
    return objects;
}

// The vault's contents as "uuid end|title|username|password|site", "-" for none. Titles give the
// inventory order (case and accents ignored, then uuid).
const QStringList fixture{
    "1|Beta Shop|carol|pw-shop|https://shop.example.com/account",
    "2|alpha mail|ann@example.com|pw-mail|https://mail.example.com/login",
    "3|beta|-|pw-beta|example.com",
    "4|Twin|second|pw-twin-2|https://twin.net",
    "5|Twin|first|pw-twin-1|https://www.twin.net/in",
    "6|Éclair|e|pw-eclair|https://eclair.example.com",
    "7|Notes|n|pw-notes|-",
    "B|Blank site|b|pw-blank|",
    "C|Gone|g|pw-gone|example.com",
};
QString field(const QString &row, int n)
{
    return n == 0 ? "A0000000-0000-4000-8000-00000000000" + row.section(u'|', 0, 0)
                  : row.section(u'|', n, n);
}
std::optional<QString> optionalField(const QString &row, int n)
{
    return field(row, n) == "-" ? std::nullopt : std::optional(field(row, n));
}
const QString goneUuid = field(fixture.last(), 0);

// The fixture item of `uuid` as the extension sees it: username and site only when it has them.
QJsonObject credential(const QString &uuid, bool withPassword)
{
    const QString row = *std::find_if(fixture.cbegin(), fixture.cend(),
                                      [&](const QString &row) { return field(row, 0) == uuid; });
    QJsonObject object{{"uuid", uuid}, {"title", field(row, 1)}};
    if (withPassword)
        object.insert("password", field(row, 3));
    for (int n : {2, 4}) {
        if (optionalField(row, n))
            object.insert(n == 2 ? "username" : "site", field(row, n));
    }
    return object;
}
QString uuidOf(const QString &title, const QString &username = {})
{
    for (const QString &row : fixture) {
        if (field(row, 1) == title && (username.isEmpty() || field(row, 2) == username))
            return field(row, 0);
    }
    return {};
}

// "store site|title|username|password", "commit" or "abort" as an event.
QJsonObject step(const QString &text)
{
    if (!text.startsWith(QLatin1String("store ")))
        return {{"command", "credentials_" + text}};
    const QStringList p = text.mid(6).split(u'|');
    return {
        {"command", "credentials_store"},
        {"site", p.value(0)},
        {"credential",
         QJsonObject{{"title", p.value(1)}, {"username", p.value(2)}, {"password", p.value(3)}}}};
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

    QStringList logged() { return serverLog(*m_output); }
    // Removes the items not in the fixture; returns them as "title|username|password|site".
    QStringList takeAddedItems()
    {
        QStringList added;
        m_vault->locker.runWithInventory([&](Inventory &inventory) {
            for (const InventoryItem &item : inventory.itemList()) {
                if (item.uuid().startsWith(QLatin1String("A0000000-")))
                    continue;
                added << QStringList{item.title(), item.username().value_or("-"), item.password(),
                                     item.site().value_or("-")}
                             .join(u'|');
                inventory.deleteItem(item.uuid());
            }
        });
        added.sort();
        return added;
    }
    void lockAndSettle()
    {
        m_vault->locker.lock();
        settle(*m_client); // the push of the lock
    }

private slots:
    void initTestCase()
    {
        m_vault = std::make_unique<TemporaryVault>();
        QVERIFY(m_vault->unlock());
        m_vault->locker.runWithInventory([](Inventory &inventory) {
            for (const QString &row : fixture)
                inventory.upsert(InventoryItem(field(row, 1), optionalField(row, 2), field(row, 3),
                                               optionalField(row, 4), {}, {}, field(row, 0)));
            inventory.deleteItem(goneUuid);
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

        m_server =
            std::make_unique<ExtensionServer>(0, m_vault->locker, *m_browsers, m_vault->center);
        ExtensionHandler::install(
            *m_server, {m_vault->locker, *m_browsers, *m_capture, *m_window, [] { return mouse; }});
        QVERIFY(m_server->start());
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

    void lockCheckIsAnsweredTwiceOnTheAskingSocketOnly_data()
    {
        QTest::addColumn<bool>("locked");
        QTest::addColumn<QJsonValue>("session");
        QTest::addColumn<QJsonValue>("answered");
        QTest::newRow("locked") << true << QJsonValue("s1") << QJsonValue("s1");
        QTest::newRow("unlocked") << false << QJsonValue("s1") << QJsonValue("s1");
        QTest::newRow("without session") << true << QJsonValue() << QJsonValue(QJsonValue::Null);
        QTest::newRow("numeric session") << false << QJsonValue(5) << QJsonValue(QJsonValue::Null);
    }
    void lockCheckIsAnsweredTwiceOnTheAskingSocketOnly()
    {
        QFETCH(bool, locked);
        QFETCH(QJsonValue, session);
        QFETCH(QJsonValue, answered);
        ExtensionClient other(m_server->port());
        QVERIFY(other.waitConnected());
        if (locked)
            lockAndSettle();
        settle(other);
        QJsonObject check{{"command", "pexi_lock_check"}};
        if (!session.isNull())
            check.insert("session", session);
        send(*m_client, check);
        const QJsonObject answer{
            {"command", "pexi_lock_state"}, {"session", answered}, {"locked", locked}};
        QCOMPARE(settle(*m_client), (QList<QJsonObject>{answer, answer}));
        QCOMPARE(settle(other), QList<QJsonObject>());
        QCOMPARE(logged(), QStringList());
    }

    // Until the first vault is made there is nothing to open: the extensions hear "locked".
    void lockCheckWithoutAVaultAnswersLocked()
    {
        TemporaryVault none(false);
        ExtensionServer server(0, none.locker, *m_browsers, none.center);
        ExtensionHandler::install(
            server, {none.locker, *m_browsers, *m_capture, *m_window, [] { return mouse; }});
        QVERIFY(server.start());
        ExtensionClient client(server.port());
        QVERIFY(client.waitConnected());
        send(client, {{"command", "pexi_lock_check"}, {"session", "s1"}});
        const QJsonObject answer{
            {"command", "pexi_lock_state"}, {"session", "s1"}, {"locked", true}};
        QCOMPARE(settle(client), (QList<QJsonObject>{answer, answer}));
    }

    void searchSuggestsMatchingItemsInInventoryOrder_data()
    {
        QTest::addColumn<QString>("site");
        QTest::addColumn<QStringList>("uuids");
        QTest::addColumn<QString>("log"); // anything but "sent SUGGEST": nothing is sent
        QTest::addColumn<bool>("locked");
        QTest::addColumn<QStringList>("opened"); // logins the user opened: "host uuid"
        QTest::addColumn<QString>("hint");
        const auto row = [](const char *name, const QString &site, const QStringList &uuids,
                            const QString &log = "sent SUGGEST", bool locked = false,
                            const QStringList &opened = {}, const QString &hint = {}) {
            QTest::newRow(name) << site << uuids << log << locked << opened << hint;
        };
        const QStringList example{uuidOf("alpha mail"), uuidOf("beta"), uuidOf("Beta Shop"),
                                  uuidOf("Éclair")};
        const QStringList twins{uuidOf("Twin", "second"), uuidOf("Twin", "first")};
        const QString unparsable = QStringLiteral("unable to parse host info from search event");
        const QString lockedLog = QStringLiteral("got a search event, but inventory was locked");
        const QString beta = uuidOf("beta");

        row("page on a subdomain", "https://www.example.com/login?next=1", example);
        row("nothing saved for the site", "https://nothing.test/x", {});
        row("locked", "https://www.example.com/", {}, lockedLog, true);
        row("locked, bad site", "not a host", {}, lockedLog, true); // the lock is looked at first
        row("empty site", "", {}, unparsable);
        row("hint for this host", "https://www.example.com/login", example, "sent SUGGEST", false,
            {"www.example.com " + beta}, beta);
        row("the later login wins", "https://twin.net/", twins, "sent SUGGEST", false,
            {"twin.net " + twins.last(), "twin.net " + twins.first()}, twins.first());
        // Which sites match is the inventory's business; the handler keeps its order. Hosts of
        // hints compare exactly, unlike suggestions.
        row("hint of another subdomain", "https://mail.example.com/", example, "sent SUGGEST",
            false, {"www.example.com " + beta});
        // The hint is whatever was opened, suggested or not.
        row("hint of another site", "https://nothing.test/", {}, "sent SUGGEST", false,
            {"nothing.test " + beta}, beta);
    }
    void searchSuggestsMatchingItemsInInventoryOrder()
    {
        QFETCH(QString, site);
        QFETCH(QStringList, uuids);
        QFETCH(QString, log);
        QFETCH(bool, locked);
        QFETCH(QStringList, opened);
        QFETCH(QString, hint);
        if (locked)
            lockAndSettle();
        for (const QString &login : opened)
            m_browsers->recordLogin(login.section(u' ', 0, 0), login.section(u' ', 1));

        for (int again = 0; again < 2; ++again) { // a hint stays for later searches
            send(*m_client,
                 {{"command", "credentials_search"}, {"site", site}, {"session", "s-42"}});
            const QList<QJsonObject> answers = settle(*m_client);
            QCOMPARE(logged(), QStringList{log});
            if (log != "sent SUGGEST") {
                QCOMPARE(answers, QList<QJsonObject>());
                return;
            }
            QCOMPARE(answers.size(), 1);
            QJsonObject answer = answers.first();
            QCOMPARE(answer.take("logInWithUUID"),
                     hint.isEmpty() ? QJsonValue(QJsonValue::Undefined) : QJsonValue(hint));
            // Without a hint the key is left out, not null.
            QCOMPARE(answer.keys(), (QStringList{"command", "credentials", "session"}));
            QCOMPARE(answer.value("command"), QJsonValue("credentials_suggest"));
            QCOMPARE(answer.value("session"), QJsonValue("s-42"));
            QJsonArray expected; // never with a password
            for (const QString &uuid : uuids)
                expected.append(credential(uuid, false));
            QCOMPARE(answer.value("credentials").toArray(), expected);
        }
    }

    void requestProvidesTheCredentialOrLogsItMissing_data()
    {
        QTest::addColumn<QString>("uuid");
        QTest::addColumn<bool>("locked");
        QTest::addColumn<bool>("found");
        QTest::newRow("without username") << uuidOf("beta") << false << true;
        QTest::newRow("without site") << uuidOf("Notes") << false << true;
        QTest::newRow("empty site") << uuidOf("Blank site") << false << true;
        QTest::newRow("unknown uuid") << "B0000000-0000-4000-8000-000000000001" << false << false;
        QTest::newRow("deleted item") << goneUuid << false << false;
        QTest::newRow("while locked") << uuidOf("beta") << true << false;
    }
    void requestProvidesTheCredentialOrLogsItMissing()
    {
        QFETCH(QString, uuid);
        QFETCH(bool, locked);
        QFETCH(bool, found);
        if (locked)
            lockAndSettle();
        send(*m_client, {{"command", "request_credential"}, {"uuid", uuid}, {"session", "s-7"}});
        const QList<QJsonObject> answers = settle(*m_client);
        if (!found) {
            QCOMPARE(answers, QList<QJsonObject>());
            QCOMPARE(logged(), QStringList{"item missing for uuid-based request!"});
            return;
        }
        QCOMPARE(answers, (QList<QJsonObject>{{{"command", "provide_credential"},
                                               {"session", "s-7"},
                                               {"credential", credential(uuid, true)}}}));
        QCOMPARE(logged(), QStringList{"sent PROVIDE"});
    }

    // Logins are saved as they are committed (the preferences say so by default).
    void storeCommitAndAbort_data()
    {
        QTest::addColumn<QStringList>("steps");
        QTest::addColumn<QStringList>("saved"); // title|username|password|site
        const auto row = [](const char *name, const QStringList &steps, const QString &saved) {
            QTest::newRow(name) << steps << (saved.isEmpty() ? QStringList() : QStringList{saved});
        };
        const QString site = "https://login.example.org/in";
        const QString first = "store " + site + "|Sign in|ann|first secret";
        const QString empty = "store " + site + "|Sign in|carl|";
        const QString ann = "Example|ann|first secret|" + site;

        row("store only", {first}, "");
        row("store, commit", {first, "commit"}, ann);
        row("store, abort, commit", {first, "abort", "commit"}, "");
        row("second store replaces the first",
            {first, "store " + site + "|Sign in|bob|second secret", "commit"},
            "Example|bob|second secret|" + site);
        row("empty password keeps what was pending", {first, empty, "commit"}, ann);
        row("empty password alone", {empty, "commit"}, "");
        // The title from the site wins over the page title the extension sends.
    }
    void storeCommitAndAbort()
    {
        QFETCH(QStringList, steps);
        QFETCH(QStringList, saved);
        for (const QString &text : steps)
            send(*m_client, step(text));
        QCOMPARE(settle(*m_client), QList<QJsonObject>());
        QCOMPARE(takeAddedItems(), saved);
        QCOMPARE(bool(m_capture->pendingItem()), steps.last().startsWith(u"store"));
        QCOMPARE(logged(), QStringList());
        QVERIFY(m_window->shown.isEmpty());
    }

    void iconClickOpensTheWindow_data()
    {
        QTest::addColumn<QJsonValue>("coordinates");
        QTest::addColumn<QPointF>("point");
        QTest::newRow("at the given point")
            << QJsonValue(QJsonObject{{"x", -1280}, {"y", 0.25}}) << QPointF(-1280, 0.25);
        QTest::newRow("without coordinates") << QJsonValue(QJsonValue::Undefined) << mouse;
    }
    void iconClickOpensTheWindow()
    {
        QFETCH(QJsonValue, coordinates);
        QFETCH(QPointF, point);
        QJsonObject event{{"command", "ext_icon_clicked"}};
        if (!coordinates.isUndefined())
            event.insert("coordinates", coordinates);
        send(*m_client, event);
        QCOMPARE(settle(*m_client), QList<QJsonObject>());
        QCOMPARE(m_window->shown, (QList<std::pair<QPointF, bool>>{{point, false}}));
        QCOMPARE(logged(), QStringList());
    }
};

QTEST_MAIN(TestExtensionHandler)
#include "tst_extensionhandler.moc"
