#include "support/TemporaryVault.h"

#include "app/Preferences.h"
#include "app/Window.h"
#include "capture/SavePasswordController.h"
#include "extension/BrowserController.h"
#include "extension/ExtClickedEvent.h"
#include "extension/ExtensionError.h"
#include "extension/ExtensionHandler.h"
#include "extension/ExtensionServer.h"
#include "extension/LockCheckEvent.h"
#include "extension/RequestEvent.h"
#include "extension/SearchEvent.h"
#include "extension/StoreEvent.h"
#include "platform/BrowserLauncher.h"
#include "platform/UserNotificationCenter.h"

#include <QJsonDocument>
#include <QJsonObject>
#include <QNetworkRequest>
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

// Browsers cannot be started here; tracking only needs something to hand addresses to.
class RecordingLauncher : public BrowserLauncher
{
public:
    bool openUrl(const QUrl &url, const QString &bundleIdentifier) override
    {
        opened << url.toString() + " " + bundleIdentifier;
        return true;
    }
    bool openWithDefaultHandler(const QUrl &url) override
    {
        opened << url.toString();
        return true;
    }
    bool isInstalled(const QString &) const override { return false; }

    QStringList opened;
};

class RecordingWindow : public Window
{
public:
    void showAt(QPointF point) override { shown.append(point); }
    void showAt(QPointF point, const InventoryItem &) override { shown.append(point); }

    QList<QPointF> shown;
};

class SilentNotificationCenter : public UserNotificationCenter
{
public:
    NotificationId deliverNotification(const UserNotification &) override { return ++m_last; }
    void removeDeliveredNotification(NotificationId) override {}

private:
    NotificationId m_last = 0;
};

// One extension's end of a connection: a real WebSocket on loopback that keeps what it hears.
class Client
{
public:
    explicit Client(quint16 port, const QByteArray &origin = {})
    {
        QObject::connect(&socket, &QWebSocket::connected, [this] { wasConnected = true; });
        QObject::connect(&socket, &QWebSocket::disconnected, [this] { wasDisconnected = true; });
        QObject::connect(&socket, qOverload<QAbstractSocket::SocketError>(&QWebSocket::error),
                         [this](QAbstractSocket::SocketError) { failed = true; });
        QObject::connect(&socket, &QWebSocket::textMessageReceived,
                         [this](const QString &text) { texts.append(text); });
        QNetworkRequest request(QUrl(QStringLiteral("ws://127.0.0.1:%1/").arg(port)));
        if (!origin.isNull())
            request.setRawHeader("Origin", origin);
        socket.open(request);
    }

    bool waitConnected()
    {
        (void)QTest::qWaitFor([this] { return wasConnected || wasDisconnected || failed; }, waitMs);
        return wasConnected;
    }
    bool waitDisconnected()
    {
        return QTest::qWaitFor([this] { return wasDisconnected; }, waitMs);
    }

    void send(const QByteArray &frame) { socket.sendTextMessage(QString::fromUtf8(frame)); }

    // Frames are handled in the order they arrive on one socket: once the lock check sent after
    // them is answered, everything before it has been handled. Returns the texts that arrived
    // before that answer and forgets the answer itself.
    QStringList settle()
    {
        const QString session = QStringLiteral("settle-%1").arg(++m_settles);
        send(QStringLiteral(R"({"data":{"command":"pexi_lock_check","session":"%1"}})")
                 .arg(session)
                 .toUtf8());
        const QString marker = QStringLiteral("ack ") + session;
        if (!QTest::qWaitFor([&] { return texts.contains(marker); }, waitMs))
            return {QStringLiteral("no answer to ") + marker};
        const QStringList before = texts.mid(0, texts.indexOf(marker));
        texts.clear();
        return before;
    }

    QWebSocket socket;
    QStringList texts;
    bool wasConnected = false;
    bool wasDisconnected = false;
    bool failed = false;

private:
    int m_settles = 0;
};

QJsonObject parsed(const QString &text)
{
    return QJsonDocument::fromJson(text.toUtf8()).object();
}

