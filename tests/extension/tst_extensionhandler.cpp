#include "support/TemporaryVault.h"

#include "app/Preferences.h"
#include "app/Window.h"
#include "capture/SavePasswordController.h"
#include "core/Inventory.h"
#include "extension/BrowserController.h"
#include "extension/ExtensionHandler.h"
#include "extension/ExtensionServer.h"
#include "platform/BrowserLauncher.h"
#include "platform/UserNotificationCenter.h"

#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QSet>
#include <QSettings>
#include <QTest>
#include <QWebSocket>

#include <cstdio>
#include <memory>
#include <optional>

#include <unistd.h>

using namespace pexi;

namespace {

constexpr int waitMs = 10000;

// Log lines go to standard output, and so does Qt Test's own report. While one of these lives,
// file descriptor 1 points at a temporary file; when it ends, a failed test's output, report
// lines included, is replayed on the real output so that nothing of a failure is lost.
class StandardOutputCapture
{
public:
    StandardOutputCapture()
    {
        std::fflush(stdout);
        m_file = std::tmpfile();
        m_saved = ::dup(STDOUT_FILENO);
        if (m_file && m_saved >= 0)
            ::dup2(::fileno(m_file), STDOUT_FILENO);
    }
    ~StandardOutputCapture()
    {
        std::fflush(stdout);
        if (m_saved >= 0) {
            ::dup2(m_saved, STDOUT_FILENO);
            ::close(m_saved);
        }
        if (QTest::currentTestFailed()) {
            const QByteArray text = contents();
            std::fwrite(text.constData(), 1, size_t(text.size()), stdout);
            std::fflush(stdout);
        }
        if (m_file)
            std::fclose(m_file);
    }
    StandardOutputCapture(const StandardOutputCapture &) = delete;
    StandardOutputCapture &operator=(const StandardOutputCapture &) = delete;

    // The lines written since the previous call.
    QStringList takeLines()
    {
        std::fflush(stdout);
        const QByteArray text = contents();
        const QByteArray fresh = text.mid(m_taken);
        m_taken = text.size();
        QStringList lines = QString::fromUtf8(fresh).split(u'\n');
        if (!lines.isEmpty() && lines.last().isEmpty())
            lines.removeLast();
        return lines;
    }

private:
    QByteArray contents() const
    {
        QByteArray text;
        if (!m_file)
            return text;
        char buffer[65536];
        off_t offset = 0;
        for (;;) {
            const ssize_t n = ::pread(::fileno(m_file), buffer, sizeof buffer, offset);
            if (n <= 0)
                break;
            text.append(buffer, n);
            offset += n;
        }
        return text;
    }

    std::FILE *m_file = nullptr;
    int m_saved = -1;
    qsizetype m_taken = 0;
};

class RecordingLauncher : public BrowserLauncher
{
public:
    bool openUrl(const QUrl &, const QString &) override { return true; }
    bool openWithDefaultHandler(const QUrl &) override { return true; }
    bool isInstalled(const QString &) const override { return false; }
};

class RecordingWindow : public Window
{
public:
    struct Shown
    {
        QPointF point;
        std::optional<InventoryItem> item;
    };

    void showAt(QPointF point) override { shown.append({point, std::nullopt}); }
    void showAt(QPointF point, const InventoryItem &item) override { shown.append({point, item}); }

    QList<Shown> shown;
};

// The desktop's notification server cannot run here; this one keeps what it is given.
class RecordingNotificationCenter : public UserNotificationCenter
{
public:
    NotificationId deliverNotification(const UserNotification &notification) override
    {
        delivered.append(notification);
        return NotificationId(delivered.size());
    }
    void removeDeliveredNotification(NotificationId) override {}

    QList<UserNotification> delivered;
};

// One extension's end of a connection: a real WebSocket on loopback that keeps what it hears.
class Client
{
public:
    explicit Client(quint16 port)
    {
        QObject::connect(&socket, &QWebSocket::connected, [this] { wasConnected = true; });
        QObject::connect(&socket, &QWebSocket::textMessageReceived,
                         [this](const QString &text) { texts.append(text); });
        socket.open(QUrl(QStringLiteral("ws://127.0.0.1:%1/").arg(port)));
    }

    bool waitConnected()
    {
        return QTest::qWaitFor([this] { return wasConnected; }, waitMs);
    }

