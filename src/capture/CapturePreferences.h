#pragma once

namespace pexi {

// The two settings that decide what becomes of a captured login. The worker's preferences answer
// them; every read is fresh, so a change made elsewhere applies to the next login.
class CapturePreferences
{
public:
    virtual ~CapturePreferences() = default;

    virtual bool autoSavePasswords() const = 0;
    // Whether the user hears about a captured login (and, while saving is not automatic, whether
    // they are asked at all).
    virtual bool showSaveNotifications() const = 0;
};

} // namespace pexi
