#include "VaultTool.h"

#include "RecallInput.h"

#include "core/GridLibrary.h"
#include "core/Inventory.h"
#include "core/LoginImporter.h"
#include "core/PictureLibrary.h"
#include "core/VaultError.h"

#include <QFile>
#include <QSet>

#include <sodium.h>

#include <cstdio>

namespace pexi {

namespace {

const char *const usageText = R"(usage: pexi-vault [--data-dir DIR] COMMAND
  pictures                    picture names, one per line
  init [--pictures A,B,C,D,E,F,G,H,I]
                              make the vault: nine pictures, three per grid in grid order;
                              without --pictures nine are drawn at random and printed
  grids                       one line per picture: GRID LETTER NAME
  list                        title, username and site of every item (tab-separated)
  add --title T [--site S] [--username U]
                              add an item; the password is the first line of standard input
  import FILE                 add the logins of a browser's CSV export
  export-device-key           print this device's key for the vault
  import-device-key           store a device key read from standard input
The picked pictures are read as letters, one group per grid ("ACE BDF GHK"), from
PEXI_RECALL when set, else asked for on the terminal.
)";

class ToolError : public std::runtime_error
{
public:
    explicit ToolError(const QString &message) : std::runtime_error(message.toStdString()) {}
};

// Values are printed one item per line, tab-separated: keep them on one line.
QString flat(const QString &text)
{
    QString result = text;
    for (QChar &c : result) {
        if (c == QLatin1Char('\t') || c == QLatin1Char('\n') || c == QLatin1Char('\r'))
            c = QLatin1Char(' ');
    }
    return result;
}

// Options of the form --name VALUE; anything else is a usage error.
QHash<QString, QString> options(const QStringList &arguments, const QStringList &allowed)
{
    QHash<QString, QString> values;
    for (int i = 0; i < arguments.size(); ++i) {
        const QString &name = arguments.at(i);
        if (!allowed.contains(name))
            throw std::invalid_argument(("unexpected argument \"" + name + "\"").toStdString());
        if (i + 1 >= arguments.size())
            throw std::invalid_argument((name + " needs a value").toStdString());
        values.insert(name, arguments.at(++i));
    }
    return values;
}

QList<QStringList> groupsOfThree(const QStringList &names)
{
    return {names.mid(0, 3), names.mid(3, 3), names.mid(6, 3)};
}

} // namespace

VaultTool::VaultTool(QTextStream &out, QTextStream &err) : m_out(out), m_err(err)
{
}

VaultTool::~VaultTool() = default;

int VaultTool::run(QStringList arguments)
{
    try {
        QString dataDirectory = Vault::defaultDataDirectory();
        if (arguments.value(0) == QLatin1String("--data-dir")) {
            if (arguments.size() < 2)
                throw UsageError("--data-dir needs a directory");
            dataDirectory = arguments.at(1);
            arguments = arguments.mid(2);
        }
        if (arguments.isEmpty())
            throw UsageError("no command given");
        m_vault = std::make_unique<Vault>(dataDirectory);
        m_account = std::make_unique<Account>(*m_vault);
        m_encryption = std::make_unique<EncryptionService>(*m_vault);
        m_locker = std::make_unique<Locker>(*m_vault, *m_account, *m_encryption);

        const QString command = arguments.takeFirst();
        const auto noArguments = [&] {
            if (!arguments.isEmpty())
                throw UsageError(
                    ("unexpected argument \"" + arguments.first() + "\"").toStdString());
        };
        try {
            if (command == QLatin1String("pictures")) {
                noArguments();
                pictures();
            } else if (command == QLatin1String("init")) {
                init(arguments);
            } else if (command == QLatin1String("grids")) {
                noArguments();
                grids();
            } else if (command == QLatin1String("list")) {
                noArguments();
                list();
            } else if (command == QLatin1String("add")) {
                add(arguments);
            } else if (command == QLatin1String("import")) {
                import(arguments);
            } else if (command == QLatin1String("export-device-key")) {
                noArguments();
                exportDeviceKey();
            } else if (command == QLatin1String("import-device-key")) {
                noArguments();
                importDeviceKey();
            } else if (command == QLatin1String("help") || command == QLatin1String("--help")) {
                m_out << usageText;
            } else {
                throw UsageError(("unknown command \"" + command + "\"").toStdString());
            }
        } catch (const std::invalid_argument &error) {
            throw UsageError(error.what());
        }
    } catch (const UsageError &error) {
        m_err << "pexi-vault: " << error.what() << "\n" << usageText;
        return 2;
    } catch (const std::exception &error) {
        // ToolError, VaultError, CsvError, RecallInputError: each is already a sentence.
        m_err << "pexi-vault: " << error.what() << "\n";
        return 1;
    }
    m_out.flush();
    return 0;
}

