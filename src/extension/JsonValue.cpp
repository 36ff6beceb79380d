#include "extension/JsonValue.h"

#include <algorithm>

namespace pexi {

JsonValue JsonValue::null()
{
    JsonValue value;
    value.m_type = Type::null;
    return value;
}

JsonValue::JsonValue(bool value) : m_type(Type::boolean), m_number(value ? 1 : 0)
{
}

JsonValue::JsonValue(double value) : m_type(Type::number), m_number(value)
{
}

JsonValue::JsonValue(QString value) : m_type(Type::string), m_string(std::move(value))
{
}

JsonValue::JsonValue(QList<JsonValue> array)
    : m_type(Type::array), m_array(std::make_shared<const QList<JsonValue>>(std::move(array)))
{
}

JsonValue::JsonValue(JsonObject object)
    : m_type(Type::object), m_object(std::make_shared<const JsonObject>(std::move(object)))
{
}

QList<JsonValue> JsonValue::toArray() const
{
    return m_array ? *m_array : QList<JsonValue>();
}

JsonObject JsonValue::toObject() const
{
    return m_object ? *m_object : JsonObject();
}

JsonObject::JsonObject(QList<Member> members) : m_members(std::move(members))
{
    if (m_members.size() < 2)
        return;
    std::stable_sort(m_members.begin(), m_members.end(),
                     [](const Member &a, const Member &b) { return a.first < b.first; });
    // Of equal keys, the last written sorts last: keep that one.
    qsizetype kept = 0;
    for (qsizetype i = 0; i < m_members.size(); ++i) {
        if (i + 1 < m_members.size() && m_members.at(i + 1).first == m_members.at(i).first)
            continue;
        if (kept != i)
            m_members[kept] = std::move(m_members[i]);
        ++kept;
    }
    m_members.resize(kept);
}

JsonValue JsonObject::value(QAnyStringView key) const
{
    const auto found = std::lower_bound(m_members.cbegin(), m_members.cend(), key,
                                        [](const Member &member, QAnyStringView k) {
                                            return QAnyStringView::compare(member.first, k) < 0;
                                        });
    return found != m_members.cend() && QAnyStringView::compare(found->first, key) == 0
               ? found->second
               : JsonValue();
}

} // namespace pexi
