#include "core/VaultHeader.h"

#include <QDataStream>
#include <QIODevice>

namespace pexi {

QByteArray VaultHeader::authenticatedBytes() const
{
    QByteArray bytes;
    QDataStream out(&bytes, QIODevice::WriteOnly);
    out.setVersion(QDataStream::Qt_6_0);
    out << qint32(formatVersion) << vaultId << accountId << salt << opsLimit << memLimit
        << verifierNonce << verifier << grids;
    return bytes;
}

} // namespace pexi