// What a handler saw, in a form a table can spell out.
QString describe(const MiniAppEvent &event)
{
    if (const auto *check = dynamic_cast<const LockCheckEvent *>(&event))
        return QStringLiteral("LockCheckEvent %1")
            .arg(check->session().value_or(QStringLiteral("-")));
    if (const auto *search = dynamic_cast<const SearchEvent *>(&event))
        return QStringLiteral("SearchEvent %1 %2").arg(search->site(), search->session());
    if (const auto *request = dynamic_cast<const RequestEvent *>(&event))
        return QStringLiteral("RequestEvent %1 %2").arg(request->uuid(), request->session());
    if (const auto *store = dynamic_cast<const StoreEvent *>(&event))
        return QStringLiteral("StoreEvent %1 %2 %3 %4")
            .arg(store->site(), store->title(), store->username(), store->password());
    if (const auto *clicked = dynamic_cast<const ExtClickedEvent *>(&event)) {
        if (!clicked->coordinates())
            return QStringLiteral("ExtClickedEvent -");
        return QStringLiteral("ExtClickedEvent %1,%2")
            .arg(clicked->coordinates()->x())
            .arg(clicked->coordinates()->y());
    }
    return toRaw(event.command());
}

const QString parseErrorLine =
    QStringLiteral("error processing incoming message: '%1'")
        .arg(QString::fromUtf8(ExtensionError(ExtensionError::Kind::parseError).what()));

} // namespace

class TestExtensionServer : public QObject
{
    Q_OBJECT

private:
    // Made once: every vault costs a key derivation.
    std::unique_ptr<TemporaryVault> m_vault;
    QTemporaryDir m_configDir;

    std::optional<StandardOutputCapture> m_output;
    std::unique_ptr<RecordingLauncher> m_launcher;
    std::unique_ptr<BrowserController> m_browsers;
    std::unique_ptr<ExtensionServer> m_server;
    QStringList m_handled;

    // Every command an extension may send gets a handler that writes down what it was given;
    // the lock check's also acknowledges on its socket, which Client::settle() waits for.
    void recordDispatch()
    {
        for (Command command : {Command::LOCK_CHECK, Command::CREDS_SEARCH, Command::CREDS_STORE,
                                Command::CREDS_COMMIT, Command::CREDS_ABORT, Command::EXT_CLICKED,
                                Command::CREDS_REQUEST, Command::LOCK_STATE, Command::CREDS_SUGGEST,
                                Command::CREDS_PROVIDE, Command::NAVIGATE}) {
            m_server->registerHandler(
                command, [this](QWebSocket *socket, const MiniAppEvent &event) {
                    const QString description = describe(event);
                    const auto *check = dynamic_cast<const LockCheckEvent *>(&event);
                    if (check && check->session().value_or(QString()).startsWith(u"settle-")) {
                        socket->sendTextMessage(QStringLiteral("ack ") + *check->session());
                        return;
                    }
                    m_handled.append(description);
                });
        }
    }

    QStringList m_log;

    // The lines logged since the last look, without the connection bookkeeping.
    QStringList logged()
    {
        collectLog();
        return std::exchange(m_log, {});
    }
    void collectLog()
    {
        QStringList lines = m_output->takeLines();
        lines.removeAll(QStringLiteral("websocket opened!"));
        m_log += lines;
    }
    bool waitForLogLines(int count)
    {
        return QTest::qWaitFor(
            [&] {
                collectLog();
                return m_log.size() >= count;
            },
            waitMs);
    }

    void setLocked(bool locked)
    {
        if (locked)
            m_vault->locker.lock();
        else
            QVERIFY(m_vault->unlock());
    }

private slots:
    void initTestCase()
    {
        QVERIFY(m_configDir.isValid());
        m_vault = std::make_unique<TemporaryVault>();
    }

    void init()
    {
        m_output.emplace();
        m_launcher = std::make_unique<RecordingLauncher>();
        m_browsers = std::make_unique<BrowserController>(*m_launcher);
        m_server =
            std::make_unique<ExtensionServer>(0, m_vault->locker, *m_browsers, m_vault->center);
        m_handled.clear();
        m_log.clear();
        QVERIFY(m_server->start());
        QVERIFY(m_server->port() != 0);
    }

    void cleanup()
    {
        m_server.reset();
        m_browsers.reset();
        m_launcher.reset();
        m_vault->locker.lock();
        m_output.reset();
    }

    // Frames

