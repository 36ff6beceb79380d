#pragma once

#include "extension/Command.h"

#include <QString>

#include <optional>
#include <string_view>

namespace simdjson::dom {
class object;
}

namespace pexi {

// One message between the worker and a browser extension. Incoming events are built from the
// event dictionary of a frame (as JsonReader read it) and take their command from their class,
// never from the wire; outgoing events write themselves as compact JSON text through JsonWriter.
// The server and the handlers pass events around by this base and look for the concrete class they
// expect.
class MiniAppEvent
{
public:
    virtual ~MiniAppEvent() = default;

    Command command() const { return m_command; }

    // The string at `key`, all of it: a byte order mark at its start is part of the text.
    // Absent or not a string: nothing, without an error.
    static std::optional<QString> optionalString(const simdjson::dom::object &dictionary,
                                                 std::string_view key);

protected:
    explicit MiniAppEvent(Command command) : m_command(command) {}
    MiniAppEvent(const MiniAppEvent &) = default;
    MiniAppEvent &operator=(const MiniAppEvent &) = default;

    // The helpers below throw ExtensionError::Kind::parseError and never say which key failed.

    // Every incoming dictionary needs a "command" string; its value was matched by the server.
    static void requireCommand(const simdjson::dom::object &dictionary);
    static QString requiredString(const simdjson::dom::object &dictionary, std::string_view key);

private:
    Command m_command;
};

} // namespace pexi
