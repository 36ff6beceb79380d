#include "core/GridLibrary.h"

#include "core/Vault.h"
#include "core/VaultError.h"

namespace pexi {

GridLibrary &GridLibrary::instance()
{
    static GridLibrary library(Vault::shared());
    return library;
}

GridLibrary::GridLibrary(Vault &vault) : m_vault(vault)
{
}

QList<ImageGrid> GridLibrary::grids() const
{
    if (!m_vault.exists())
        return {};
    try {
        QList<ImageGrid> grids;
        for (const QStringList &names : gridNames())
            grids.append(ImageGrid(names));
        return grids.size() == 3 ? grids : QList<ImageGrid>();
    } catch (const std::invalid_argument &) {
        return {}; // a grid naming a picture this build does not have
    }
}

QList<QStringList> GridLibrary::gridNames() const
{
    try {
        return m_vault.header().grids;
    } catch (const VaultError &) {
        return {};
    }
}

QString GridLibrary::deriveRecallSecret(const QList<QList<int>> &pickedIndices) const
{
    return recallSecretFor(grids(), pickedIndices);
}

QString GridLibrary::recallSecretFor(const QList<ImageGrid> &all,
                                     const QList<QList<int>> &pickedIndices)
{
    QList<QStringList> names;
    for (int grid = 0; grid < pickedIndices.size() && grid < all.size(); ++grid) {
        QStringList picked;
        for (int index : pickedIndices.at(grid))
            picked.append(all.at(grid).pictureName(index));
        names.append(picked);
    }
    return recallSecretForNames(names);
}

QString GridLibrary::recallSecretForNames(const QList<QStringList> &pickedNames)
{
    QStringList grids;
    for (QStringList names : pickedNames) {
        names.sort();
        grids.append(names.join(QLatin1Char(',')));
    }
    return grids.join(QLatin1Char('/'));
}

} // namespace pexi
