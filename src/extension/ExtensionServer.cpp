#include "extension/ExtensionServer.h"

#include "core/Locker.h"
#include "core/Log.h"
#include "extension/AbortEvent.h"
#include "extension/BrowserController.h"
#include "extension/CommitEvent.h"
#include "extension/ExtClickedEvent.h"
#include "extension/ExtensionError.h"
#include "extension/JsonReader.h"
#include "extension/LockCheckEvent.h"
#include "extension/LockStateEvent.h"
#include "extension/MiniAppEvent.h"
#include "extension/RequestEvent.h"
#include "extension/SearchEvent.h"
#include "extension/StoreEvent.h"
#include "websocket/WebSocketFrameReader.h"

#include <QRegularExpression>

#include <simdjson.h>

#include <memory>

namespace pexi {

namespace {

// Messages are read where the frame reader put them, without a copy.
static_assert(WebSocketFrameReader::payloadPadding >= qsizetype(simdjson::SIMDJSON_PADDING));

using EventFactory = std::unique_ptr<MiniAppEvent> (*)(const simdjson::dom::object &);

template <typename Event>
std::unique_ptr<MiniAppEvent> build(const simdjson::dom::object &dictionary)
{
    return std::make_unique<Event>(dictionary);
}

// The commands an extension may send, and the events they make.
EventFactory incomingEvent(Command command)
{
    switch (command) {
    case Command::LOCK_CHECK:
        return &build<LockCheckEvent>;
    case Command::CREDS_SEARCH:
        return &build<SearchEvent>;
    case Command::CREDS_STORE:
        return &build<StoreEvent>;
    case Command::CREDS_COMMIT:
        return &build<CommitEvent>;
    case Command::CREDS_ABORT:
        return &build<AbortEvent>;
    case Command::EXT_CLICKED:
        return &build<ExtClickedEvent>;
    case Command::CREDS_REQUEST:
        return &build<RequestEvent>;
    case Command::LOCK_STATE:
    case Command::CREDS_SUGGEST:
    case Command::CREDS_PROVIDE:
    case Command::NAVIGATE:
        break; // the worker's own
    }
    return nullptr;
}

quint16 portFromEnvironment()
{
    bool ok = false;
    const uint port = qEnvironmentVariable("PEXI_EXTENSION_PORT").toUInt(&ok);
    return ok && port <= 65535 ? quint16(port) : ExtensionServer::DefaultPort;
}

} // namespace

ExtensionServer &ExtensionServer::instance()
{
    static ExtensionServer server(portFromEnvironment(), Locker::instance(),
                                  BrowserController::instance());
    return server;
}

ExtensionServer::ExtensionServer(quint16 port, Locker &locker, BrowserController &browsers,
                                 NotificationCenter &center, const SocketOwners &owners,
                                 QObject *parent)
    : QObject(parent), m_port(port),
      m_server(
          MaxMessageBytes, [this](const auto &request) { return admit(request); }, owners),
      m_reader(std::make_unique<JsonReader>()), m_locker(locker), m_browsers(browsers),
      m_center(center)
{
    connect(&m_server, &WebSocketServer::newConnection, this, &ExtensionServer::onNewConnection);
    connect(&m_server, &WebSocketServer::acceptError, this, [](const QString &error) {
        logLine(QStringLiteral("socket server failed with error '%1'").arg(error));
    });
}

ExtensionServer::~ExtensionServer()
{
    stop();
}

bool ExtensionServer::start()
{
    if (!m_server.listen(QHostAddress(QStringLiteral("127.0.0.1")), m_port)) {
        logLine(QStringLiteral("socket server failed with error '%1'").arg(m_server.errorString()));
        return false;
    }
    m_pexiUnlockObserver =
        m_center.addObserver(Locker::PexiUnlockedNotification, &m_locker,
                             [this](const QString &, const void *) { pushLockState(); });
    m_pexiLockObserver =
        m_center.addObserver(Locker::PexiLockedNotification, &m_locker,
                             [this](const QString &, const void *) { pushLockState(); });
    return true;
}

void ExtensionServer::stop()
{
    if (m_pexiUnlockObserver)
        m_center.removeObserver(*m_pexiUnlockObserver);
    if (m_pexiLockObserver)
        m_center.removeObserver(*m_pexiLockObserver);
    if (m_server.isListening())
        m_server.close();
}

quint16 ExtensionServer::port() const
{
    return m_server.isListening() ? m_server.serverPort() : m_port;
}

void ExtensionServer::broadcast(const QString &text)
{
    // A socket that fails on this send leaves the list at once; go over the list as it was.
    const QList<WebSocket *> sockets = m_openWebSockets;
    for (WebSocket *socket : sockets)
        socket->sendTextMessage(text);
}

void ExtensionServer::registerHandler(Command command, Handler handler)
{
    m_handlers[command].append(std::move(handler));
}

void ExtensionServer::pushLockState()
{
    broadcast(LockStateEvent(std::nullopt, false).toJson([this] { return m_locker.lockState(); }));
}

bool ExtensionServer::isAllowedOrigin(const std::optional<QString> &origin)
{
    if (!origin || origin->isEmpty())
        return true;
    static const QRegularExpression extension(
        QRegularExpression::anchoredPattern(QStringLiteral(
            "(chrome-extension|moz-extension|safari-web-extension)://[A-Za-z0-9._-]+")),
        QRegularExpression::CaseInsensitiveOption);
    return extension.match(*origin).hasMatch();
}

int ExtensionServer::admit(const WebSocketHandshake::Request &request)
{
    if (!isAllowedOrigin(request.origin)) {
        m_server.refusals().log(
            QStringLiteral("refused connection from origin '%1'").arg(loggable(*request.origin)));
        return 403;
    }
    if (m_openWebSockets.size() >= MaxOpenSockets) {
        m_server.refusals().log(
            QStringLiteral("refused connection: %1 sockets already open").arg(MaxOpenSockets));
        return 503;
    }
    return 0;
}

void ExtensionServer::onNewConnection(WebSocket *socket)
{
    socket->setParent(this);
    logLine(QStringLiteral("websocket opened!"));
    m_openWebSockets.append(socket);
    connect(socket, &WebSocket::textMessageReceived, this,
            [this, socket](const QByteArray &text) { handleTextMessage(socket, text); });
    connect(socket, &WebSocket::binaryMessageReceived, this, [](const QByteArray &) {
        logLine(QStringLiteral("message received from server had unexpected type: QByteArray"));
    });
    connect(socket, &WebSocket::disconnected, this, [this, socket] { onDisconnected(socket); });
}

void ExtensionServer::onDisconnected(WebSocket *socket)
{
    m_openWebSockets.removeOne(socket);
    if (!socket->errorString().isEmpty()) {
        logLine(QStringLiteral("websocket failed with error %1").arg(socket->errorString()));
    } else {
        // Clean means the closing handshake took place, whatever its code; a connection that
        // just dropped reports 1006, as browsers do.
        logLine(QStringLiteral("websocket closed with code %1, reason: '%2', clean: %3")
                    .arg(socket->closeCode())
                    .arg(loggable(socket->closeReason()),
                         socket->wasClean() ? QStringLiteral("true") : QStringLiteral("false")));
    }
    socket->deleteLater();
}

void ExtensionServer::handleTextMessage(WebSocket *socket, const QByteArray &text)
{
    // What the reader read stays valid only until its next read, which a handler may cause (by
    // spinning an event loop): nothing below the event's construction looks at it.
    simdjson::dom::object envelope;
    if (m_reader->read(text).get(envelope) != simdjson::SUCCESS) {
        logLine(QStringLiteral("Unable to parse json from server."));
        return;
    }
    simdjson::dom::object dictionary;
    std::string_view command;
    if (envelope["data"].get(dictionary) != simdjson::SUCCESS ||
        dictionary["command"].get(command) != simdjson::SUCCESS) {
        logLine(QStringLiteral("message had no command identifier!"));
        return;
    }
    m_browsers.recordMessage(MiniAppEvent::optionalString(envelope, "sender"),
                             MiniAppEvent::optionalString(envelope, "build"));

    const QUtf8StringView raw(command.data(), qsizetype(command.size()));
    const std::optional<Command> known = commandFromRaw(raw);
    const EventFactory factory = known ? incomingEvent(*known) : nullptr;
    if (!factory) {
        logLine(
            QStringLiteral("message had unrecognized command '%1'").arg(loggable(raw.toString())));
        return;
    }
    std::unique_ptr<MiniAppEvent> event;
    try {
        event = factory(dictionary);
    } catch (const ExtensionError &failure) {
        logLine(QStringLiteral("error processing incoming message: '%1'")
                    .arg(loggable(QString::fromUtf8(failure.what()))));
        return;
    }
    // Handlers may register others or close the socket; iterate over a copy.
    const QList<Handler> handlers = m_handlers.value(event->command());
    for (const Handler &handler : handlers)
        handler(socket, *event);
}

} // namespace pexi
