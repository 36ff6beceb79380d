#pragma once

#include <QObject>

namespace pexi {

// Whether the desktop asks applications for dark colours, and when that changes.
class ColorSchemeMonitor : public QObject
{
    Q_OBJECT
public:
    using QObject::QObject;

    virtual bool prefersDark() const = 0;

signals:
    void prefersDarkChanged(bool prefersDark);
};

} // namespace pexi
