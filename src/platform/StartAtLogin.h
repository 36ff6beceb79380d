#pragma once

namespace pexi {

// Whether the worker starts when the user logs in; the preferences window offers the choice.
class StartAtLogin
{
public:
    virtual ~StartAtLogin() = default;

    virtual bool isEnabled() const = 0;
    // False when the choice could not be recorded.
    virtual bool setEnabled(bool enabled) = 0;
};

} // namespace pexi