    void send(const QJsonObject &data)
    {
        const QJsonObject envelope{{"data", data}, {"sender", "chrome"}, {"build", "7.1"}};
        socket.sendTextMessage(
            QString::fromUtf8(QJsonDocument(envelope).toJson(QJsonDocument::Compact)));
    }

    // Frames are handled in order: once both answers to a lock check sent after them are in,
    // everything before it has been handled. Returns what arrived before those answers, parsed.
    QList<QJsonObject> settle()
    {
        const QString session = QStringLiteral("settle-%1").arg(++m_settles);
        send({{"command", "pexi_lock_check"}, {"session", session}});
        const auto isAnswer = [&](const QString &text) {
            return QJsonDocument::fromJson(text.toUtf8()).object().value("session") == session;
        };
        const bool answered = QTest::qWaitFor(
            [&] { return std::count_if(texts.cbegin(), texts.cend(), isAnswer) == 2; }, waitMs);
        QList<QJsonObject> before;
        if (!answered) {
            before.append({{"error", "no answer to " + session}});
            return before;
        }
        for (const QString &text : std::as_const(texts)) {
            if (isAnswer(text))
                break;
            before.append(QJsonDocument::fromJson(text.toUtf8()).object());
        }
        texts.clear();
        return before;
    }

    QWebSocket socket;
    QStringList texts;
    bool wasConnected = false;

private:
    int m_settles = 0;
};

// The vault's contents for every test. Titles give the inventory order: case and accents
// are ignored, then the uuid decides.
struct Row
{
    const char *uuid;
    const char *title;
    std::optional<QString> username;
    const char *password;
    std::optional<QString> site;
};

const std::optional<QString> none;
std::optional<QString> text(const char *value)
{
    return QString::fromUtf8(value);
}

const QList<Row> fixture{
    {"A0000000-0000-4000-8000-000000000001", "Beta Shop", text("carol"), "pw-shop",
     text("https://shop.example.com/account")},
    {"A0000000-0000-4000-8000-000000000002", "alpha mail", text("ann@example.com"), "pw-mail",
     text("https://mail.example.com/login")},
    {"A0000000-0000-4000-8000-000000000003", "beta", none, "pw-beta", text("example.com")},
    {"A0000000-0000-4000-8000-000000000004", "Twin", text("second"), "pw-twin-2",
     text("https://twin.net")},
    {"A0000000-0000-4000-8000-000000000005", "Twin", text("first"), "pw-twin-1",
     text("https://www.twin.net/in")},
    {"A0000000-0000-4000-8000-000000000006", "Éclair", text("e"), "pw-eclair",
     text("https://eclair.example.com")},
    {"A0000000-0000-4000-8000-000000000007", "Notes", text("n"), "pw-notes", none},
    {"A0000000-0000-4000-8000-000000000008", "Alice pages", text("alice"), "pw-alice",
     text("alice.github.io")},
    {"A0000000-0000-4000-8000-000000000009", "Bob pages", text("bob"), "pw-bob",
     text("https://bob.github.io")},
    {"A0000000-0000-4000-8000-00000000000A", "Router", text("admin"), "pw-router",
     text("http://192.168.1.1")},
    {"A0000000-0000-4000-8000-00000000000B", "Blank site", text("b"), "pw-blank", text("")},
    {"A0000000-0000-4000-8000-00000000000C", "Gone", text("g"), "pw-gone", text("example.com")},
};

const QString goneUuid = QStringLiteral("A0000000-0000-4000-8000-00000000000C");

QString uuidOf(const char *title, const char *username = nullptr)
{
    for (const Row &row : fixture) {
        if (QString::fromUtf8(row.title) == QString::fromUtf8(title) &&
            (!username || row.username == QString::fromUtf8(username)))
            return QString::fromLatin1(row.uuid);
    }
    return {};
}

const QPointF mouse(640.5, 12.25);

} // namespace

class TestExtensionHandler : public QObject
{
    Q_OBJECT

private:
    std::unique_ptr<TemporaryVault> m_vault;
    QTemporaryDir m_configDir;

    std::optional<StandardOutputCapture> m_output;
    std::unique_ptr<RecordingLauncher> m_launcher;
    std::unique_ptr<BrowserController> m_browsers;
    std::unique_ptr<Preferences> m_preferences;
    std::unique_ptr<RecordingNotificationCenter> m_notifications;
    std::unique_ptr<RecordingWindow> m_window;
    QStringList m_events;
    std::unique_ptr<SavePasswordController> m_capture;
    std::unique_ptr<ExtensionServer> m_server;
    std::unique_ptr<Client> m_client;

