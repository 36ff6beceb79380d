#include "extension/ExtensionServer.h"

#include "app/Log.h"
#include "core/Locker.h"
#include "extension/AbortEvent.h"
#include "extension/BrowserController.h"
#include "extension/CommitEvent.h"
#include "extension/ExtClickedEvent.h"
#include "extension/ExtensionError.h"
#include "extension/LockCheckEvent.h"
#include "extension/LockStateEvent.h"
#include "extension/RequestEvent.h"
#include "extension/SearchEvent.h"
#include "extension/StoreEvent.h"

#include <QJsonDocument>
#include <QJsonObject>
#include <QUrl>
#include <QWebSocket>
#include <QWebSocketCorsAuthenticator>

#include <memory>

namespace pexi {

namespace {

using EventFactory = std::unique_ptr<MiniAppEvent> (*)(const QJsonObject &);

template <typename Event> std::unique_ptr<MiniAppEvent> build(const QJsonObject &dictionary)
{
    return std::make_unique<Event>(dictionary);
}

// The commands an extension may send, in the order they are matched.
const QList<std::pair<QString, EventFactory>> &incomingEvents()
{
    static const QList<std::pair<QString, EventFactory>> table{
        {QStringLiteral("pexi_lock_check"), &build<LockCheckEvent>},
        {QStringLiteral("credentials_search"), &build<SearchEvent>},
        {QStringLiteral("credentials_store"), &build<StoreEvent>},
        {QStringLiteral("credentials_commit"), &build<CommitEvent>},
        {QStringLiteral("credentials_abort"), &build<AbortEvent>},
        {QStringLiteral("ext_icon_clicked"), &build<ExtClickedEvent>},
        {QStringLiteral("request_credential"), &build<RequestEvent>},
    };
    return table;
}

std::optional<QString> optionalString(const QJsonObject &object, const QString &key)
{
    const QJsonValue value = object.value(key);
    return value.isString() ? std::optional(value.toString()) : std::nullopt;
}

// Web pages may open sockets to 127.0.0.1 too; extensions never send a web origin.
bool isWebPageOrigin(const QString &origin)
{
    if (origin == QLatin1String("null"))
        return true;
    const QString scheme = QUrl(origin).scheme().toLower();
    return scheme == QLatin1String("http") || scheme == QLatin1String("https") ||
           scheme == QLatin1String("file");
}

const char *const closingHandshakeProperty = "pexiClosingHandshake";

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
                                 NotificationCenter &center, QObject *parent)
    : QObject(parent), m_port(port),
      m_server(QStringLiteral("Pexi"), QWebSocketServer::NonSecureMode), m_locker(locker),
      m_browsers(browsers), m_center(center), m_pexiLocked(locker.lockState() == LockState::locked)
{
    m_server.setMaxPendingConnections(MaxOpenSockets);
    connect(&m_server, &QWebSocketServer::newConnection, this, &ExtensionServer::onNewConnection);
    connect(&m_server, &QWebSocketServer::originAuthenticationRequired, this,
            &ExtensionServer::onOriginAuthentication);
    connect(
        &m_server, &QWebSocketServer::serverError, this,
        [this](QWebSocketProtocol::CloseCode code) {
            // A handshake refused by onOriginAuthentication() was logged there, with its reason;
            // a failure to listen is logged by start().
            if (code == QWebSocketProtocol::CloseCodePolicyViolated || !m_server.isListening())
                return;
            logLine(
                QStringLiteral("socket server failed with error '%1'").arg(m_server.errorString()));
        });
}

ExtensionServer::~ExtensionServer()
{
    stop();
    // The sockets' TCP ends are children of the listening server, a member destroyed before
    // this object's children: their last state change must not reach a half-destroyed server.
    for (QWebSocket *socket : findChildren<QWebSocket *>(Qt::FindDirectChildrenOnly))
        socket->disconnect(this);
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
    for (QWebSocket *socket : std::as_const(m_openWebSockets))
        socket->sendTextMessage(text);
}

void ExtensionServer::registerHandler(Command command, Handler handler)
{
    m_handlers[command].append(std::move(handler));
}

void ExtensionServer::pushLockState()
{
    m_pexiLocked = false;
    try {
        broadcast(
            LockStateEvent(std::nullopt, false).toJson([this] { return m_locker.lockState(); }));
    } catch (const ExtensionError &) {
        // A push that cannot be written is dropped; the next lock change sends a fresh one.
    }
}

void ExtensionServer::onOriginAuthentication(QWebSocketCorsAuthenticator *authenticator)
{
    const QString origin = authenticator->origin();
    if (!origin.isEmpty() && isWebPageOrigin(origin)) {
        logLine(QStringLiteral("refused connection from origin '%1'").arg(origin));
        authenticator->setAllowed(false);
    } else if (m_openWebSockets.size() >= MaxOpenSockets) {
        logLine(QStringLiteral("refused connection: %1 sockets already open").arg(MaxOpenSockets));
        authenticator->setAllowed(false);
    }
}

void ExtensionServer::onNewConnection()
{
    while (QWebSocket *socket = m_server.nextPendingConnection()) {
        socket->setParent(this);
        socket->setMaxAllowedIncomingMessageSize(MaxMessageBytes);
        socket->setMaxAllowedIncomingFrameSize(MaxMessageBytes);
        logLine(QStringLiteral("websocket opened!"));
        m_openWebSockets.append(socket);
        connect(socket, &QWebSocket::textMessageReceived, this,
                [this, socket](const QString &text) { handleTextMessage(socket, text); });
        connect(socket, &QWebSocket::binaryMessageReceived, this, [](const QByteArray &) {
            logLine(QStringLiteral("message received from server had unexpected type: QByteArray"));
        });
        // A close frame went one way or the other; without one the peer simply vanished.
        connect(socket, &QWebSocket::aboutToClose, this,
                [socket] { socket->setProperty(closingHandshakeProperty, true); });
        connect(socket, &QWebSocket::disconnected, this,
                [this, socket] { onDisconnected(socket); });
        connect(socket, qOverload<QAbstractSocket::SocketError>(&QWebSocket::error), this,
                [this, socket] { onSocketError(socket); });
    }
}

void ExtensionServer::onDisconnected(QWebSocket *socket)
{
    // A socket that failed was logged and removed already; a close is logged only once.
    if (m_openWebSockets.contains(socket)) {
        // Clean means the closing handshake took place, whatever its code; a connection that
        // just dropped reports 1006, as browsers do.
        const bool clean = socket->property(closingHandshakeProperty).toBool();
        const int code = clean ? int(socket->closeCode())
                               : int(QWebSocketProtocol::CloseCodeAbnormalDisconnection);
        logLine(QStringLiteral("websocket closed with code %1, reason: '%2', clean: %3")
                    .arg(code)
                    .arg(clean ? socket->closeReason() : QString(),
                         clean ? QStringLiteral("true") : QStringLiteral("false")));
        removeSocket(socket);
    }
    socket->deleteLater();
}

void ExtensionServer::onSocketError(QWebSocket *socket)
{
    // The peer closing its end after a close frame is the ordinary way to end; only real
    // failures are reported as such.
    if (socket->error() == QAbstractSocket::RemoteHostClosedError)
        return;
    if (m_openWebSockets.contains(socket)) {
        logLine(QStringLiteral("websocket failed with error %1").arg(socket->errorString()));
        removeSocket(socket);
    }
}

void ExtensionServer::removeSocket(QWebSocket *socket)
{
    m_openWebSockets.removeOne(socket);
}

void ExtensionServer::handleTextMessage(QWebSocket *socket, const QString &text)
{
    QJsonParseError error;
    const QJsonDocument document = QJsonDocument::fromJson(text.toUtf8(), &error);
    if (error.error != QJsonParseError::NoError || !document.isObject()) {
        logLine(QStringLiteral("Unable to parse json from server."));
        return;
    }
    const QJsonObject envelope = document.object();
    const QJsonValue data = envelope.value(QStringLiteral("data"));
    const QJsonValue commandValue = data.toObject().value(QStringLiteral("command"));
    if (!data.isObject() || !commandValue.isString()) {
        logLine(QStringLiteral("message had no command identifier!"));
        return;
    }
    m_browsers.recordMessage(optionalString(envelope, QStringLiteral("sender")),
                             optionalString(envelope, QStringLiteral("build")));

    const QString command = commandValue.toString();
    EventFactory factory = nullptr;
    for (const auto &[raw, make] : incomingEvents()) {
        if (raw == command) {
            factory = make;
            break;
        }
    }
    if (!factory) {
        logLine(QStringLiteral("message had unrecognized command '%1'").arg(command));
        return;
    }
    std::unique_ptr<MiniAppEvent> event;
    try {
        event = factory(data.toObject());
    } catch (const ExtensionError &failure) {
        logLine(QStringLiteral("error processing incoming message: '%1'")
                    .arg(QString::fromUtf8(failure.what())));
        return;
    }
    // Handlers may register others or close the socket; iterate over a copy.
    const QList<Handler> handlers = m_handlers.value(event->command());
    for (const Handler &handler : handlers)
        handler(socket, *event);
    // The answers leave now, in one write, rather than on the event loop's next pass.
    socket->flush();
}

} // namespace pexi
