#pragma once

#include "core/SecureBytes.h"

#include <QUuid>

#include <optional>

namespace pexi {

class Vault;

// The vault's owner: its identifier and the recall secret picked on the unlock screen.
class Account
{
public:
    static Account &shared();
    explicit Account(Vault &vault);

    // Made with the vault; readable while locked. None when there is no vault.
    std::optional<QUuid> userIdentifier() const;

    // Holds the secret until the next unlock uses it (or a lock wipes it).
    void takeRecallSecret(const QString &secret);
    const SecureBytes &recallSecret() const;
    void forgetRecallSecret();

private:
    Vault &m_vault;
    SecureBytes m_secret;
};

} // namespace pexi
