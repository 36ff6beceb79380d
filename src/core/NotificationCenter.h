#pragma once

#include <QMutex>
#include <QString>

#include <functional>
#include <map>

namespace pexi {

// Identifies one observer registration; hand it back to removeObserver().
struct ObserverToken
{
    quint64 id = 0;
    bool operator==(const ObserverToken &) const = default;
};

// The in-process notification centre of the core. Observers run synchronously on the thread
// that posts, in registration order; an observer registered with an object only hears posts
// from that object, one registered with nullptr hears every sender.
class NotificationCenter
{
public:
    using Observer = std::function<void(const QString &name, const void *object)>;

    static NotificationCenter &defaultCenter();

    ObserverToken addObserver(const QString &name, const void *object, Observer observer);
    void removeObserver(ObserverToken token);
    void post(const QString &name, const void *object);

private:
    struct Registration
    {
        QString name;
        const void *object;
        Observer observer;
    };

    QMutex m_mutex;
    quint64 m_nextId = 1;
    // Keyed by token id; ids grow, so iterating a std::map-like order keeps registration order.
    std::map<quint64, Registration> m_registrations;
};

} // namespace pexi
