#include "platform/LocalSingleInstance.h"

#include "core/Log.h"
#include "core/PrivateDirectory.h"

#include <QDir>
#include <QLocalSocket>
#include <QThread>

#include <unistd.h>

namespace pexi {

namespace {

const QByteArray reopenRequest = QByteArrayLiteral("reopen\n");
// A copy that holds the lock may still be starting: how long a later copy keeps trying to reach
// its socket before giving up.
constexpr int handOverAttempts = 50;
constexpr int handOverPauseMs = 100;

} // namespace

LocalSingleInstance::LocalSingleInstance(const QString &directory, QObject *parent)
    : SingleInstance(parent), m_directory(directory),
      m_socketPath(QDir(directory).filePath(QStringLiteral("worker.socket"))),
      m_lock(QDir(directory).filePath(QStringLiteral("worker.lock")))
{
    // Only a copy whose process is gone leaves a stale lock, however old a live one is.
    m_lock.setStaleLockTime(0);
    m_server.setSocketOptions(QLocalServer::UserAccessOption);
    connect(&m_server, &QLocalServer::newConnection, this, [this] {
        while (QLocalSocket *socket = m_server.nextPendingConnection()) {
            connect(socket, &QLocalSocket::readyRead, this,
                    [this, socket] { readRequest(socket); });
            connect(socket, &QLocalSocket::disconnected, socket, &QObject::deleteLater);
            readRequest(socket);
        }
    });
}

LocalSingleInstance::~LocalSingleInstance() = default;

QString LocalSingleInstance::defaultDirectory()
{
    const QString runtime = qEnvironmentVariable("XDG_RUNTIME_DIR");
    if (!runtime.isEmpty())
        return QDir(runtime).filePath(QStringLiteral("pexi"));
    return QDir(QDir::tempPath()).filePath(QStringLiteral("pexi-%1").arg(::getuid()));
}

SingleInstance::Claim LocalSingleInstance::claim()
{
    // A directory another user made (possible under /tmp) cannot be made 0700 by us and is
    // refused, so nobody else can listen in our place.
    if (!makePrivateDirectory(m_directory)) {
        logLine(QStringLiteral("cannot make %1 private to this user").arg(m_directory));
        return Claim::failed;
    }
    for (int attempt = 0; attempt < handOverAttempts; ++attempt) {
        // Tried each round: the copy that held it may have died while starting.
        if (m_lock.tryLock(0))
            return listen() ? Claim::serving : Claim::failed;
        if (askToReopen())
            return Claim::anotherIsServing;
        QThread::msleep(handOverPauseMs);
    }
    logLine(QStringLiteral("another worker holds %1 but does not answer").arg(m_lock.fileName()));
    return Claim::failed;
}

bool LocalSingleInstance::listen()
{
    // Whatever is there was left by a copy that crashed: the lock says no other copy lives.
    QLocalServer::removeServer(m_socketPath);
    if (m_server.listen(m_socketPath))
        return true;
    logLine(QStringLiteral("cannot listen on %1: %2").arg(m_socketPath, m_server.errorString()));
    m_lock.unlock();
    return false;
}

bool LocalSingleInstance::askToReopen()
{
    QLocalSocket socket;
    socket.connectToServer(m_socketPath);
    if (!socket.waitForConnected(handOverPauseMs))
        return false;
    socket.write(reopenRequest);
    if (!socket.waitForBytesWritten(1000))
        return false;
    socket.disconnectFromServer();
    return true;
}

void LocalSingleInstance::readRequest(QLocalSocket *socket)
{
    // One short line is all a copy of the worker sends; anything else is dropped unread.
    if (!socket->canReadLine() && socket->bytesAvailable() < reopenRequest.size())
        return;
    if (socket->readLine(reopenRequest.size() + 1) == reopenRequest)
        emit reopen();
    socket->disconnectFromServer();
}

} // namespace pexi
