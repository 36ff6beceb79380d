#pragma once

#include <QString>

namespace pexi {

// Where usage events go; the worker sends them to its analytics service.
class EventLogger
{
public:
    virtual ~EventLogger() = default;

    // Fire and forget; callable from any thread.
    virtual void logEvent(const QString &name) = 0;
};

} // namespace pexi
