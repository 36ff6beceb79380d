#pragma once

#include "core/ImageGrid.h"

#include <QList>

namespace pexi {

class Vault;

// The user's three picture grids, fixed when the vault was made; readable while locked.
class GridLibrary
{
public:
    static GridLibrary &instance();
    explicit GridLibrary(Vault &vault);

    // Exactly three grids, or none when there is no readable vault.
    QList<ImageGrid> grids() const;
    // The picture names of the grids of the vault, which exists, as its header keeps them: the
    // header's own lists, not copies. None when the header cannot be read.
    QList<QStringList> gridNames() const;
    // The canonical secret for the picked indices of each grid (page order). The names in each
    // grid are sorted, so the secret does not depend on where the pictures sit.
    QString deriveRecallSecret(const QList<QList<int>> &pickedIndices) const;
    static QString recallSecretForNames(const QList<QStringList> &pickedNames);
    // The same for grids that need not be a vault's yet.
    static QString recallSecretFor(const QList<ImageGrid> &grids,
                                   const QList<QList<int>> &pickedIndices);

private:
    Vault &m_vault;
};

} // namespace pexi
