#include "extension/Command.h"

#include <array>
#include <utility>

namespace pexi {

namespace {

using namespace Qt::StringLiterals;

constexpr std::array<std::pair<Command, QLatin1StringView>, 11> rawValues{{
    {Command::LOCK_CHECK, "pexi_lock_check"_L1},
    {Command::LOCK_STATE, "pexi_lock_state"_L1},
    {Command::CREDS_SEARCH, "credentials_search"_L1},
    {Command::CREDS_SUGGEST, "credentials_suggest"_L1},
    {Command::CREDS_REQUEST, "request_credential"_L1},
    {Command::CREDS_PROVIDE, "provide_credential"_L1},
    {Command::CREDS_STORE, "credentials_store"_L1},
    {Command::CREDS_COMMIT, "credentials_commit"_L1},
    {Command::CREDS_ABORT, "credentials_abort"_L1},
    {Command::EXT_CLICKED, "ext_icon_clicked"_L1},
    {Command::NAVIGATE, "navigate"_L1},
}};

} // namespace

QString toRaw(Command command)
{
    for (const auto &[candidate, raw] : rawValues) {
        if (candidate == command)
            return raw;
    }
    Q_UNREACHABLE();
    return {};
}

std::optional<Command> commandFromRaw(QStringView raw)
{
    for (const auto &[command, candidate] : rawValues) {
        if (raw == candidate)
            return command;
    }
    return std::nullopt;
}

} // namespace pexi