    QStringList logged()
    {
        QStringList lines = m_output->takeLines();
        lines.removeAll(QStringLiteral("websocket opened!"));
        return lines;
    }

    QList<InventoryItem> items()
    {
        QList<InventoryItem> list;
        m_vault->locker.runWithInventory(
            [&](Inventory &inventory) { list = inventory.itemList(); });
        return list;
    }

    // Items that are not part of the fixture, as "title|username|password|site".
    QStringList addedItems()
    {
        QStringList added;
        for (const InventoryItem &item : items()) {
            if (!item.uuid().startsWith(QLatin1String("A0000000-")))
                added << QStringList{item.title(), item.username().value_or("-"), item.password(),
                                     item.site().value_or("-")}
                             .join(u'|');
        }
        return added;
    }

    static QJsonObject search(const QString &site, const QString &session = QStringLiteral("s1"))
    {
        return {{"command", "credentials_search"}, {"site", site}, {"session", session}};
    }
    static QJsonObject request(const QString &uuid, const QString &session = QStringLiteral("s2"))
    {
        return {{"command", "request_credential"}, {"uuid", uuid}, {"session", session}};
    }
    // "store site|title|username|password", "commit" or "abort" as a frame's event.
    static QJsonObject step(const QString &text)
    {
        if (!text.startsWith(QLatin1String("store ")))
            return {{"command", "credentials_" + text}};
        const QStringList parts = text.mid(6).split(u'|');
        return {{"command", "credentials_store"},
                {"site", parts.value(0)},
                {"credential", QJsonObject{{"title", parts.value(1)},
                                           {"username", parts.value(2)},
                                           {"password", parts.value(3)}}}};
    }

private slots:
    void initTestCase()
    {
        QVERIFY(m_configDir.isValid());
        m_vault = std::make_unique<TemporaryVault>();
        QVERIFY(m_vault->unlock());
        m_vault->locker.runWithInventory([](Inventory &inventory) {
            for (const Row &row : fixture) {
                inventory.upsert(InventoryItem(QString::fromUtf8(row.title), row.username,
                                               QString::fromUtf8(row.password), row.site, {}, {},
                                               QString::fromLatin1(row.uuid)));
            }
            inventory.deleteItem(goneUuid);
        });
        QCOMPARE(items().size(), fixture.size() - 1);
    }

    void init()
    {
        m_output.emplace();
        if (m_vault->locker.lockState() == LockState::locked)
            QVERIFY(m_vault->unlock());

        m_launcher = std::make_unique<RecordingLauncher>();
        m_browsers = std::make_unique<BrowserController>(*m_launcher);
        QFile::remove(m_configDir.filePath(QStringLiteral("preferences.conf")));
        m_preferences = std::make_unique<Preferences>(std::make_unique<QSettings>(
            m_configDir.filePath(QStringLiteral("preferences.conf")), QSettings::IniFormat));
        Preferences::registerDefaults(*m_preferences);
        m_notifications = std::make_unique<RecordingNotificationCenter>();
        m_window = std::make_unique<RecordingWindow>();
        m_events.clear();

        SavePasswordController::Services capture;
        capture.preferences = m_preferences.get();
        capture.logEvent = [this](const QString &name) { m_events << name; };
        capture.notificationCenter = m_notifications.get();
        capture.window = m_window.get();
        capture.locker = &m_vault->locker;
        capture.mouseLocation = [] { return mouse; };
        m_capture = std::make_unique<SavePasswordController>(capture);

        m_server =
            std::make_unique<ExtensionServer>(0, m_vault->locker, *m_browsers, m_vault->center);
        ExtensionHandler::install(*m_server, {&m_vault->locker, m_browsers.get(), m_capture.get(),
                                              m_window.get(), [] { return mouse; }});
        QVERIFY(m_server->start());
        m_client = std::make_unique<Client>(m_server->port());
        QVERIFY(m_client->waitConnected());
        logged();
    }

