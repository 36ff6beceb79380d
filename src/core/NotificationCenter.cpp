#include "core/NotificationCenter.h"

#include <QMutexLocker>

#include <vector>

namespace pexi {

NotificationCenter &NotificationCenter::defaultCenter()
{
    static NotificationCenter center;
    return center;
}

ObserverToken NotificationCenter::addObserver(const QString &name, const void *object,
                                              Observer observer)
{
    QMutexLocker locker(&m_mutex);
    const quint64 id = m_nextId++;
    m_registrations.emplace(id, Registration{name, object, std::move(observer)});
    return ObserverToken{id};
}

void NotificationCenter::removeObserver(ObserverToken token)
{
    QMutexLocker locker(&m_mutex);
    m_registrations.erase(token.id);
}

void NotificationCenter::post(const QString &name, const void *object)
{
    // Copy the matching observers first: an observer may add or remove registrations.
    std::vector<Observer> matching;
    {
        QMutexLocker locker(&m_mutex);
        for (const auto &[id, registration] : m_registrations) {
            if (registration.name == name &&
                (registration.object == nullptr || registration.object == object))
                matching.push_back(registration.observer);
        }
    }
    for (const Observer &observer : matching)
        observer(name, object);
}

} // namespace pexi
