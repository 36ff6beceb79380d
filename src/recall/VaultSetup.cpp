#include "recall/VaultSetup.h"

#include "core/GridLibrary.h"
#include "core/Vault.h"
#include "core/VaultOpener.h"
#include "core/VaultSession.h"

#include <QSet>

namespace pexi {

namespace {
QList<QSet<int>> asSets(const QList<QList<int>> &picks)
{
    QList<QSet<int>> sets;
    for (const QList<int> &grid : picks)
        sets.append(QSet<int>(grid.begin(), grid.end()));
    return sets;
}
} // namespace

VaultSetup::VaultSetup(Vault &vault) : m_vault(vault)
{
    draw();
}

void VaultSetup::draw()
{
    m_grids = Vault::drawGrids();
    m_chosen.clear();
    m_round = Round::Choose;
}

VaultSetup::Outcome VaultSetup::finishRound(const QList<QList<int>> &picks)
{
    if (m_round == Round::Choose) {
        m_chosen = picks;
        m_round = Round::Confirm;
        return Outcome::Chosen;
    }
    return asSets(picks) == asSets(m_chosen) ? Outcome::Confirmed : Outcome::Mismatch;
}

std::function<std::unique_ptr<VaultSession>()> VaultSetup::creation()
{
    // A vault that was there before and is gone must not leave its header behind.
    m_vault.reloadHeader();
    // The worker makes the vault through a copy: the one handed in belongs to this thread,
    // where sync may read its header at any time.
    return [vault = m_vault, grids = m_grids, picks = m_chosen]() mutable {
        vault.create(grids, picks);
        const SecureBytes secret =
            SecureBytes::fromUtf8(GridLibrary::recallSecretFor(grids, picks));
        return VaultOpener(vault).open(secret);
    };
}

} // namespace pexi
