#include "core/VaultFile.h"

#include "core/VaultError.h"

#include <QFile>
#include <QFileInfo>

#include <sqlite3.h>

#include <functional>

namespace pexi {

namespace {

const char *const schema = R"sql(
CREATE TABLE meta (key TEXT PRIMARY KEY, value BLOB NOT NULL);
CREATE TABLE items (uuid TEXT PRIMARY KEY, revision INTEGER NOT NULL,
                    nonce BLOB NOT NULL, ciphertext BLOB NOT NULL);
CREATE INDEX items_by_revision ON items (revision);
)sql";

QString describe(sqlite3 *db, const QString &path)
{
    const int code = db ? sqlite3_errcode(db) : SQLITE_CANTOPEN;
    switch (code) {
    case SQLITE_NOTADB:
        return QStringLiteral("%1 is not a vault.").arg(path);
    case SQLITE_CORRUPT:
        return QStringLiteral("The vault %1 is damaged (truncated or corrupt).").arg(path);
    case SQLITE_FULL:
        return QStringLiteral("The disk is full; the vault %1 was not changed.").arg(path);
    case SQLITE_BUSY:
    case SQLITE_LOCKED:
        return QStringLiteral("The vault %1 is busy in another program; try again.").arg(path);
    case SQLITE_READONLY:
    case SQLITE_PERM:
        return QStringLiteral("The vault %1 cannot be written.").arg(path);
    default:
        return QStringLiteral("The vault %1 cannot be read: %2.")
            .arg(path, QString::fromUtf8(db ? sqlite3_errmsg(db) : "cannot open"));
    }
}

// A prepared statement that finalises itself.
class Statement
{
public:
    Statement(sqlite3 *db, const char *sql, const QString &path) : m_db(db), m_path(path)
    {
        if (sqlite3_prepare_v2(db, sql, -1, &m_stmt, nullptr) != SQLITE_OK)
            throw VaultError(describe(db, path));
    }
    ~Statement() { sqlite3_finalize(m_stmt); }
    Statement(const Statement &) = delete;
    Statement &operator=(const Statement &) = delete;

    void bind(int index, const QString &text)
    {
        const QByteArray utf8 = text.toUtf8();
        check(
            sqlite3_bind_text(m_stmt, index, utf8.constData(), int(utf8.size()), SQLITE_TRANSIENT));
    }
    void bind(int index, const QByteArray &blob)
    {
        // A zero-length blob must stay a blob, not NULL.
        check(sqlite3_bind_blob(m_stmt, index, blob.isEmpty() ? "" : blob.constData(),
                                int(blob.size()), SQLITE_TRANSIENT));
    }
    void bind(int index, qint64 value) { check(sqlite3_bind_int64(m_stmt, index, value)); }

    bool step()
    {
        const int rc = sqlite3_step(m_stmt);
        if (rc == SQLITE_ROW)
            return true;
        if (rc == SQLITE_DONE)
            return false;
        throw VaultError(describe(m_db, m_path));
    }
    void reset()
    {
        sqlite3_reset(m_stmt);
        sqlite3_clear_bindings(m_stmt);
    }

    QString text(int column) const
    {
        return QString::fromUtf8(
            reinterpret_cast<const char *>(sqlite3_column_text(m_stmt, column)),
            sqlite3_column_bytes(m_stmt, column));
    }
    QByteArray blob(int column) const
    {
        return QByteArray(static_cast<const char *>(sqlite3_column_blob(m_stmt, column)),
                          sqlite3_column_bytes(m_stmt, column));
    }
    qint64 integer(int column) const { return sqlite3_column_int64(m_stmt, column); }

private:
    void check(int rc)
    {
        if (rc != SQLITE_OK)
            throw VaultError(describe(m_db, m_path));
    }

    sqlite3 *m_db;
    QString m_path;
    sqlite3_stmt *m_stmt = nullptr;
};

void exec(sqlite3 *db, const char *sql, const QString &path)
{
    if (sqlite3_exec(db, sql, nullptr, nullptr, nullptr) != SQLITE_OK)
        throw VaultError(describe(db, path));
}

// Runs `body` inside one immediate transaction; anything thrown rolls it back.
void inTransaction(sqlite3 *db, const QString &path, const std::function<void()> &body)
{
    exec(db, "BEGIN IMMEDIATE", path);
    try {
        body();
        exec(db, "COMMIT", path);
    } catch (...) {
        sqlite3_exec(db, "ROLLBACK", nullptr, nullptr, nullptr);
        throw;
    }
}

sqlite3 *openConnection(const QString &path, int flags)
{
    sqlite3 *db = nullptr;
    const int rc = sqlite3_open_v2(QFile::encodeName(path).constData(), &db, flags, nullptr);
    if (rc != SQLITE_OK) {
        const QString message = describe(db, path);
        sqlite3_close(db);
        throw VaultError(message);
    }
    sqlite3_busy_timeout(db, 5000);
    sqlite3_extended_result_codes(db, 0);
    return db;
}

namespace MetaKey {
const QString formatVersion = QStringLiteral("format_version");
const QString vaultId = QStringLiteral("vault_id");
const QString accountId = QStringLiteral("account_id");
const QString salt = QStringLiteral("kdf_salt");
const QString opsLimit = QStringLiteral("kdf_ops_limit");
const QString memLimit = QStringLiteral("kdf_mem_limit");
const QString verifierNonce = QStringLiteral("verifier_nonce");
const QString verifier = QStringLiteral("verifier");
const QString headerMac = QStringLiteral("header_mac");
const QString revision = QStringLiteral("revision");
QString grid(int index)
{
    return QStringLiteral("grid_%1").arg(index + 1);
}
} // namespace MetaKey

} // namespace

