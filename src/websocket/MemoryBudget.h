#pragma once

#include <QtGlobal>

namespace pexi {

// The bytes all the connections of a server hold in their buffers, against one limit, so that
// many sockets each within their own limit cannot exhaust the process together.
class MemoryBudget
{
public:
    explicit MemoryBudget(qint64 limit) : m_limit(limit) {}

    void change(qint64 delta) { m_used += delta; }
    bool exceeded() const { return m_used > m_limit; }
    qint64 used() const { return m_used; }

private:
    qint64 m_limit;
    qint64 m_used = 0;
};

} // namespace pexi
