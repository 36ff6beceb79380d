#include "extension/AbortEvent.h"
#include "extension/Command.h"
#include "extension/CommitEvent.h"
#include "extension/ExtClickedEvent.h"
#include "extension/ExtensionError.h"
#include "extension/JsonReader.h"
#include "extension/LockCheckEvent.h"
#include "extension/LockStateEvent.h"
#include "extension/ProvideEvent.h"
#include "extension/RequestEvent.h"
#include "extension/SearchEvent.h"
#include "extension/StoreEvent.h"
#include "extension/SuggestEvent.h"

#include <QTest>

using namespace pexi;

Q_DECLARE_METATYPE(Command)

namespace {

// Valid until the next call.
simdjson::dom::object object(const QByteArray &json)
{
    static JsonReader reader;
    simdjson::dom::object read;
    if (reader.read(json).get(read) != simdjson::SUCCESS)
        qFatal("bad fixture %s", json.constData());
    return read;
}

const QString failed = ExtensionError(ExtensionError::Kind::parseError).what();

// Builds the class the server picks for `command` and lists its fields, or gives the error text.
QString parse(Command command, const simdjson::dom::object &json)
{
    // The class, not the wire, decides the command.
    const auto checked = [command](const MiniAppEvent &event, const QStringList &fields) {
        return event.command() == command ? fields.join(u'|') : toRaw(event.command());
    };
    try {
        switch (command) {
        case Command::LOCK_CHECK: {
            const LockCheckEvent event(json);
            return checked(event, {event.session().value_or("none")});
        }
        case Command::CREDS_SEARCH: {
            const SearchEvent event(json);
            return checked(event, {event.site(), event.session()});
        }
        case Command::CREDS_REQUEST: {
            const RequestEvent event(json);
            return checked(event, {event.uuid(), event.session()});
        }
        case Command::CREDS_STORE: {
            const StoreEvent event(json);
            return checked(event,
                           {event.title(), event.site(), event.username(), event.password()});
        }
        case Command::CREDS_COMMIT:
            return checked(CommitEvent(json), {"ok"});
        case Command::CREDS_ABORT:
            return checked(AbortEvent(json), {"ok"});
        case Command::EXT_CLICKED: {
            const ExtClickedEvent event(json);
            const auto point = event.coordinates();
            return checked(event, {point ? QStringLiteral("(%1,%2)").arg(point->x()).arg(point->y())
                                         : "no point"});
        }
        default:
            qFatal("not an incoming command");
        }
    } catch (const ExtensionError &error) {
        return error.what();
    }
}

} // namespace

class TestMessageModel : public QObject
{
    Q_OBJECT

private slots:
    void incomingEvents_data()
    {
        QTest::addColumn<Command>("command");
        QTest::addColumn<QByteArray>("json");
        QTest::addColumn<QString>("expected");
        const auto row = [](const char *name, Command command, const QByteArray &json,
                            const QString &expected) {
            QTest::newRow(name) << command << json << expected;
        };
        const Command check = Command::LOCK_CHECK, search = Command::CREDS_SEARCH,
                      request = Command::CREDS_REQUEST, store = Command::CREDS_STORE,
                      click = Command::EXT_CLICKED;

        row("check", check, R"({"command":"pexi_lock_check","session":"s1"})", "s1");
        row("check without session", check, R"({"command":"pexi_lock_check"})", "none");
        row("check, numeric session", check, R"({"command":"c","session":7})", "none");
        row("check, numeric command", check, R"({"command":1,"session":"s"})", failed);
        // Strings as the events get them: unescaped, decoded from UTF-8, a byte order mark and
        // NUL kept; of a key written twice, the first.
        row("check, \\u escapes", check,
            "{\"command\":\"c\",\"session\":\"caf\\u00e9 \\ud83d\\udd11\"}",
            QString::fromUtf8("caf\xc3\xa9 \xf0\x9f\x94\x91"));
        row("check, byte order mark", check, "{\"command\":\"c\",\"session\":\"\xef\xbb\xbfpw\"}",
            QChar(0xfeff) + QString("pw"));
        row("check, NUL", check, "{\"command\":\"c\",\"session\":\"a\\u0000b\"}",
            QStringView(u"a\0b", 3).toString());
        row("check, first session a number", check,
            "{\"command\":\"c\",\"session\":1,\"session\":\"2nd\"}", "none");
        row("search", search, R"({"command":"navigate","site":"a","session":"b"})", "a|b");
        row("search without session", search, R"({"command":"c","site":"a"})", failed);
        row("search, number site", search, R"({"command":"c","site":4,"session":"b"})", failed);
        row("search without command", search, R"({"site":"a","session":"b"})", failed);
        row("request", request, R"({"command":"c","uuid":"U","session":"s"})", "U|s");
        row("request, number uuid", request, R"({"command":"c","uuid":1,"session":"s"})", failed);
        const auto stored = [](const char *credential) {
            return QByteArray(R"({"command":"c","site":"s","credential":)") + credential + "}";
        };
        row("store", store, stored(R"({"title":"T","username":"","password":" p "})"), "T|s|| p ");
        row("store, empty credential", store, stored("{}"), failed);
        row("store without password", store, stored(R"({"title":"t","username":"u"})"), failed);
        row("store, numeric username", store,
            stored(R"({"title":"t","username":5,"password":"p"})"), failed);
        row("store, credential array", store, stored(R"(["t"])"), failed);
        row("store, no site", store,
            R"({"command":"c","credential":{"title":"t","username":"u","password":"p"}})", failed);
        row("commit", Command::CREDS_COMMIT, R"({"command":"credentials_commit"})", "ok");
        row("commit, numeric command", Command::CREDS_COMMIT, R"({"command":0})", failed);
        row("abort, extra key", Command::CREDS_ABORT, R"({"command":"c","extra":true})", "ok");
        row("abort without command", Command::CREDS_ABORT, R"({})", failed);
        row("click", click, R"({"command":"c","coordinates":{"x":1.5,"y":-3,"z":0}})", "(1.5,-3)");
        row("click without coordinates", click, R"({"command":"c"})", "no point");
        row("click, text coordinates", click, R"({"command":"c","coordinates":"1,2"})", "no point");
        row("click, a text", click, R"({"command":"c","coordinates":{"x":1,"y":"2"}})", "no point");
        row("click, a text, no y", click, R"({"command":"c","coordinates":{"x":1,"k":"t"}})",
            "no point");
        row("click, empty coordinates", click, R"({"command":"c","coordinates":{}})", failed);
        row("click, only x", click, R"({"command":"c","coordinates":{"x":1}})", failed);
        row("click, only y", click, R"({"command":"c","coordinates":{"y":2}})", failed);
        row("click, numeric command", click, R"({"command":9})", failed);
    }
    void incomingEvents()
    {
        QFETCH(Command, command);
        QFETCH(QByteArray, json);
        QFETCH(QString, expected);
        // The same text for every failure, so a log line never tells which key was wrong.
        QCOMPARE(parse(command, object(json)), expected);
    }

