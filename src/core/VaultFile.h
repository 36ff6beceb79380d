#pragma once

#include "core/VaultHeader.h"

#include <QList>
#include <QString>

#include <memory>

struct sqlite3;

namespace pexi {

// The SQLite file of a vault: header and sealed items, nothing decrypted. WAL journal with
// synchronous=FULL, one transaction per write, so a process killed at any moment leaves either
// the old or the new state. Every failure is a VaultError with a sentence for the user.
class VaultFile
{
public:
    struct SealedItem
    {
        QString uuid;
        QByteArray nonce;
        QByteArray ciphertext;
    };

    // Opens an existing vault; refuses files that are not vaults, damaged or of another format.
    static std::unique_ptr<VaultFile> open(const QString &path);
    // Writes a new vault next to `path` and moves it into place once complete.
    static void create(const QString &path, const VaultHeader &header);
    ~VaultFile();
    VaultFile(const VaultFile &) = delete;
    VaultFile &operator=(const VaultFile &) = delete;

    const VaultHeader &header() const { return m_header; }
    // Seals a header made before headers carried a MAC. Changes nothing else.
    void writeHeaderMac(const QByteArray &mac);

    // Items written after `afterRevision`; `latestRevision` receives the file's revision.
    QList<SealedItem> readItems(qint64 afterRevision, qint64 *latestRevision);
    // Writes all items in one transaction and returns the new revision.
    qint64 writeItems(const QList<SealedItem> &items);
    qint64 revision();

private:
    explicit VaultFile(sqlite3 *db, QString path);
    static VaultHeader readHeader(sqlite3 *db, const QString &path);

    sqlite3 *m_db;
    QString m_path;
    VaultHeader m_header;
};

} // namespace pexi