void VaultTool::pictures()
{
    for (const QString &name : PictureLibrary::names())
        m_out << name << "\n";
}

void VaultTool::init(const QStringList &arguments)
{
    const auto values = options(arguments, {QStringLiteral("--pictures")});
    QStringList names;
    const bool drawn = !values.contains(QStringLiteral("--pictures"));
    if (drawn) {
        QStringList pool = PictureLibrary::names();
        for (int i = 0; i < 9; ++i)
            names.append(pool.takeAt(int(randombytes_uniform(quint32(pool.size())))));
    } else {
        for (const QString &name :
             values.value(QStringLiteral("--pictures")).split(QLatin1Char(',')))
            names.append(name.trimmed().toLower());
        if (names.size() != 9)
            throw ToolError(QStringLiteral("--pictures needs nine names, three per grid; got %1")
                                .arg(names.size()));
    }
    if (m_vault->exists())
        throw ToolError(QStringLiteral("a vault already exists at %1").arg(m_vault->filePath()));

    const VaultHeader header = m_vault->create(groupsOfThree(names));
    m_out << "Made a vault at " << m_vault->filePath() << "\n";
    m_out << "Device key stored in "
          << m_vault->deviceKeys().describeLocation(header.accountId.toString(QUuid::WithoutBraces))
          << "\n";
    m_out << (drawn ? "Your pictures, drawn at random; remember them:\n" : "Your pictures:\n");
    QStringList letters;
    for (int grid = 0; grid < 3; ++grid) {
        QString group;
        for (int index = 0; index < ImageGrid::PictureCount; ++index) {
            const QString &name = header.grids.at(grid).at(index);
            if (names.mid(grid * 3, 3).contains(name)) {
                m_out << grid + 1 << " " << RecallInput::letterFor(index) << " " << name << "\n";
                group.append(RecallInput::letterFor(index));
            }
        }
        letters.append(group);
    }
    m_out << "Unlock with: " << letters.join(QLatin1Char(' ')) << "\n";
}

void VaultTool::requireVault()
{
    if (!m_vault->exists())
        throw ToolError(QStringLiteral("there is no vault in %1; make one with \"pexi-vault init\"")
                            .arg(m_vault->dataDirectory()));
    m_vault->header(); // refuses files that are not vaults before anything else happens
}

void VaultTool::grids()
{
    requireVault();
    const QList<ImageGrid> all = GridLibrary(*m_vault).grids();
    if (all.size() != 3)
        throw ToolError(
            QStringLiteral("the vault's grids name pictures this program does not have"));
    for (int grid = 0; grid < all.size(); ++grid) {
        for (int index = 0; index < ImageGrid::PictureCount; ++index)
            m_out << grid + 1 << " " << RecallInput::letterFor(index) << " "
                  << all.at(grid).pictureName(index) << "\n";
    }
}

void VaultTool::unlock()
{
    requireVault();
    const GridLibrary grids(*m_vault);
    const QString secret =
        grids.deriveRecallSecret(RecallInput::parse(RecallInput::read(grids.grids())));
    m_account->takeRecallSecret(secret);
    if (!m_encryption->checkRecallSecret(secret) || !m_locker->unlock())
        throw ToolError(QStringLiteral("wrong pictures"));
    for (const QString &uuid : m_locker->unreadableItems())
        m_err << "pexi-vault: warning: item " << uuid
              << " failed its integrity check (damaged or tampered) and was skipped\n";
}

void VaultTool::list()
{
    unlock();
    m_locker->runWithInventory([this](Inventory &inventory) {
        for (const InventoryItem &item : inventory.itemList())
            m_out << flat(item.title()) << "\t" << flat(item.username().value_or(QString())) << "\t"
                  << flat(item.site().value_or(QString())) << "\n";
    });
}

