#pragma once

#include <QAnyStringView>
#include <QHashFunctions>
#include <QString>

#include <optional>

namespace pexi {

// The commands of the extension protocol. The order is part of the protocol's history; append new
// cases at the end.
enum class Command {
    LOCK_CHECK,
    LOCK_STATE,
    CREDS_SEARCH,
    CREDS_SUGGEST,
    CREDS_REQUEST,
    CREDS_PROVIDE,
    CREDS_STORE,
    CREDS_COMMIT,
    CREDS_ABORT,
    EXT_CLICKED,
    NAVIGATE,
};

// The wire string of a command, e.g. "credentials_search".
QString toRaw(Command command);

// Exact, case-sensitive match against the wire strings; anything else is no command.
std::optional<Command> commandFromRaw(QAnyStringView raw);

// Commands key the server's handler table.
inline size_t qHash(Command command, size_t seed = 0) noexcept
{
    return ::qHash(static_cast<int>(command), seed);
}

} // namespace pexi
