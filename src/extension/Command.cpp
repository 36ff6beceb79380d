#include "extension/Command.h"

#include <array>
#include <utility>

namespace pexi {

namespace {

using namespace Qt::StringLiterals;

// QString literals: handing one out allocates nothing.
const std::array<std::pair<Command, QString>, 11> &rawValues()
{
    static const std::array<std::pair<Command, QString>, 11> table{{
        {Command::LOCK_CHECK, u"pexi_lock_check"_s},
        {Command::LOCK_STATE, u"pexi_lock_state"_s},
        {Command::CREDS_SEARCH, u"credentials_search"_s},
        {Command::CREDS_SUGGEST, u"credentials_suggest"_s},
        {Command::CREDS_REQUEST, u"request_credential"_s},
        {Command::CREDS_PROVIDE, u"provide_credential"_s},
        {Command::CREDS_STORE, u"credentials_store"_s},
        {Command::CREDS_COMMIT, u"credentials_commit"_s},
        {Command::CREDS_ABORT, u"credentials_abort"_s},
        {Command::EXT_CLICKED, u"ext_icon_clicked"_s},
        {Command::NAVIGATE, u"navigate"_s},
    }};
    return table;
}

} // namespace

QString toRaw(Command command)
{
    for (const auto &[candidate, raw] : rawValues()) {
        if (candidate == command)
            return raw;
    }
    Q_UNREACHABLE();
    return {};
}

std::optional<Command> commandFromRaw(QAnyStringView raw)
{
    for (const auto &[command, candidate] : rawValues()) {
        if (QAnyStringView::equal(raw, candidate))
            return command;
    }
    return std::nullopt;
}

} // namespace pexi
