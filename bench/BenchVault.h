#pragma once

// What the benchmarks share: a real vault of a given size in a temporary directory, locked and
// ready to open, the NAME VALUE UNIT lines they print, and a process's memory.
#include "core/Account.h"
#include "core/EncryptionService.h"
#include "core/GridLibrary.h"
#include "core/Inventory.h"
#include "core/Locker.h"
#include "core/PictureLibrary.h"
#include "core/Vault.h"

#include <QFile>
#include <QTemporaryDir>

#include <algorithm>
#include <cstdio>

struct BenchVault
{
    QTemporaryDir dir;
    std::shared_ptr<pexi::FileDeviceKeyStore> keys =
        std::make_shared<pexi::FileDeviceKeyStore>(dir.path() + "/keys");
    pexi::Vault vault{dir.path() + "/data", keys};
    pexi::Account account{vault};
    pexi::EncryptionService encryption{vault};
    pexi::Locker locker{vault, account, encryption};
    QString secret;

    // The user's pictures are the first nine of the library, three a grid.
    static QList<QStringList> chosen()
    {
        const QStringList names = pexi::PictureLibrary::names();
        return {names.mid(0, 3), names.mid(3, 3), names.mid(6, 3)};
    }

    // `items` logins over `sites` distinct sites, taken in turn.
    explicit BenchVault(int items, int sites = 5000)
    {
        vault.create(chosen());
        secret = pexi::GridLibrary::recallSecretForNames(chosen());
        unlock();
        QList<pexi::InventoryItem> batch;
        for (int i = 0; i < items; ++i) {
            const QString n = QString::number(i);
            batch.append(pexi::InventoryItem(
                "Account " + n, "user" + n + "@mail.example", "password-" + n,
                "https://login.site" + QString::number(i % std::max(sites, 1)) + ".com/"));
        }
        locker.runWithInventory([&](pexi::Inventory &inventory) { inventory.add(batch); });
        locker.lock();
    }

    void unlock()
    {
        account.takeRecallSecret(secret);
        if (!locker.unlock())
            qFatal("bench vault did not unlock");
    }
};

inline double median(QList<double> values)
{
    std::sort(values.begin(), values.end());
    return values.at(values.size() / 2);
}

inline void print(const char *name, double value, const char *unit)
{
    std::printf("%s %.*f %s\n", name, value < 10 ? 3 : 1, value, unit);
    std::fflush(stdout);
}

// The resident memory of a process ("self" for this one), from the kernel's status file.
inline double residentMiB(const QString &process = QStringLiteral("self"))
{
    QFile status(QStringLiteral("/proc/%1/status").arg(process));
    if (!status.open(QIODevice::ReadOnly))
        return -1;
    for (const QByteArray &line : status.readAll().split('\n')) {
        if (line.startsWith("VmRSS:"))
            return line.mid(6).trimmed().split(' ').first().toDouble() / 1024;
    }
    return -1;
}
