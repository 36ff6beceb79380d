#pragma once

#include "core/Account.h"
#include "core/EncryptionService.h"
#include "core/GridLibrary.h"
#include "core/Locker.h"
#include "core/PictureLibrary.h"
#include "core/Vault.h"

#include <QTemporaryDir>

#include <memory>

// A real vault in a temporary directory, with its own device-key directory (where pexi-vault run
// with XDG_CONFIG_HOME=<dir>/config looks), and the services that open it. Nothing here touches the
// process-wide singletons. Given `sharing`, the services open that one's vault instead, as another
// process would.
class TemporaryVault
{
public:
    explicit TemporaryVault(bool create = true, const TemporaryVault *sharing = nullptr)
        : keys(sharing ? sharing->keys
                       : std::make_shared<pexi::FileDeviceKeyStore>(dir.path() +
                                                                    "/config/pexi/device-keys")),
          vault(sharing ? sharing->vault.dataDirectory() : dir.path() + "/data", keys),
          account(vault), encryption(vault), locker(vault, account, encryption, center)
    {
        if (create)
            vault.create(chosen());
    }

    static QList<QStringList> chosen()
    {
        const QStringList names = pexi::PictureLibrary::names();
        return {names.mid(0, 3), names.mid(3, 3), names.mid(6, 3)};
    }
    static QString rightSecret() { return pexi::GridLibrary::recallSecretForNames(chosen()); }
    static QString wrongSecret()
    {
        QList<QStringList> names = chosen();
        names[2][2] = pexi::PictureLibrary::names().at(9);
        return pexi::GridLibrary::recallSecretForNames(names);
    }

    bool unlock(const QString &secret = rightSecret())
    {
        account.takeRecallSecret(secret);
        return locker.unlock();
    }

    QTemporaryDir dir;
    std::shared_ptr<pexi::FileDeviceKeyStore> keys;
    pexi::Vault vault;
    pexi::Account account;
    pexi::EncryptionService encryption;
    pexi::NotificationCenter center;
    pexi::Locker locker;
};
