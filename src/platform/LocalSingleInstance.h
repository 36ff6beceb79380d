#pragma once

#include "platform/SingleInstance.h"

#include <QLocalServer>
#include <QLockFile>
#include <QString>

class QLocalSocket;

namespace pexi {

// A local socket in a private directory of the user's, guarded by a lock file: the copy that
// holds the lock listens, a copy that cannot take it connects and asks for "reopen". The lock of
// a copy that crashed is stale (its process is gone) and is taken over with its socket.
class LocalSingleInstance : public SingleInstance
{
    Q_OBJECT
public:
    // `directory` holds the lock file and the socket; it is made 0700 and must be the user's.
    explicit LocalSingleInstance(const QString &directory = defaultDirectory(),
                                 QObject *parent = nullptr);
    ~LocalSingleInstance() override;

    // $XDG_RUNTIME_DIR/pexi, or /tmp/pexi-<uid> where there is no runtime directory.
    static QString defaultDirectory();

    Claim claim() override;

private:
    bool listen();
    bool askToReopen();
    void readRequest(QLocalSocket *socket);

    QString m_directory;
    QString m_socketPath;
    QLockFile m_lock;
    QLocalServer m_server;
};

} // namespace pexi