    void framesAreParsedOrLoggedAndDropped_data()
    {
        QTest::addColumn<QByteArray>("frame");
        QTest::addColumn<QStringList>("logs");
        QTest::addColumn<QStringList>("handled");
        const QStringList none;
        const QString unparsable = QStringLiteral("Unable to parse json from server.");
        const QString noCommand = QStringLiteral("message had no command identifier!");
        const auto unrecognized = [](const char *command) {
            return QStringList{
                QStringLiteral("message had unrecognized command '%1'").arg(command)};
        };

        QTest::newRow("not JSON") << QByteArray("hello") << QStringList{unparsable} << none;
        QTest::newRow("empty text") << QByteArray("") << QStringList{unparsable} << none;
        QTest::newRow("JSON array") << QByteArray(R"([{"data":{"command":"pexi_lock_check"}}])")
                                    << QStringList{unparsable} << none;
        QTest::newRow("JSON string")
            << QByteArray(R"("pexi_lock_check")") << QStringList{unparsable} << none;
        QTest::newRow("cut short") << QByteArray(R"({"data":{"command":"pexi_lock_check")")
                                   << QStringList{unparsable} << none;
        QTest::newRow("trailing garbage")
            << QByteArray(R"({"data":{"command":"pexi_lock_check"}}x)") << QStringList{unparsable}
            << none;

        QTest::newRow("no envelope")
            << QByteArray(R"({"command":"pexi_lock_check"})") << QStringList{noCommand} << none;
        QTest::newRow("data is a string")
            << QByteArray(R"({"data":"pexi_lock_check"})") << QStringList{noCommand} << none;
        QTest::newRow("data is an array")
            << QByteArray(R"({"data":[{"command":"pexi_lock_check"}]})") << QStringList{noCommand}
            << none;
        QTest::newRow("empty data")
            << QByteArray(R"({"data":{}})") << QStringList{noCommand} << none;
        QTest::newRow("command is a number")
            << QByteArray(R"({"data":{"command":0}})") << QStringList{noCommand} << none;
        QTest::newRow("command is null")
            << QByteArray(R"({"data":{"command":null}})") << QStringList{noCommand} << none;

        QTest::newRow("unknown command")
            << QByteArray(R"({"data":{"command":"fly"}})") << unrecognized("fly") << none;
        QTest::newRow("empty command")
            << QByteArray(R"({"data":{"command":""}})") << unrecognized("") << none;
        QTest::newRow("other case") << QByteArray(R"({"data":{"command":"PEXI_LOCK_CHECK"}})")
                                    << unrecognized("PEXI_LOCK_CHECK") << none;
        QTest::newRow("outgoing lock state")
            << QByteArray(R"({"data":{"command":"pexi_lock_state","session":"s","locked":true}})")
            << unrecognized("pexi_lock_state") << none;
        QTest::newRow("outgoing suggest")
            << QByteArray(
                   R"({"data":{"command":"credentials_suggest","session":"s","credentials":[]}})")
            << unrecognized("credentials_suggest") << none;
        QTest::newRow("outgoing provide")
            << QByteArray(R"({"data":{"command":"provide_credential"}})")
            << unrecognized("provide_credential") << none;
        QTest::newRow("navigate") << QByteArray(R"({"data":{"command":"navigate","site":"a.com"}})")
                                  << unrecognized("navigate") << none;

        QTest::newRow("search without session")
            << QByteArray(R"({"data":{"command":"credentials_search","site":"example.com"}})")
            << QStringList{parseErrorLine} << none;
        QTest::newRow("search with numeric site")
            << QByteArray(R"({"data":{"command":"credentials_search","site":7,"session":"s"}})")
            << QStringList{parseErrorLine} << none;
        QTest::newRow("request without uuid")
            << QByteArray(R"({"data":{"command":"request_credential","session":"s"}})")
            << QStringList{parseErrorLine} << none;
        QTest::newRow("store with empty credential")
            << QByteArray(
                   R"({"data":{"command":"credentials_store","site":"a.com","credential":{}}})")
            << QStringList{parseErrorLine} << none;
        QTest::newRow("store without password")
            << QByteArray(R"({"data":{"command":"credentials_store","site":"a.com",)"
                          R"("credential":{"title":"A","username":"u"}}})")
            << QStringList{parseErrorLine} << none;
        QTest::newRow("icon click with only x")
            << QByteArray(R"({"data":{"command":"ext_icon_clicked","coordinates":{"x":1}}})")
            << QStringList{parseErrorLine} << none;

        // The event is built from "data", never from the envelope around it.
        QTest::newRow("lock check")
            << QByteArray(
                   R"({"data":{"command":"pexi_lock_check","session":"s1"},"session":"outer"})")
            << none << QStringList{"LockCheckEvent s1"};
        QTest::newRow("lock check without session")
            << QByteArray(R"({"data":{"command":"pexi_lock_check"},"sender":"chrome"})") << none
            << QStringList{"LockCheckEvent -"};
        QTest::newRow("search")
            << QByteArray(
                   R"({"data":{"command":"credentials_search","site":"a.com/x","session":"s2"}})")
            << none << QStringList{"SearchEvent a.com/x s2"};
        QTest::newRow("request")
            << QByteArray(
                   R"({"data":{"command":"request_credential","uuid":"U-1","session":"s3"}})")
            << none << QStringList{"RequestEvent U-1 s3"};
        QTest::newRow("store")
            << QByteArray(R"({"data":{"command":"credentials_store","site":"a.com","credential":)"
                          R"({"title":"T","username":"u","password":"p"}}})")
            << none << QStringList{"StoreEvent a.com T u p"};
        QTest::newRow("commit") << QByteArray(R"({"data":{"command":"credentials_commit"}})")
                                << none << QStringList{"credentials_commit"};
        QTest::newRow("abort") << QByteArray(R"({"data":{"command":"credentials_abort"}})") << none
                               << QStringList{"credentials_abort"};
        QTest::newRow("icon click at a point")
            << QByteArray(
                   R"({"data":{"command":"ext_icon_clicked","coordinates":{"x":10.5,"y":-3}}})")
            << none << QStringList{"ExtClickedEvent 10.5,-3"};
        QTest::newRow("icon click with string coordinates")
            << QByteArray(R"({"data":{"command":"ext_icon_clicked","coordinates":"10,3"}})") << none
            << QStringList{"ExtClickedEvent -"};
        QTest::newRow("unicode in values")
            << QByteArray(
                   R"({"data":{"command":"credentials_search","site":"b\u00fccher.de","session":"\u2603"}})")
            << none << QStringList{QStringLiteral("SearchEvent bücher.de ☃")};
    }
    void framesAreParsedOrLoggedAndDropped()
    {
        QFETCH(QByteArray, frame);
        QFETCH(QStringList, logs);
        QFETCH(QStringList, handled);
        recordDispatch();
        Client client(m_server->port());
        QVERIFY(client.waitConnected());

        client.send(frame);
        QCOMPARE(client.settle(), QStringList());
        QCOMPARE(logged(), logs);
        QCOMPARE(m_handled, handled);
        // Nothing an extension sends closes its socket.
        QVERIFY(!client.wasDisconnected);
        QCOMPARE(m_server->openWebSockets().size(), 1);
    }

