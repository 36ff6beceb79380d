#pragma once

#include "core/ImageGrid.h"

#include <QList>

#include <functional>
#include <memory>

namespace pexi {

class Vault;
class VaultSession;

// The making of a first vault, without a screen: three grids drawn at random, the user's three
// picks in each, the same picks once more to be sure they are remembered, then the vault.
class VaultSetup
{
public:
    enum class Round { Choose, Confirm };
    enum class Outcome { Chosen, Confirmed, Mismatch };

    explicit VaultSetup(Vault &vault);

    const QList<ImageGrid> &grids() const { return m_grids; }
    Round round() const { return m_round; }
    // Draws three new grids and forgets every pick.
    void draw();
    // Ends the current round with the picks of the three grids, in any order. Choosing moves on
    // to confirming; a confirmation naming other pictures in any grid starts that round again.
    Outcome finishRound(const QList<QList<int>> &picks);
    // Once confirmed, the work that makes the vault with the grids as shown and opens it. The
    // work is slow (two key derivations) and touches neither this object nor the vault handed
    // in, so it may run on any thread; it throws VaultError.
    std::function<std::unique_ptr<VaultSession>()> creation();

private:
    Vault &m_vault;
    QList<ImageGrid> m_grids;
    QList<QList<int>> m_chosen;
    Round m_round = Round::Choose;
};

} // namespace pexi