    void cleanup()
    {
        m_client.reset();
        m_server.reset();
        m_capture.reset();
        if (m_vault->locker.lockState() == LockState::locked)
            QVERIFY(m_vault->unlock());
        // Back to the fixture: captured logins go again.
        m_vault->locker.runWithInventory([](Inventory &inventory) {
            for (const InventoryItem &item : inventory.itemList()) {
                if (!item.uuid().startsWith(QLatin1String("A0000000-")))
                    inventory.deleteItem(item.uuid());
            }
        });
        m_output.reset();
    }

    // Search

    void searchSuggestsMatchingItemsInInventoryOrder_data()
    {
        QTest::addColumn<QString>("site");
        QTest::addColumn<QStringList>("uuids");

        const QStringList example{uuidOf("alpha mail"), uuidOf("beta"), uuidOf("Beta Shop"),
                                  uuidOf("Éclair")};
        QTest::newRow("page on a subdomain") << "https://www.example.com/login?next=1" << example;
        QTest::newRow("bare registrable domain") << "example.com" << example;
        QTest::newRow("upper case with port") << "HTTPS://MAIL.EXAMPLE.COM:443/" << example;
        QTest::newRow("equal sites, both listed")
            << "https://twin.net/login"
            << QStringList{uuidOf("Twin", "second"), uuidOf("Twin", "first")};
        QTest::newRow("private suffix keeps users apart")
            << "https://alice.github.io/blog" << QStringList{uuidOf("Alice pages")};
        QTest::newRow("address matches exactly")
            << "http://192.168.1.1:8080/admin" << QStringList{uuidOf("Router")};
        QTest::newRow("another address") << "http://192.168.1.2/" << QStringList{};
        QTest::newRow("nothing saved for the site") << "https://nothing.test/x" << QStringList{};
        QTest::newRow("suffix lookalike") << "https://example.com.evil.test" << QStringList{};
    }
    void searchSuggestsMatchingItemsInInventoryOrder()
    {
        QFETCH(QString, site);
        QFETCH(QStringList, uuids);

        m_client->send(search(site, "s-42"));
        const QList<QJsonObject> answers = m_client->settle();
        QCOMPARE(answers.size(), 1);
        const QJsonObject answer = answers.first();
        // No login hint: the key is left out, not null.
        QCOMPARE(answer.keys(), (QStringList{"command", "credentials", "session"}));
        QCOMPARE(answer.value("command"), QJsonValue("credentials_suggest"));
        QCOMPARE(answer.value("session"), QJsonValue("s-42"));

        QStringList suggested;
        for (const QJsonValue &value : answer.value("credentials").toArray()) {
            const QJsonObject credential = value.toObject();
            const QString uuid = credential.value("uuid").toString();
            suggested << uuid;
            const auto row = std::find_if(fixture.cbegin(), fixture.cend(), [&](const Row &r) {
                return uuid == QLatin1String(r.uuid);
            });
            QVERIFY(row != fixture.cend());
            // Never a password; username and site only when the item has them.
            QJsonObject expected{{"uuid", uuid}, {"title", QString::fromUtf8(row->title)}};
            if (row->username)
                expected.insert("username", *row->username);
            if (row->site)
                expected.insert("site", *row->site);
            QCOMPARE(credential, expected);
        }
        QCOMPARE(suggested, uuids);
        QCOMPARE(logged(), QStringList{"sent SUGGEST"});
    }

    void itemsWithoutUsableSiteAreNeverSuggested()
    {
        // "Notes" has no site and "Blank site" an empty one; neither matches any search, even
        // one for an empty site, which is refused before the inventory is looked at.
        for (const QString &site :
             {QStringLiteral("https://notes.example.org"), QStringLiteral("")}) {
            m_client->send(search(site));
            for (const QJsonObject &answer : m_client->settle()) {
                for (const QJsonValue &value : answer.value("credentials").toArray()) {
                    const QString uuid = value.toObject().value("uuid").toString();
                    QVERIFY(uuid != uuidOf("Notes"));
                    QVERIFY(uuid != uuidOf("Blank site"));
                }
            }
        }
    }