    void binaryFramesAreLoggedAndDropped_data()
    {
        QTest::addColumn<QByteArray>("frame");
        QTest::newRow("empty") << QByteArray();
        QTest::newRow("a valid message as bytes")
            << QByteArray(R"({"data":{"command":"pexi_lock_check","session":"s"}})");
        QTest::newRow("not text") << QByteArray("\x00\xff\xfe", 3);
    }
    void binaryFramesAreLoggedAndDropped()
    {
        QFETCH(QByteArray, frame);
        recordDispatch();
        Client client(m_server->port());
        QVERIFY(client.waitConnected());

        client.socket.sendBinaryMessage(frame);
        QCOMPARE(client.settle(), QStringList());
        QCOMPARE(logged(),
                 QStringList{"message received from server had unexpected type: QByteArray"});
        QVERIFY(m_handled.isEmpty());
    }

    void handlersOfOneCommandRunInRegistrationOrder()
    {
        recordDispatch();
        m_server->registerHandler(Command::CREDS_ABORT, [this](QWebSocket *, const MiniAppEvent &) {
            m_handled << "second";
        });
        m_server->registerHandler(Command::CREDS_ABORT,
                                  [this](QWebSocket *socket, const MiniAppEvent &) {
                                      m_handled << "third";
                                      socket->sendTextMessage(QStringLiteral("from the third"));
                                  });
        Client client(m_server->port());
        QVERIFY(client.waitConnected());

        client.send(R"({"data":{"command":"credentials_abort"}})");
        QCOMPARE(client.settle(), QStringList{"from the third"});
        QCOMPARE(m_handled, (QStringList{"credentials_abort", "second", "third"}));
    }

