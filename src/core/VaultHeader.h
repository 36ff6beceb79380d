#pragma once

#include <QByteArray>
#include <QList>
#include <QStringList>
#include <QUuid>

namespace pexi {

// What a vault file holds besides its items: nothing in here opens the vault on its own.
struct VaultHeader
{
    static constexpr int CurrentFormatVersion = 1;

    int formatVersion = CurrentFormatVersion;
    QString vaultId; // new for every vault made; a change means the vault was re-created
    QUuid accountId; // the account's user identifier
    QByteArray salt;
    quint64 opsLimit = 0;
    quint64 memLimit = 0;
    QByteArray verifierNonce;
    QByteArray verifier;      // a known text sealed with the vault key: the only way to check a key
    QList<QStringList> grids; // three grids of fifteen picture names
    // A MAC over every field above, keyed with this device's key, so that damage anywhere in
    // the header is told apart from wrong pictures. Empty in vaults made before headers were
    // sealed; they gain it at their first unlock.
    QByteArray mac;

    // Every field but the MAC, in a fixed unambiguous layout: what the MAC covers.
    QByteArray authenticatedBytes() const;
};

} // namespace pexi
