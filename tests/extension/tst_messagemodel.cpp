#include "extension/AbortEvent.h"
#include "extension/Command.h"
#include "extension/CommitEvent.h"
#include "extension/ExtClickedEvent.h"
#include "extension/ExtensionError.h"
#include "extension/LockCheckEvent.h"
#include "extension/LockStateEvent.h"
#include "extension/ProvideEvent.h"
#include "extension/RequestEvent.h"
#include "extension/SearchEvent.h"
#include "extension/StoreEvent.h"
#include "extension/SuggestEvent.h"

#include <QJsonDocument>
#include <QJsonObject>
#include <QTest>

#include <memory>

using namespace pexi;

Q_DECLARE_METATYPE(Command)
Q_DECLARE_METATYPE(LockState)
Q_DECLARE_METATYPE(std::optional<QString>)
Q_DECLARE_METATYPE(PartialCredential)
Q_DECLARE_METATYPE(Credential)

namespace {

QJsonObject object(const char *json)
{
    QJsonParseError error;
    const QJsonDocument document = QJsonDocument::fromJson(json, &error);
    if (!document.isObject())
        qFatal("bad fixture %s: %s", json, qPrintable(error.errorString()));
    return document.object();
}

// Builds the event class the server would pick for `command` and renders every field, so that one
// table can cover all incoming classes. "parseError" when construction threw that.
QString parse(Command command, const QJsonObject &dictionary)
{
    std::unique_ptr<MiniAppEvent> event;
    QString fields;
    const auto text = [](const std::optional<QString> &value) {
        return value ? '"' + *value + '"' : QStringLiteral("none");
    };
    try {
        switch (command) {
        case Command::LOCK_CHECK: {
            auto lockCheck = std::make_unique<LockCheckEvent>(dictionary);
            fields = "session=" + text(lockCheck->session());
            event = std::move(lockCheck);
            break;
        }
        case Command::CREDS_SEARCH: {
            auto search = std::make_unique<SearchEvent>(dictionary);
            fields = "site=" + text(search->site()) + " session=" + text(search->session());
            event = std::move(search);
            break;
        }
        case Command::CREDS_REQUEST: {
            auto request = std::make_unique<RequestEvent>(dictionary);
            fields = "uuid=" + text(request->uuid()) + " session=" + text(request->session());
            event = std::move(request);
            break;
        }
        case Command::CREDS_STORE: {
            auto store = std::make_unique<StoreEvent>(dictionary);
            fields = "title=" + text(store->title()) + " site=" + text(store->site()) +
                     " username=" + text(store->username()) +
                     " password=" + text(store->password());
            event = std::move(store);
            break;
        }
        case Command::CREDS_COMMIT:
            event = std::make_unique<CommitEvent>(dictionary);
            break;
        case Command::CREDS_ABORT:
            event = std::make_unique<AbortEvent>(dictionary);
            break;
        case Command::EXT_CLICKED: {
            auto clicked = std::make_unique<ExtClickedEvent>(dictionary);
            const auto point = clicked->coordinates();
            fields = point ? QStringLiteral("point=(%1,%2)").arg(point->x()).arg(point->y())
                           : QStringLiteral("no point");
            event = std::move(clicked);
            break;
        }
        default:
            qFatal("not an incoming command");
        }
    } catch (const ExtensionError &error) {
        return error.kind() == ExtensionError::Kind::parseError ? QStringLiteral("parseError")
                                                                : QStringLiteral("other error");
    }
    // The class, not the wire, decides the command.
    if (event->command() != command)
        return "built as " + toRaw(event->command());
    return fields.isEmpty() ? QStringLiteral("ok") : fields;
}

// Written text, checked to be compact, then re-read so that key order does not matter.
QJsonObject reread(const QString &text)
{
    const QJsonDocument document = QJsonDocument::fromJson(text.toUtf8());
    if (!document.isObject())
        return {{"unreadable", text}};
    if (document.toJson(QJsonDocument::Compact) != text.toUtf8())
        return {{"not compact", text}};
    return document.object();
}

} // namespace

