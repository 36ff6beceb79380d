#pragma once

#include <QObject>

namespace pexi {

// One worker per user. The first copy to claim serves; a later copy hands over to it (which then
// shows its window) and quits, so the extensions never meet two workers.
class SingleInstance : public QObject
{
    Q_OBJECT
public:
    enum class Claim { serving, anotherIsServing, failed };

    using QObject::QObject;

    // Becomes the copy that serves, or tells the one that serves to reopen. Called once.
    virtual Claim claim() = 0;

signals:
    // Another copy was started while this one serves.
    void reopen();
};

} // namespace pexi