    void commandsWithoutHandlersAreDroppedQuietly()
    {
        // Only the settling lock check has a handler here.
        m_server->registerHandler(
            Command::LOCK_CHECK, [](QWebSocket *socket, const MiniAppEvent &event) {
                socket->sendTextMessage(QStringLiteral("ack ") +
                                        *static_cast<const LockCheckEvent &>(event).session());
            });
        Client client(m_server->port());
        QVERIFY(client.waitConnected());
        client.send(R"({"data":{"command":"credentials_search","site":"a.com","session":"s"}})");
        client.send(R"({"data":{"command":"credentials_commit"}})");
        QCOMPARE(client.settle(), QStringList());
        QCOMPARE(logged(), QStringList());
    }

    // Browser tracking

    void senderAndBuildAreTrackedBeforeTheCommandIsMatched_data()
    {
        QTest::addColumn<QByteArray>("frame");
        QTest::addColumn<QString>("mostRecent");
        QTest::addColumn<QString>("chromeBuild");
        QTest::addColumn<QString>("safariBuild");

        QTest::newRow("lock check from chrome")
            << QByteArray(
                   R"({"data":{"command":"pexi_lock_check"},"sender":"chrome","build":"3.1"})")
            << "chrome"
            << "3.1"
            << "None";
        QTest::newRow("outgoing command from safari")
            << QByteArray(
                   R"({"data":{"command":"provide_credential"},"sender":"safari","build":"17"})")
            << "safari"
            << "None"
            << "17";
        QTest::newRow("unknown command from chrome")
            << QByteArray(R"({"data":{"command":"fly"},"sender":"chrome","build":"2"})") << "chrome"
            << "2"
            << "None";
        QTest::newRow("event that fails to build")
            << QByteArray(
                   R"({"data":{"command":"credentials_search"},"sender":"chrome","build":"4"})")
            << "chrome"
            << "4"
            << "None";
        QTest::newRow("no build")
            << QByteArray(R"({"data":{"command":"credentials_commit"},"sender":"safari"})")
            << "safari"
            << "None"
            << "None";
        QTest::newRow("numeric build")
            << QByteArray(
                   R"({"data":{"command":"credentials_commit"},"sender":"chrome","build":5})")
            << "chrome"
            << "None"
            << "None";
        QTest::newRow("unknown browser")
            << QByteArray(
                   R"({"data":{"command":"pexi_lock_check"},"sender":"firefox","build":"9"})")
            << "none"
            << "None"
            << "None";
        QTest::newRow("sender in another case")
            << QByteArray(R"({"data":{"command":"pexi_lock_check"},"sender":"Chrome","build":"9"})")
            << "none"
            << "None"
            << "None";
        // Without a command the frame is dropped before anyone is told who sent it.
        QTest::newRow("no command")
            << QByteArray(R"({"data":{},"sender":"chrome","build":"9"})") << "none"
            << "None"
            << "None";
        QTest::newRow("sender inside data")
            << QByteArray(R"({"data":{"command":"pexi_lock_check","sender":"chrome","build":"9"}})")
            << "none"
            << "None"
            << "None";
    }
    void senderAndBuildAreTrackedBeforeTheCommandIsMatched()
    {
        QFETCH(QByteArray, frame);
        QFETCH(QString, mostRecent);
        QFETCH(QString, chromeBuild);
        QFETCH(QString, safariBuild);
        recordDispatch();
        Client client(m_server->port());
        QVERIFY(client.waitConnected());

        client.send(frame);
        client.settle();
        const std::optional<Browser> browser = m_browsers->mostRecentBrowser();
        QCOMPARE(browser ? toRaw(*browser) : QStringLiteral("none"), mostRecent);
        QCOMPARE(m_browsers->build(Browser::chrome), chromeBuild);
        QCOMPARE(m_browsers->build(Browser::safari), safariBuild);
        if (browser)
            QVERIFY(m_browsers->isActive(*browser));
    }

    // Answers of the installed handlers