class TestMessageModel : public QObject
{
    Q_OBJECT

private slots:
    void commandRawValues_data();
    void commandRawValues();
    void commandFromUnknownText_data();
    void commandFromUnknownText();

    void incomingEvents_data();
    void incomingEvents();
    void parseErrorDoesNotNameTheKey();

    void lockStateIsReadAtWritingTime_data();
    void lockStateIsReadAtWritingTime();
    void suggestEvent_data();
    void suggestEvent();
    void provideEvent_data();
    void provideEvent();
};

void TestMessageModel::commandRawValues_data()
{
    QTest::addColumn<Command>("command");
    QTest::addColumn<QString>("raw");
    QTest::addColumn<int>("position");

    QTest::newRow("lock check") << Command::LOCK_CHECK << "pexi_lock_check" << 0;
    QTest::newRow("lock state") << Command::LOCK_STATE << "pexi_lock_state" << 1;
    QTest::newRow("search") << Command::CREDS_SEARCH << "credentials_search" << 2;
    QTest::newRow("suggest") << Command::CREDS_SUGGEST << "credentials_suggest" << 3;
    QTest::newRow("request") << Command::CREDS_REQUEST << "request_credential" << 4;
    QTest::newRow("provide") << Command::CREDS_PROVIDE << "provide_credential" << 5;
    QTest::newRow("store") << Command::CREDS_STORE << "credentials_store" << 6;
    QTest::newRow("commit") << Command::CREDS_COMMIT << "credentials_commit" << 7;
    QTest::newRow("abort") << Command::CREDS_ABORT << "credentials_abort" << 8;
    QTest::newRow("icon clicked") << Command::EXT_CLICKED << "ext_icon_clicked" << 9;
    QTest::newRow("navigate") << Command::NAVIGATE << "navigate" << 10;
}

void TestMessageModel::commandRawValues()
{
    QFETCH(Command, command);
    QFETCH(QString, raw);
    QFETCH(int, position);

    QCOMPARE(toRaw(command), raw);
    QCOMPARE(commandFromRaw(raw), std::optional<Command>(command));
    QCOMPARE(static_cast<int>(command), position);
}

void TestMessageModel::commandFromUnknownText_data()
{
    QTest::addColumn<QString>("raw");

    QTest::newRow("empty") << "";
    QTest::newRow("upper case") << "PEXI_LOCK_CHECK";
    QTest::newRow("capitalised") << "Navigate";
    QTest::newRow("trailing blank") << "credentials_search ";
    QTest::newRow("leading blank") << " credentials_search";
    QTest::newRow("case name instead of wire string") << "CREDS_SEARCH";
    QTest::newRow("prefix of a command") << "credentials";
    QTest::newRow("longer than a command") << "credentials_stored";
}

void TestMessageModel::commandFromUnknownText()
{
    QFETCH(QString, raw);

    QCOMPARE(commandFromRaw(raw), std::nullopt);
}

