#pragma once

#include "core/Account.h"
#include "core/EncryptionService.h"
#include "core/Locker.h"
#include "core/Vault.h"

#include <QStringList>
#include <QTextStream>

#include <memory>
#include <stdexcept>

namespace pexi {

// The pexi-vault commands. Every failure is one line on stderr and a non-zero exit; a command
// that fails writes nothing to the vault.
class VaultTool
{
public:
    VaultTool(QTextStream &out, QTextStream &err);
    ~VaultTool();
    int run(QStringList arguments);

private:
    class UsageError : public std::runtime_error
    {
        using std::runtime_error::runtime_error;
    };

    void pictures();
    void init(const QStringList &arguments);
    void grids();
    void list();
    void add(const QStringList &arguments);
    void import(const QStringList &arguments);
    void exportDeviceKey();
    void importDeviceKey();

    void requireVault();
    // Reads the picked letters and unlocks; throws with "wrong pictures" when they do not open.
    void unlock();
    QString readStandardInputLine();

    QTextStream &m_out;
    QTextStream &m_err;
    std::unique_ptr<Vault> m_vault;
    std::unique_ptr<Account> m_account;
    std::unique_ptr<EncryptionService> m_encryption;
    std::unique_ptr<Locker> m_locker;
};

} // namespace pexi