    void loginHintNamesTheItemLastOpenedForTheHost_data()
    {
        QTest::addColumn<QStringList>("opened");
        QTest::addColumn<QString>("site");
        QTest::addColumn<QString>("hint");

        QTest::newRow("opened for this host") << QStringList{"www.example.com " + uuidOf("beta")}
                                              << "https://www.example.com/login" << uuidOf("beta");
        QTest::newRow("hint kept for later searches")
            << QStringList{"mail.example.com " + uuidOf("alpha mail")}
            << "https://mail.example.com/u/0/inbox" << uuidOf("alpha mail");
        QTest::newRow("the later login wins") << QStringList{"twin.net " + uuidOf("Twin", "first"),
                                                             "twin.net " + uuidOf("Twin", "second")}
                                              << "https://twin.net/" << uuidOf("Twin", "second");
        // Hosts compare exactly, unlike suggestions.
        QTest::newRow("other subdomain")
            << QStringList{"www.example.com " + uuidOf("beta")} << "https://mail.example.com/"
            << "";
        QTest::newRow("nothing opened") << QStringList{} << "https://www.example.com/"
                                        << "";
        // The hint is whatever was opened, suggested or not.
        QTest::newRow("item of another site") << QStringList{"nothing.test " + uuidOf("Router")}
                                              << "https://nothing.test/" << uuidOf("Router");
    }
    void loginHintNamesTheItemLastOpenedForTheHost()
    {
        QFETCH(QStringList, opened);
        QFETCH(QString, site);
        QFETCH(QString, hint);
        for (const QString &login : opened)
            m_browsers->recordLogin(login.section(u' ', 0, 0), login.section(u' ', 1));

        m_client->send(search(site));
        const QList<QJsonObject> answers = m_client->settle();
        QCOMPARE(answers.size(), 1);
        QCOMPARE(answers.first().value("command"), QJsonValue("credentials_suggest"));
        QCOMPARE(answers.first().contains("logInWithUUID"), !hint.isEmpty());
        QCOMPARE(answers.first().value("logInWithUUID").toString(), hint);
    }

    void searchThatCannotBeAnsweredLogsAndSendsNothing_data()
    {
        QTest::addColumn<bool>("locked");
        QTest::addColumn<QString>("site");
        QTest::addColumn<QString>("log");
        const QString unparsable = QStringLiteral("unable to parse host info from search event");

        QTest::newRow("locked") << true << "https://www.example.com/"
                                << "got a search event, but inventory was locked";
        // The lock is looked at before the site.
        QTest::newRow("locked, bad site") << true << "not a host"
                                          << "got a search event, but inventory was locked";
        QTest::newRow("empty site") << false << "" << unparsable;
        QTest::newRow("words") << false << "not a host" << unparsable;
        QTest::newRow("scheme only") << false << "https://" << unparsable;
        QTest::newRow("no host in address") << false << "file:///etc/passwd" << unparsable;
        QTest::newRow("port out of range") << false << "example.com:99999" << unparsable;
    }
    void searchThatCannotBeAnsweredLogsAndSendsNothing()
    {
        QFETCH(bool, locked);
        QFETCH(QString, site);
        QFETCH(QString, log);
        if (locked)
            m_vault->locker.lock();
        m_client->settle(); // the push of the lock

        m_client->send(search(site));
        QCOMPARE(m_client->settle(), QList<QJsonObject>());
        QCOMPARE(logged(), QStringList{log});
    }

    // Request by uuid

    void requestProvidesTheCredentialWithItsPassword_data()
    {
        QTest::addColumn<QString>("uuid");
        QTest::addColumn<QJsonObject>("credential");

        QTest::newRow("full item") << uuidOf("alpha mail")
                                   << QJsonObject{{"uuid", uuidOf("alpha mail")},
                                                  {"title", "alpha mail"},
                                                  {"password", "pw-mail"},
                                                  {"username", "ann@example.com"},
                                                  {"site", "https://mail.example.com/login"}};
        QTest::newRow("without username") << uuidOf("beta")
                                          << QJsonObject{{"uuid", uuidOf("beta")},
                                                         {"title", "beta"},
                                                         {"password", "pw-beta"},
                                                         {"site", "example.com"}};
        QTest::newRow("without site") << uuidOf("Notes")
                                      << QJsonObject{{"uuid", uuidOf("Notes")},
                                                     {"title", "Notes"},
                                                     {"password", "pw-notes"},
                                                     {"username", "n"}};
        QTest::newRow("empty site is still a site") << uuidOf("Blank site")
                                                    << QJsonObject{{"uuid", uuidOf("Blank site")},
                                                                   {"title", "Blank site"},
                                                                   {"password", "pw-blank"},
                                                                   {"username", "b"},
                                                                   {"site", ""}};
    }
    void requestProvidesTheCredentialWithItsPassword()
    {
        QFETCH(QString, uuid);
        QFETCH(QJsonObject, credential);

        m_client->send(request(uuid, "s-7"));
        const QList<QJsonObject> answers = m_client->settle();
        QCOMPARE(answers.size(), 1);
        QCOMPARE(answers.first(), (QJsonObject{{"command", "provide_credential"},
                                               {"session", "s-7"},
                                               {"credential", credential}}));
        QCOMPARE(logged(), QStringList{"sent PROVIDE"});
    }