    void lockCheckIsAnsweredTwiceWithIdenticalFrames_data()
    {
        QTest::addColumn<bool>("locked");
        QTest::addColumn<QByteArray>("frame");
        QTest::addColumn<QJsonValue>("session");
        QTest::newRow("locked")
            << true
            << QByteArray(
                   R"({"data":{"command":"pexi_lock_check","session":"s1"},"sender":"chrome"})")
            << QJsonValue(QStringLiteral("s1"));
        QTest::newRow("unlocked") << false
                                  << QByteArray(
                                         R"({"data":{"command":"pexi_lock_check","session":"s1"}})")
                                  << QJsonValue(QStringLiteral("s1"));
        QTest::newRow("without session")
            << true << QByteArray(R"({"data":{"command":"pexi_lock_check"}})")
            << QJsonValue(QJsonValue::Null);
        QTest::newRow("numeric session")
            << false << QByteArray(R"({"data":{"command":"pexi_lock_check","session":5}})")
            << QJsonValue(QJsonValue::Null);
    }
    void lockCheckIsAnsweredTwiceWithIdenticalFrames()
    {
        QFETCH(bool, locked);
        QFETCH(QByteArray, frame);
        QFETCH(QJsonValue, session);
        Preferences preferences(std::make_unique<QSettings>(
            m_configDir.filePath(QStringLiteral("preferences.conf")), QSettings::IniFormat));
        SilentNotificationCenter notifications;
        RecordingWindow window;
        SavePasswordController::Services captureServices;
        captureServices.preferences = &preferences;
        captureServices.logEvent = [](const QString &) {};
        captureServices.notificationCenter = &notifications;
        captureServices.window = &window;
        captureServices.locker = &m_vault->locker;
        SavePasswordController capture(captureServices);
        ExtensionHandler::install(*m_server, {&m_vault->locker, m_browsers.get(), &capture, &window,
                                              [] { return QPointF(); }});
        setLocked(locked);
        Client client(m_server->port());
        QVERIFY(client.waitConnected());

        client.send(frame);
        // A second check on the same socket is answered after everything the first one caused.
        client.send(R"({"data":{"command":"pexi_lock_check","session":"next"}})");
        const auto answersToNext = [&] {
            return std::count_if(client.texts.cbegin(), client.texts.cend(),
                                 [](const QString &text) {
                                     return parsed(text).value("session") == QJsonValue("next");
                                 });
        };
        QVERIFY(QTest::qWaitFor([&] { return answersToNext() == 2; }, waitMs));
        QCOMPARE(client.texts.size(), 4);
        QCOMPARE(client.texts.at(0), client.texts.at(1));
        const QJsonObject answer = parsed(client.texts.at(0));
        QCOMPARE(answer,
                 (QJsonObject{
                     {"command", "pexi_lock_state"}, {"session", session}, {"locked", locked}}));
        QCOMPARE(logged(), QStringList());
    }

    void lockChangesArePushedToEverySocket_data()
    {
        QTest::addColumn<bool>("startLocked");
        QTest::addColumn<QStringList>("changes");
        QTest::addColumn<QList<bool>>("pushed");

        QTest::newRow("lock, then unlock")
            << false << QStringList{"lock", "unlock"} << QList<bool>{true, false};
        QTest::newRow("unlock, then lock")
            << true << QStringList{"unlock", "lock"} << QList<bool>{false, true};
        // The core only tells of real changes.
        QTest::newRow("lock while locked") << true << QStringList{"lock"} << QList<bool>{};
        QTest::newRow("lock twice") << false << QStringList{"lock", "lock"} << QList<bool>{true};
        QTest::newRow("after stop")
            << false << QStringList{"stop", "lock", "unlock"} << QList<bool>{};
    }
    void lockChangesArePushedToEverySocket()
    {
        QFETCH(bool, startLocked);
        QFETCH(QStringList, changes);
        QFETCH(QList<bool>, pushed);
        recordDispatch();
        setLocked(startLocked);
        std::vector<std::unique_ptr<Client>> clients;
        for (int i = 0; i < 3; ++i) {
            clients.push_back(std::make_unique<Client>(m_server->port()));
            QVERIFY(clients.back()->waitConnected());
        }
        QTRY_COMPARE_WITH_TIMEOUT(m_server->openWebSockets().size(), 3, waitMs);
        // A socket that went away before the change is simply no longer pushed to.
        clients.front()->socket.close();
        QVERIFY(clients.front()->waitDisconnected());
        QTRY_COMPARE_WITH_TIMEOUT(m_server->openWebSockets().size(), 2, waitMs);

        for (const QString &change : changes) {
            if (change == "stop")
                m_server->stop();
            else
                setLocked(change == "lock");
        }

        for (size_t i = 1; i < clients.size(); ++i) {
            const QStringList texts = clients[i]->settle();
            QCOMPARE(texts.size(), pushed.size());
            for (int n = 0; n < texts.size(); ++n) {
                QCOMPARE(parsed(texts.at(n)), (QJsonObject{{"command", "pexi_lock_state"},
                                                           {"session", QJsonValue::Null},
                                                           {"locked", pushed.at(n)}}));
            }
        }
        QVERIFY(clients.front()->texts.isEmpty());
    }