VaultFile::VaultFile(sqlite3 *db, QString path) : m_db(db), m_path(std::move(path))
{
}

VaultFile::~VaultFile()
{
    sqlite3_close(m_db);
}

std::unique_ptr<VaultFile> VaultFile::open(const QString &path)
{
    if (!QFileInfo::exists(path))
        throw VaultError(QStringLiteral("There is no vault at %1.").arg(path));
    sqlite3 *db = openConnection(path, SQLITE_OPEN_READWRITE | SQLITE_OPEN_NOMUTEX);
    try {
        // The header first: a file that is no vault must be left exactly as it was.
        VaultHeader header = readHeader(db, path);
        exec(db, "PRAGMA journal_mode=WAL", path);
        exec(db, "PRAGMA synchronous=FULL", path);
        std::unique_ptr<VaultFile> file(new VaultFile(db, path));
        file->m_header = std::move(header);
        return file;
    } catch (...) {
        sqlite3_close(db);
        throw;
    }
}

VaultHeader VaultFile::readHeader(sqlite3 *db, const QString &path)
{
    QHash<QString, QByteArray> meta;
    {
        // A file that is not SQLite fails here with NOTADB; one without our tables with ERROR.
        sqlite3_stmt *probe = nullptr;
        if (sqlite3_prepare_v2(db, "SELECT key, value FROM meta", -1, &probe, nullptr) !=
            SQLITE_OK) {
            const int code = sqlite3_errcode(db);
            sqlite3_finalize(probe);
            if (code == SQLITE_ERROR)
                throw VaultError(QStringLiteral("%1 is not a vault.").arg(path));
            throw VaultError(describe(db, path));
        }
        sqlite3_finalize(probe);
        Statement query(db, "SELECT key, value FROM meta", path);
        while (query.step())
            meta.insert(query.text(0), query.blob(1));
    }

    const auto required = [&](const QString &key) {
        if (!meta.contains(key))
            throw VaultError(
                QStringLiteral("The vault's header is damaged (its %2 is missing); %1 was left "
                               "untouched.")
                    .arg(path, key));
        return meta.value(key);
    };
    VaultHeader header;
    bool ok = false;
    header.formatVersion = required(MetaKey::formatVersion).toInt(&ok);
    if (!ok || header.formatVersion != VaultHeader::CurrentFormatVersion)
        throw VaultError(QStringLiteral("The vault %1 has format version %2; this program reads "
                                        "version %3.")
                             .arg(path, QString::fromUtf8(meta.value(MetaKey::formatVersion)))
                             .arg(VaultHeader::CurrentFormatVersion));
    header.vaultId = QString::fromUtf8(required(MetaKey::vaultId));
    header.accountId = QUuid::fromString(QString::fromUtf8(required(MetaKey::accountId)));
    header.salt = required(MetaKey::salt);
    header.opsLimit = required(MetaKey::opsLimit).toULongLong();
    header.memLimit = required(MetaKey::memLimit).toULongLong();
    header.verifierNonce = required(MetaKey::verifierNonce);
    header.verifier = required(MetaKey::verifier);
    for (int grid = 0; grid < 3; ++grid)
        header.grids.append(QString::fromUtf8(required(MetaKey::grid(grid)))
                                .split(QLatin1Char(','), Qt::SkipEmptyParts));
    header.mac = meta.value(MetaKey::headerMac);
    if (header.accountId.isNull() || header.opsLimit == 0 || header.memLimit == 0)
        throw VaultError(
            QStringLiteral("The vault's header is damaged; %1 was left untouched.").arg(path));
    return header;
}