QString VaultTool::readStandardInputLine()
{
    QFile input;
    if (!input.open(stdin, QIODevice::ReadOnly))
        throw ToolError(QStringLiteral("cannot read standard input"));
    QByteArray line = input.readLine();
    if (line.endsWith('\n'))
        line.chop(1);
    if (line.endsWith('\r'))
        line.chop(1);
    const QString text = QString::fromUtf8(line);
    sodium_memzero(line.data(), size_t(line.size()));
    return text;
}

void VaultTool::add(const QStringList &arguments)
{
    const auto values = options(arguments, {QStringLiteral("--title"), QStringLiteral("--site"),
                                            QStringLiteral("--username")});
    const QString title = values.value(QStringLiteral("--title")).trimmed();
    if (title.isEmpty())
        throw ToolError(QStringLiteral("an item needs a title (--title)"));
    const auto optional = [&](const QString &name) -> std::optional<QString> {
        if (!values.contains(name))
            return std::nullopt;
        return values.value(name).trimmed();
    };
    requireVault();
    const QString password = readStandardInputLine();
    if (password.isEmpty())
        throw ToolError(QStringLiteral("the password (first line of standard input) is empty"));
    unlock();
    const InventoryItem item(title, optional(QStringLiteral("--username")), password,
                             optional(QStringLiteral("--site")));
    m_locker->runWithInventory([&](Inventory &inventory) { inventory.upsert(item); });
    m_out << "Added \"" << flat(title) << "\"\n";
}

void VaultTool::import(const QStringList &arguments)
{
    if (arguments.size() != 1)
        throw UsageError("import needs exactly one FILE");
    QFile file(arguments.first());
    if (!file.open(QIODevice::ReadOnly))
        throw ToolError(QStringLiteral("cannot read %1").arg(arguments.first()));
    const QList<CsvLogin> logins = LoginCsv::parse(QString::fromUtf8(file.readAll()));
    requireVault();
    unlock();

    LoginImporter::Result result;
    m_locker->runWithInventory(
        [&](Inventory &inventory) { result = LoginImporter::import(inventory, logins); });
    m_out << "Added " << result.added.size() << ", skipped " << result.skipped.size()
          << " (duplicates)\n";
    for (const LoginImporter::Skipped &skipped : result.skipped) {
        m_out << "skipped row " << skipped.login.row << " (" << flat(skipped.login.title) << "): "
              << (skipped.reason == LoginImporter::Reason::alreadySaved
                      ? "the same login is already saved"
                      : "repeats an earlier row of the file")
              << "\n";
    }
}

void VaultTool::exportDeviceKey()
{
    requireVault();
    const std::optional<SecureBytes> key = m_vault->deviceKey();
    if (!key)
        throw ToolError(
            QStringLiteral("this device has no key for the vault at %1").arg(m_vault->filePath()));
    m_out << DeviceKeyStore::encode(*key) << "\n";
}

void VaultTool::importDeviceKey()
{
    requireVault();
    const std::optional<SecureBytes> key = DeviceKeyStore::decode(readStandardInputLine());
    if (!key)
        throw ToolError(QStringLiteral("standard input does not hold a device key (44 characters "
                                       "of base64, as export-device-key prints)"));
    // Only a key that opens the vault with the user's pictures is stored, so a wrong paste
    // cannot replace a working key.
    const GridLibrary grids(*m_vault);
    const SecureBytes secret = SecureBytes::fromUtf8(
        grids.deriveRecallSecret(RecallInput::parse(RecallInput::read(grids.grids()))));
    if (!Vault::isSealedBy(m_vault->header(), *key))
        throw ToolError(QStringLiteral("this key is not the vault's (or the vault's header is "
                                       "damaged); nothing was stored"));
    if (!m_vault->keyForSecret(secret, *key))
        throw ToolError(QStringLiteral("this key and these pictures do not open the vault; "
                                       "nothing was stored"));
    const QString accountId = m_vault->header().accountId.toString(QUuid::WithoutBraces);
    m_vault->deviceKeys().store(accountId, *key);
    m_out << "Device key stored in " << m_vault->deviceKeys().describeLocation(accountId) << "\n";
}

} // namespace pexi