    // Connections

    void originsAreCheckedAtTheHandshake_data()
    {
        QTest::addColumn<QByteArray>("origin");
        QTest::addColumn<bool>("accepted");

        QTest::newRow("no origin") << QByteArray() << true;
        QTest::newRow("chrome extension")
            << QByteArray("chrome-extension://abcdefghijklmnop") << true;
        QTest::newRow("safari extension")
            << QByteArray("safari-web-extension://3C9A1E52-7B1D-4F3E-9E1A-2B7C5D8E9F00") << true;
        QTest::newRow("firefox extension") << QByteArray("moz-extension://1a2b3c4d") << true;
        QTest::newRow("https page") << QByteArray("https://evil.example") << false;
        QTest::newRow("http page with port") << QByteArray("http://localhost:8080") << false;
        QTest::newRow("upper-case scheme") << QByteArray("HTTPS://EVIL.EXAMPLE") << false;
        QTest::newRow("local file") << QByteArray("file://") << false;
        QTest::newRow("opaque origin") << QByteArray("null") << false;
    }
    void originsAreCheckedAtTheHandshake()
    {
        QFETCH(QByteArray, origin);
        QFETCH(bool, accepted);
        recordDispatch();
        Client client(m_server->port(), origin.isEmpty() ? QByteArray() : origin);

        if (!accepted) {
            QVERIFY(!client.waitConnected());
            QVERIFY(waitForLogLines(1));
            QCOMPARE(logged(), QStringList{QStringLiteral("refused connection from origin '%1'")
                                               .arg(QString::fromUtf8(origin))});
            QVERIFY(m_server->openWebSockets().isEmpty());
            return;
        }
        QVERIFY(client.waitConnected());
        QCOMPARE(client.settle(), QStringList());
        QCOMPARE(m_server->openWebSockets().size(), 1);
        QCOMPARE(logged(), QStringList());
    }

    void closedSocketsAreForgotten_data()
    {
        QTest::addColumn<QString>("how");
        QTest::addColumn<QString>("log");
        QTest::newRow("closed by the extension")
            << "close"
            << "websocket closed with code 1000, reason: 'done', clean: true";
        QTest::newRow("going away")
            << "away"
            << "websocket closed with code 1001, reason: 'tab closed', clean: true";
        QTest::newRow("dropped without a close frame")
            << "abort"
            << "websocket closed with code 1006, reason: '', clean: false";
    }
    void closedSocketsAreForgotten()
    {
        QFETCH(QString, how);
        QFETCH(QString, log);
        recordDispatch();
        Client leaving(m_server->port());
        Client staying(m_server->port());
        QVERIFY(leaving.waitConnected());
        QVERIFY(staying.waitConnected());
        QTRY_COMPARE_WITH_TIMEOUT(m_server->openWebSockets().size(), 2, waitMs);

        if (how == "close")
            leaving.socket.close(QWebSocketProtocol::CloseCodeNormal, QStringLiteral("done"));
        else if (how == "away")
            leaving.socket.close(QWebSocketProtocol::CloseCodeGoingAway,
                                 QStringLiteral("tab closed"));
        else
            leaving.socket.abort();
        QVERIFY(leaving.waitDisconnected());
        QTRY_COMPARE_WITH_TIMEOUT(m_server->openWebSockets().size(), 1, waitMs);
        QCOMPARE(logged(), QStringList{log});
        // A push after the close reaches only the socket that stayed.
        setLocked(false);
        QCOMPARE(staying.settle().size(), 1);
    }