    void requestForAMissingItemLogsAndSendsNothing_data()
    {
        QTest::addColumn<QString>("uuid");
        QTest::addColumn<bool>("locked");

        QTest::newRow("unknown uuid") << "B0000000-0000-4000-8000-000000000001" << false;
        QTest::newRow("other case") << uuidOf("beta").toLower() << false;
        QTest::newRow("empty uuid") << "" << false;
        QTest::newRow("deleted item") << goneUuid << false;
        QTest::newRow("while locked") << uuidOf("beta") << true;
    }
    void requestForAMissingItemLogsAndSendsNothing()
    {
        QFETCH(QString, uuid);
        QFETCH(bool, locked);
        if (locked)
            m_vault->locker.lock();
        m_client->settle();

        m_client->send(request(uuid));
        QCOMPARE(m_client->settle(), QList<QJsonObject>());
        QCOMPARE(logged(), QStringList{"item missing for uuid-based request!"});
    }

    // Captured logins

    void storeCommitAndAbort_data()
    {
        QTest::addColumn<QStringList>("steps");
        QTest::addColumn<bool>("autoSave");
        QTest::addColumn<QStringList>("saved");
        QTest::addColumn<QStringList>("notified");

        const QString first = "store https://login.example.org/in|Sign in|ann|first secret";
        const QString second = "store https://login.example.org/in|Sign in|bob|second secret";
        const QString empty = "store https://login.example.org/in|Sign in|carl|";

        QTest::newRow("store, commit")
            << QStringList{first, "commit"} << true
            << QStringList{"Example|ann|first secret|https://login.example.org/in"}
            << QStringList{"Password Saved"};
        QTest::newRow("store, abort, commit")
            << QStringList{first, "abort", "commit"} << true << QStringList{} << QStringList{};
        QTest::newRow("commit alone")
            << QStringList{"commit"} << true << QStringList{} << QStringList{};
        QTest::newRow("second store replaces the first")
            << QStringList{first, second, "commit"} << true
            << QStringList{"Example|bob|second secret|https://login.example.org/in"}
            << QStringList{"Password Saved"};
        QTest::newRow("empty password keeps what was pending")
            << QStringList{first, empty, "commit"} << true
            << QStringList{"Example|ann|first secret|https://login.example.org/in"}
            << QStringList{"Password Saved"};
        QTest::newRow("empty password alone")
            << QStringList{empty, "commit"} << true << QStringList{} << QStringList{};
        QTest::newRow("one commit per store")
            << QStringList{first, "commit", "commit"} << true
            << QStringList{"Example|ann|first secret|https://login.example.org/in"}
            << QStringList{"Password Saved"};
        QTest::newRow("two logins")
            << QStringList{first, "commit", second, "commit"} << true
            << QStringList{"Example|ann|first secret|https://login.example.org/in",
                           "Example|bob|second secret|https://login.example.org/in"}
            << QStringList{"Password Saved", "Password Saved"};
        QTest::newRow("asked, not saved") << QStringList{first, "commit"} << false << QStringList{}
                                          << QStringList{"Save Password?"};
        // A password is taken exactly as typed, blanks included.
        QTest::newRow("password with blanks")
            << QStringList{"store https://login.example.org/in|Sign in|ann| pass word ", "commit"}
            << true << QStringList{"Example|ann| pass word |https://login.example.org/in"}
            << QStringList{"Password Saved"};
    }
    void storeCommitAndAbort()
    {
        QFETCH(QStringList, steps);
        QFETCH(bool, autoSave);
        QFETCH(QStringList, saved);
        QFETCH(QStringList, notified);
        m_preferences->setAutoSavePasswords(autoSave);

        for (const QString &text : steps)
            m_client->send(step(text));
        QCOMPARE(m_client->settle(), QList<QJsonObject>());

        QStringList added = addedItems();
        added.sort();
        QCOMPARE(added, saved);
        QStringList titles;
        for (const UserNotification &notification : std::as_const(m_notifications->delivered))
            titles << notification.title;
        QCOMPARE(titles, notified);
        QVERIFY(!m_capture->pendingItem());
        QCOMPARE(logged(), QStringList());
        QVERIFY(m_window->shown.isEmpty());
    }