void VaultFile::create(const QString &path, const VaultHeader &header)
{
    if (QFileInfo::exists(path))
        throw VaultError(QStringLiteral("A vault already exists at %1.").arg(path));

    // Built under a temporary name and renamed once complete: a vault file is either whole or
    // absent.
    const QString partial = path + QStringLiteral(".partial");
    QFile::remove(partial);
    sqlite3 *db =
        openConnection(partial, SQLITE_OPEN_READWRITE | SQLITE_OPEN_CREATE | SQLITE_OPEN_NOMUTEX);
    try {
        exec(db, "PRAGMA synchronous=FULL", partial);
        inTransaction(db, partial, [&] {
            exec(db, schema, partial);
            Statement insert(db, "INSERT INTO meta (key, value) VALUES (?, ?)", partial);
            const auto put = [&](const QString &key, const QByteArray &value) {
                insert.bind(1, key);
                insert.bind(2, value);
                insert.step();
                insert.reset();
            };
            put(MetaKey::formatVersion, QByteArray::number(header.formatVersion));
            put(MetaKey::vaultId, header.vaultId.toUtf8());
            put(MetaKey::accountId, header.accountId.toString(QUuid::WithoutBraces).toUtf8());
            put(MetaKey::salt, header.salt);
            put(MetaKey::opsLimit, QByteArray::number(header.opsLimit));
            put(MetaKey::memLimit, QByteArray::number(header.memLimit));
            put(MetaKey::verifierNonce, header.verifierNonce);
            put(MetaKey::verifier, header.verifier);
            put(MetaKey::revision, QByteArrayLiteral("0"));
            for (int grid = 0; grid < header.grids.size(); ++grid)
                put(MetaKey::grid(grid), header.grids.at(grid).join(QLatin1Char(',')).toUtf8());
            put(MetaKey::headerMac, header.mac);
        });
        exec(db, "PRAGMA journal_mode=WAL", partial);
    } catch (...) {
        sqlite3_close(db);
        QFile::remove(partial);
        throw;
    }
    sqlite3_close(db);
    QFile::setPermissions(partial, QFile::ReadOwner | QFile::WriteOwner);
    if (!QFile::rename(partial, path)) {
        QFile::remove(partial);
        throw VaultError(QStringLiteral("The vault could not be saved at %1.").arg(path));
    }
}

void VaultFile::writeHeaderMac(const QByteArray &mac)
{
    inTransaction(m_db, m_path, [&] {
        Statement insert(m_db, "INSERT OR REPLACE INTO meta (key, value) VALUES (?, ?)", m_path);
        insert.bind(1, MetaKey::headerMac);
        insert.bind(2, mac);
        insert.step();
    });
    m_header.mac = mac;
}

QList<VaultFile::SealedItem> VaultFile::readItems(qint64 afterRevision, qint64 *latestRevision)
{
    QList<SealedItem> items;
    // One read transaction, so the revision matches the rows read.
    exec(m_db, "BEGIN", m_path);
    try {
        Statement revisionQuery(m_db, "SELECT value FROM meta WHERE key = 'revision'", m_path);
        const qint64 latest = revisionQuery.step() ? revisionQuery.text(0).toLongLong() : 0;
        Statement query(m_db,
                        "SELECT uuid, nonce, ciphertext FROM items WHERE revision > ? "
                        "ORDER BY revision",
                        m_path);
        query.bind(1, afterRevision);
        while (query.step())
            items.append(SealedItem{query.text(0), query.blob(1), query.blob(2)});
        exec(m_db, "COMMIT", m_path);
        if (latestRevision)
            *latestRevision = latest;
    } catch (...) {
        sqlite3_exec(m_db, "ROLLBACK", nullptr, nullptr, nullptr);
        throw;
    }
    return items;
}

qint64 VaultFile::writeItems(const QList<SealedItem> &items)
{
    qint64 revision = 0;
    inTransaction(m_db, m_path, [&] {
        Statement current(m_db, "SELECT value FROM meta WHERE key = 'revision'", m_path);
        revision = (current.step() ? current.text(0).toLongLong() : 0) + 1;
        Statement bump(m_db, "UPDATE meta SET value = ? WHERE key = 'revision'", m_path);
        bump.bind(1, QByteArray::number(revision));
        bump.step();
        Statement upsert(m_db,
                         "INSERT OR REPLACE INTO items (uuid, revision, nonce, ciphertext) "
                         "VALUES (?, ?, ?, ?)",
                         m_path);
        for (const SealedItem &item : items) {
            upsert.bind(1, item.uuid);
            upsert.bind(2, revision);
            upsert.bind(3, item.nonce);
            upsert.bind(4, item.ciphertext);
            upsert.step();
            upsert.reset();
        }
    });
    return revision;
}

qint64 VaultFile::revision()
{
    Statement query(m_db, "SELECT value FROM meta WHERE key = 'revision'", m_path);
    return query.step() ? query.text(0).toLongLong() : 0;
}

} // namespace pexi