void TestMessageModel::incomingEvents_data()
{
    QTest::addColumn<Command>("command");
    QTest::addColumn<QJsonObject>("dictionary");
    QTest::addColumn<QString>("expected");

    const auto row = [](const char *name, Command command, const char *json,
                        const QString &expected) {
        QTest::newRow(name) << command << object(json) << expected;
    };

    row("lock check with session", Command::LOCK_CHECK,
        R"({"command":"pexi_lock_check","session":"s1"})", R"(session="s1")");
    row("lock check without session", Command::LOCK_CHECK, R"({"command":"pexi_lock_check"})",
        "session=none");
    row("lock check with numeric session", Command::LOCK_CHECK,
        R"({"command":"pexi_lock_check","session":7})", "session=none");
    row("lock check with null session", Command::LOCK_CHECK,
        R"({"command":"pexi_lock_check","session":null})", "session=none");
    row("lock check with numeric command", Command::LOCK_CHECK, R"({"command":1,"session":"s"})",
        "parseError");
    row("lock check without command", Command::LOCK_CHECK, R"({"session":"s"})", "parseError");
    row("lock check with null command", Command::LOCK_CHECK, R"({"command":null})", "parseError");

    row("search", Command::CREDS_SEARCH,
        R"({"command":"credentials_search","site":"https://example.com","session":"s2"})",
        R"(site="https://example.com" session="s2")");
    row("search with empty strings", Command::CREDS_SEARCH,
        R"({"command":"credentials_search","site":"","session":""})", R"(site="" session="")");
    row("search with unknown keys", Command::CREDS_SEARCH,
        R"({"command":"credentials_search","site":"a","session":"b","extra":[1]})",
        R"(site="a" session="b")");
    row("search command value is not compared again", Command::CREDS_SEARCH,
        R"({"command":"pexi_lock_check","site":"a","session":"b"})", R"(site="a" session="b")");
    row("search without session", Command::CREDS_SEARCH,
        R"({"command":"credentials_search","site":"a"})", "parseError");
    row("search with numeric site", Command::CREDS_SEARCH,
        R"({"command":"credentials_search","site":42,"session":"b"})", "parseError");
    row("search without site", Command::CREDS_SEARCH,
        R"({"command":"credentials_search","session":"b"})", "parseError");
    row("search without command", Command::CREDS_SEARCH, R"({"site":"a","session":"b"})",
        "parseError");

    row("request", Command::CREDS_REQUEST,
        R"({"command":"request_credential","uuid":"U-1","session":"s"})",
        R"(uuid="U-1" session="s")");
    row("request with numeric uuid", Command::CREDS_REQUEST,
        R"({"command":"request_credential","uuid":1,"session":"s"})", "parseError");
    row("request without session", Command::CREDS_REQUEST,
        R"({"command":"request_credential","uuid":"U-1"})", "parseError");

    row("store", Command::CREDS_STORE,
        R"({"command":"credentials_store","site":"example.com",)"
        R"("credential":{"title":"Example","username":"me","password":" p w "}})",
        R"(title="Example" site="example.com" username="me" password=" p w ")");
    row("store with empty username and password", Command::CREDS_STORE,
        R"({"command":"credentials_store","site":"s",)"
        R"("credential":{"title":"t","username":"","password":""}})",
        R"(title="t" site="s" username="" password="")");
    row("store with empty credential", Command::CREDS_STORE,
        R"({"command":"credentials_store","site":"s","credential":{}})", "parseError");
    row("store without password", Command::CREDS_STORE,
        R"({"command":"credentials_store","site":"s","credential":{"title":"t","username":"u"}})",
        "parseError");
    row("store with numeric username", Command::CREDS_STORE,
        R"({"command":"credentials_store","site":"s",)"
        R"("credential":{"title":"t","username":5,"password":"p"}})",
        "parseError");
    row("store with credential as array", Command::CREDS_STORE,
        R"({"command":"credentials_store","site":"s","credential":["t","u","p"]})", "parseError");
    row("store without site", Command::CREDS_STORE,
        R"({"command":"credentials_store",)"
        R"("credential":{"title":"t","username":"u","password":"p"}})",
        "parseError");
    row("store with site inside the credential only", Command::CREDS_STORE,
        R"({"command":"credentials_store",)"
        R"("credential":{"site":"s","title":"t","username":"u","password":"p"}})",
        "parseError");

    row("commit", Command::CREDS_COMMIT, R"({"command":"credentials_commit"})", "ok");
    row("commit with numeric command", Command::CREDS_COMMIT, R"({"command":0})", "parseError");
    row("abort", Command::CREDS_ABORT, R"({"command":"credentials_abort","extra":true})", "ok");
    row("abort without command", Command::CREDS_ABORT, R"({})", "parseError");

    row("icon click at a point", Command::EXT_CLICKED,
        R"({"command":"ext_icon_clicked","coordinates":{"x":120.5,"y":-3}})", "point=(120.5,-3)");
    row("icon click with extra numbers", Command::EXT_CLICKED,
        R"({"command":"ext_icon_clicked","coordinates":{"x":1,"y":2,"z":3}})", "point=(1,2)");
    row("icon click without coordinates", Command::EXT_CLICKED, R"({"command":"ext_icon_clicked"})",
        "no point");
    row("icon click with string coordinates", Command::EXT_CLICKED,
        R"({"command":"ext_icon_clicked","coordinates":"10,20"})", "no point");
    row("icon click with array coordinates", Command::EXT_CLICKED,
        R"({"command":"ext_icon_clicked","coordinates":[10,20]})", "no point");
    row("icon click with null coordinates", Command::EXT_CLICKED,
        R"({"command":"ext_icon_clicked","coordinates":null})", "no point");
    row("icon click with one string value", Command::EXT_CLICKED,
        R"({"command":"ext_icon_clicked","coordinates":{"x":1,"y":"2"}})", "no point");
    row("icon click with a string value and no y", Command::EXT_CLICKED,
        R"({"command":"ext_icon_clicked","coordinates":{"x":1,"label":"top"}})", "no point");
    row("icon click with a boolean value", Command::EXT_CLICKED,
        R"({"command":"ext_icon_clicked","coordinates":{"x":1,"y":true}})", "no point");
    row("icon click with empty coordinates", Command::EXT_CLICKED,
        R"({"command":"ext_icon_clicked","coordinates":{}})", "parseError");
    row("icon click with only x", Command::EXT_CLICKED,
        R"({"command":"ext_icon_clicked","coordinates":{"x":1}})", "parseError");
    row("icon click with numbers but no x", Command::EXT_CLICKED,
        R"({"command":"ext_icon_clicked","coordinates":{"left":1,"y":2}})", "parseError");
    row("icon click with numeric command", Command::EXT_CLICKED,
        R"({"command":9,"coordinates":{"x":1,"y":2}})", "parseError");
}

void TestMessageModel::incomingEvents()
{
    QFETCH(Command, command);
    QFETCH(QJsonObject, dictionary);
    QFETCH(QString, expected);

    QCOMPARE(parse(command, dictionary), expected);
}

void TestMessageModel::parseErrorDoesNotNameTheKey()
{
    QString missingSite;
    QString missingSession;
    try {
        (void)SearchEvent(object(R"({"command":"credentials_search","session":"s"})"));
    } catch (const ExtensionError &error) {
        missingSite = error.what();
    }
    try {
        (void)SearchEvent(object(R"({"command":"credentials_search","site":"s"})"));
    } catch (const ExtensionError &error) {
        missingSession = error.what();
    }
    QVERIFY(!missingSite.isEmpty());
    QCOMPARE(missingSession, missingSite);
    QVERIFY(!missingSite.contains("site"));
}

void TestMessageModel::lockStateIsReadAtWritingTime_data()
{
    QTest::addColumn<std::optional<QString>>("session");
    QTest::addColumn<bool>("storedLocked");
    QTest::addColumn<LockState>("coreState");
    QTest::addColumn<QJsonObject>("expected");

    const auto row = [](const char *name, const std::optional<QString> &session, bool stored,
                        LockState core, const char *json) {
        QTest::newRow(name) << session << stored << core << object(json);
    };
    row("stored unlocked, core locked", QString("s"), false, LockState::locked,
        R"({"command":"pexi_lock_state","session":"s","locked":true})");
    row("stored locked, core unlocked", QString("s"), true, LockState::unlocked,
        R"({"command":"pexi_lock_state","session":"s","locked":false})");
    row("push after a lock", std::nullopt, false, LockState::locked,
        R"({"command":"pexi_lock_state","session":null,"locked":true})");
    row("push after an unlock", std::nullopt, false, LockState::unlocked,
        R"({"command":"pexi_lock_state","session":null,"locked":false})");
    row("empty session is not null", QString(""), true, LockState::locked,
        R"({"command":"pexi_lock_state","session":"","locked":true})");
}

void TestMessageModel::lockStateIsReadAtWritingTime()
{
    QFETCH(std::optional<QString>, session);
    QFETCH(bool, storedLocked);
    QFETCH(LockState, coreState);
    QFETCH(QJsonObject, expected);

    const LockStateEvent event(session, storedLocked);
    QCOMPARE(event.command(), Command::LOCK_STATE);
    QCOMPARE(event.locked(), storedLocked);
    int asked = 0;
    const QString text = event.toJson([&] {
        ++asked;
        return coreState;
    });
    QCOMPARE(asked, 1);
    QCOMPARE(reread(text), expected);
}

void TestMessageModel::suggestEvent_data()
{
    QTest::addColumn<QList<PartialCredential>>("credentials");
    QTest::addColumn<std::optional<QString>>("logInWithUUID");
    QTest::addColumn<QJsonObject>("expected");

    const PartialCredential full{QString("me"), "U-2", "Zeta", QString("https://z.example")};
    const PartialCredential bare{std::nullopt, "U-1", "Alpha", std::nullopt};
    const PartialCredential emptyName{QString(""), "U-3", "", std::nullopt};

    QTest::newRow("no results, no login")
        << QList<PartialCredential>() << std::optional<QString>()
        << object(R"({"command":"credentials_suggest","session":"s","credentials":[]})");
    QTest::newRow("results keep their order")
        << QList<PartialCredential>{full, bare} << std::optional<QString>()
        << object(R"({"command":"credentials_suggest","session":"s","credentials":[)"
                  R"({"uuid":"U-2","title":"Zeta","username":"me","site":"https://z.example"},)"
                  R"({"uuid":"U-1","title":"Alpha"}]})");
    QTest::newRow("login hint")
        << QList<PartialCredential>{bare} << std::optional<QString>("U-1")
        << object(R"({"command":"credentials_suggest","session":"s",)"
                  R"("credentials":[{"uuid":"U-1","title":"Alpha"}],"logInWithUUID":"U-1"})");
    QTest::newRow("empty username is written")
        << QList<PartialCredential>{emptyName} << std::optional<QString>()
        << object(R"({"command":"credentials_suggest","session":"s",)"
                  R"("credentials":[{"uuid":"U-3","title":"","username":""}]})");
}

void TestMessageModel::suggestEvent()
{
    QFETCH(QList<PartialCredential>, credentials);
    QFETCH(std::optional<QString>, logInWithUUID);
    QFETCH(QJsonObject, expected);

    const SuggestEvent event("s", credentials, logInWithUUID);
    QCOMPARE(event.command(), Command::CREDS_SUGGEST);
    QCOMPARE(reread(event.toJson()), expected);
}

void TestMessageModel::provideEvent_data()
{
    QTest::addColumn<Credential>("credential");
    QTest::addColumn<QJsonObject>("expectedCredential");

    QTest::newRow("full credential")
        << Credential{QString("me@example.com"), "hunter2", "Example", "U-1",
                      QString("https://example.com")}
        << object(R"({"uuid":"U-1","title":"Example","password":"hunter2",)"
                  R"("username":"me@example.com","site":"https://example.com"})");
    QTest::newRow("without username and site")
        << Credential{std::nullopt, "pw", "T", "U-2", std::nullopt}
        << object(R"({"uuid":"U-2","title":"T","password":"pw"})");
    // Passwords are taken exactly as typed, so every character must survive the trip.
    QTest::newRow("password needing escapes")
        << Credential{std::nullopt, QString::fromUtf8("\" \\ \n\t/ é 🔑 \u0001 "), "T", "U-3",
                      std::nullopt}
        << QJsonObject{{"uuid", "U-3"},
                       {"title", "T"},
                       {"password", QString::fromUtf8("\" \\ \n\t/ é 🔑 \u0001 ")}};
}

void TestMessageModel::provideEvent()
{
    QFETCH(Credential, credential);
    QFETCH(QJsonObject, expectedCredential);

    const ProvideEvent event(credential, "s9");
    QCOMPARE(event.command(), Command::CREDS_PROVIDE);
    const QJsonObject expected{
        {"command", "provide_credential"}, {"session", "s9"}, {"credential", expectedCredential}};
    QCOMPARE(reread(event.toJson()), expected);
}

QTEST_APPLESS_MAIN(TestMessageModel)
#include "tst_messagemodel.moc"