    void anOversizedMessageClosesOnlyItsSocket_data()
    {
        QTest::addColumn<qint64>("size");
        QTest::addColumn<bool>("closed");
        QTest::newRow("exactly the limit") << ExtensionServer::MaxMessageBytes << false;
        QTest::newRow("one byte more") << ExtensionServer::MaxMessageBytes + 1 << true;
        QTest::newRow("four times the limit") << 4 * ExtensionServer::MaxMessageBytes << true;
    }
    void anOversizedMessageClosesOnlyItsSocket()
    {
        QFETCH(qint64, size);
        QFETCH(bool, closed);
        recordDispatch();
        Client big(m_server->port());
        Client other(m_server->port());
        QVERIFY(big.waitConnected());
        QVERIFY(other.waitConnected());

        // A lock check padded to `size` bytes of UTF-8.
        const QByteArray head = R"({"data":{"command":"pexi_lock_check","session":"big"},"pad":)";
        const QByteArray frame = head + '"' + QByteArray(size - head.size() - 3, 'x') + "\"}";
        QCOMPARE(qint64(frame.size()), size);
        QVERIFY(QJsonDocument::fromJson(frame).isObject());
        big.send(frame);

        if (closed) {
            QVERIFY(big.waitDisconnected());
            QCOMPARE(big.socket.closeCode(), QWebSocketProtocol::CloseCodeTooMuchData);
            QTRY_COMPARE_WITH_TIMEOUT(m_server->openWebSockets().size(), 1, waitMs);
            QVERIFY(m_handled.isEmpty());
        } else {
            QCOMPARE(big.settle(), QStringList());
            QCOMPARE(m_handled, QStringList{"LockCheckEvent big"});
            QVERIFY(!big.wasDisconnected);
        }
        QCOMPARE(other.settle(), QStringList());
        QVERIFY(!other.wasDisconnected);
    }

    void aFloodOnOneSocketLeavesTheOthersAnswered()
    {
        recordDispatch();
        Client flooding(m_server->port());
        Client quiet(m_server->port());
        QVERIFY(flooding.waitConnected());
        QVERIFY(quiet.waitConnected());

        // Bounded and repeatable: 1,500 frames of every malformed kind.
        const QList<QByteArray> kinds{"",
                                      "{",
                                      "[]",
                                      "null",
                                      R"({"data":1})",
                                      R"({"data":{"command":"x"}})",
                                      R"({"data":{"command":"credentials_search"}})",
                                      QByteArray(4000, '{'),
                                      QByteArray(20000, 'z')};
        for (int i = 0; i < 1500; ++i)
            flooding.send(kinds.at(i % kinds.size()));
        QCOMPARE(quiet.settle(), QStringList());
        QCOMPARE(flooding.settle(), QStringList());
        QVERIFY(!flooding.wasDisconnected);
        QVERIFY(m_handled.isEmpty());
        QCOMPARE(logged().size(), 1500);
    }

    void socketsBeyondTheLimitAreRefused()
    {
        recordDispatch();
        std::vector<std::unique_ptr<Client>> clients;
        for (int i = 0; i < ExtensionServer::MaxOpenSockets; ++i)
            clients.push_back(std::make_unique<Client>(m_server->port()));
        for (const auto &client : clients)
            QVERIFY(client->waitConnected());
        QTRY_COMPARE_WITH_TIMEOUT(m_server->openWebSockets().size(),
                                  ExtensionServer::MaxOpenSockets, waitMs);
        logged();

        Client refused(m_server->port());
        QVERIFY(!refused.waitConnected());
        QCOMPARE(logged(), QStringList{QStringLiteral("refused connection: %1 sockets already open")
                                           .arg(ExtensionServer::MaxOpenSockets)});
        QCOMPARE(clients.back()->settle(), QStringList());

        // Room again once one of them is gone.
        clients.front()->socket.close();
        QVERIFY(clients.front()->waitDisconnected());
        QTRY_COMPARE_WITH_TIMEOUT(m_server->openWebSockets().size(),
                                  ExtensionServer::MaxOpenSockets - 1, waitMs);
        Client admitted(m_server->port());
        QVERIFY(admitted.waitConnected());
        QCOMPARE(admitted.settle(), QStringList());
    }

    void aPortInUseIsReported()
    {
        ExtensionServer second(m_server->port(), m_vault->locker, *m_browsers, m_vault->center);
        QVERIFY(!second.start());
        const QStringList lines = logged();
        QCOMPARE(lines.size(), 1);
        QVERIFY2(lines.first().startsWith("socket server failed with error '"),
                 qPrintable(lines.first()));
    }
};

QTEST_MAIN(TestExtensionServer)
#include "tst_extensionserver.moc"