    void storedLoginWaitsForCommit_data()
    {
        QTest::addColumn<QString>("store");
        QTest::addColumn<QString>("title");

        // The title from the site wins over the page title the extension sends.
        QTest::newRow("well-known login page")
            << "store https://www.linkedin.com/login|Sign In – LinkedIn|ann|pw"
            << "LinkedIn";
        QTest::newRow("well-known, no scheme") << "store www.facebook.com|Log into Facebook|ann|pw"
                                               << "Facebook";
        QTest::newRow("named after the host")
            << "store https://accounts.shop.example.co.uk/signin|Welcome back!|ann|pw"
            << "Example";
        QTest::newRow("address") << "store http://192.168.1.1/login|Router admin|ann|pw"
                                 << "192.168.1.1";
        // Only a site without a host leaves the extension's title.
        QTest::newRow("no host") << "store |Page title|ann|pw"
                                 << "Page title";
        QTest::newRow("scheme only") << "store https://|Page title|ann|pw"
                                     << "Page title";
    }
    void storedLoginWaitsForCommit()
    {
        QFETCH(QString, store);
        QFETCH(QString, title);

        m_client->send(step(store));
        QCOMPARE(m_client->settle(), QList<QJsonObject>());

        const std::optional<InventoryItem> pending = m_capture->pendingItem();
        QVERIFY(pending);
        const QStringList parts = store.mid(6).split(u'|');
        QCOMPARE(pending->title(), title);
        QCOMPARE(pending->site(), std::optional(parts.first()));
        QCOMPARE(pending->username(), std::optional(parts.at(parts.size() - 2)));
        QCOMPARE(pending->password(), parts.last());
        QVERIFY(!pending->uuid().isEmpty());
        QVERIFY(!pending->deleted());
        // Nothing is saved or shown before the commit.
        QVERIFY(addedItems().isEmpty());
        QVERIFY(m_notifications->delivered.isEmpty());
        QVERIFY(m_events.isEmpty());
        QCOMPARE(logged(), QStringList());
    }

    // Icon click

    void iconClickOpensTheWindow_data()
    {
        QTest::addColumn<QJsonValue>("coordinates");
        QTest::addColumn<QPointF>("point");

        QTest::newRow("at the given point")
            << QJsonValue(QJsonObject{{"x", 100.5}, {"y", 20}}) << QPointF(100.5, 20);
        QTest::newRow("negative, on a second screen")
            << QJsonValue(QJsonObject{{"x", -1280}, {"y", 0.25}}) << QPointF(-1280, 0.25);
        QTest::newRow("without coordinates") << QJsonValue(QJsonValue::Undefined) << mouse;
        QTest::newRow("coordinates as text") << QJsonValue("100,20") << mouse;
        QTest::newRow("a coordinate as text")
            << QJsonValue(QJsonObject{{"x", "100"}, {"y", 20}}) << mouse;
    }
    void iconClickOpensTheWindow()
    {
        QFETCH(QJsonValue, coordinates);
        QFETCH(QPointF, point);
        QJsonObject event{{"command", "ext_icon_clicked"}};
        if (!coordinates.isUndefined())
            event.insert("coordinates", coordinates);

        m_client->send(event);
        QCOMPARE(m_client->settle(), QList<QJsonObject>());
        QCOMPARE(m_window->shown.size(), 1);
        QCOMPARE(m_window->shown.first().point, point);
        QVERIFY(!m_window->shown.first().item);
        QCOMPARE(logged(), QStringList());
    }

    // Every answer goes to the socket that asked, and only there.

    void answersGoOnlyToTheAskingSocket()
    {
        Client other(m_server->port());
        QVERIFY(other.waitConnected());
        m_client->send(search("https://www.example.com/"));
        m_client->send(request(uuidOf("beta")));
        QCOMPARE(m_client->settle().size(), 2);
        QCOMPARE(other.settle(), QList<QJsonObject>());
    }
};

QTEST_MAIN(TestExtensionHandler)
#include "tst_extensionhandler.moc"