    // Compact, in the order the events write their members.
    void outgoingEvents_data()
    {
        QTest::addColumn<QString>("text");
        QTest::addColumn<QString>("expected");
        const auto row = [](const char *name, const QString &text, const char *json) {
            QTest::newRow(name) << text << QString::fromUtf8(json);
        };
        const auto lockState = [](std::optional<QString> session, bool stored, LockState core) {
            return LockStateEvent(session, stored).toJson([core] { return core; });
        };
        // "locked" is the core's state at writing time, not what the event was built with.
        row("lock state, stored unlocked", lockState(QString("s"), false, LockState::locked),
            R"({"command":"pexi_lock_state","locked":true,"session":"s"})");
        row("lock state push, stored locked", lockState(std::nullopt, true, LockState::unlocked),
            R"({"command":"pexi_lock_state","locked":false,"session":null})");
        row("lock state, empty session", lockState(QString(""), true, LockState::locked),
            R"({"command":"pexi_lock_state","locked":true,"session":""})");
        row("suggest nothing", SuggestEvent("s", {}, std::nullopt).toJson(),
            R"({"command":"credentials_suggest","credentials":[],"session":"s"})");
        const QList<PartialCredential> found{{QString("me"), "U-2", "Z", QString("z.e")},
                                             {{}, "U-1", "A", {}},
                                             {QString(), "U-3", "", {}}};
        row("suggest in order, with login", SuggestEvent("s", found, "U-1").toJson(),
            R"({"command":"credentials_suggest","credentials":[)"
            R"({"uuid":"U-2","title":"Z","username":"me","site":"z.e"},{"uuid":"U-1","title":"A"},)"
            R"({"uuid":"U-3","title":"","username":""}],"logInWithUUID":"U-1","session":"s"})");
        row("provide",
            ProvideEvent({QString("me"), "pw", "T", "U-1", QString("e.com")}, "s").toJson(),
            R"({"command":"provide_credential","credential":)"
            R"({"uuid":"U-1","title":"T","username":"me","site":"e.com","password":"pw"},)"
            R"("session":"s"})");
        // Passwords are taken exactly as typed, so every character must survive.
        row("provide without username and site",
            ProvideEvent({std::nullopt, QString::fromUtf8("\" \\ \n\t/ é 🔑 \u0001 "), "T", "U-2",
                          std::nullopt},
                         "s")
                .toJson(),
            "{\"command\":\"provide_credential\",\"credential\":{\"uuid\":\"U-2\",\"title\":\"T\","
            "\"password\":\"\\\" \\\\ \\n\\t/ é 🔑 \\u0001 \"},\"session\":\"s\"}");
    }
    void outgoingEvents()
    {
        QFETCH(QString, text);
        QFETCH(QString, expected);
        QCOMPARE(text, expected);
    }
};

QTEST_APPLESS_MAIN(TestMessageModel)
#include "tst_messagemodel.moc"
