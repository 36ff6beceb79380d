#pragma once

#include <exception>

namespace pexi {

// What goes wrong between a frame and an event. Caught where the message is dropped and logged;
// an extension never hears about it.
class ExtensionError : public std::exception
{
public:
    enum class Kind {
        // A required key is missing, of the wrong JSON type, or a required dictionary is empty.
        // Outgoing events cannot fail: JsonWriter escapes whatever UTF-8 cannot hold.
        parseError,
    };

    explicit ExtensionError(Kind kind) noexcept : m_kind(kind) {}

    Kind kind() const noexcept { return m_kind; }
    // Deliberately generic: the log line must not tell which key of a message was wrong.
    const char *what() const noexcept override;

private:
    Kind m_kind;
};

} // namespace pexi
