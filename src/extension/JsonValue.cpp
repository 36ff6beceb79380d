#include "extension/JsonValue.h"

#include <algorithm>
#include <optional>
#include <type_traits>

namespace pexi {

QAnyStringView JsonDocumentData::view(const Text &text) const
{
    if (text.utf16)
        return QStringView(unescaped).sliced(text.start, text.length);
    return QUtf8StringView(source.constData() + text.start, text.length);
}

int JsonDocumentData::compare(const Text &key, QAnyStringView other) const
{
    if (key.ascii) {
        const std::optional<QByteArrayView> otherAscii =
            other.visit([](auto view) -> std::optional<QByteArrayView> {
                if constexpr (std::is_same_v<decltype(view), QStringView>) {
                    return std::nullopt;
                } else {
                    const QByteArrayView bytes(view.data(), view.size());
                    const bool ascii = std::all_of(bytes.begin(), bytes.end(),
                                                   [](char c) { return quint8(c) < 0x80; });
                    return ascii ? std::optional(bytes) : std::nullopt;
                }
            });
        if (otherAscii)
            return QByteArrayView(source.constData() + key.start, key.length).compare(*otherAscii);
    }
    return QAnyStringView::compare(view(key), other);
}

int JsonDocumentData::compare(const Text &a, const Text &b) const
{
    if (a.ascii && b.ascii)
        return QByteArrayView(source.constData() + a.start, a.length)
            .compare(QByteArrayView(source.constData() + b.start, b.length));
    return QAnyStringView::compare(view(a), view(b));
}

QString JsonValue::toString() const
{
    return toStringView().toString();
}

QAnyStringView JsonValue::toStringView() const
{
    return isString() ? m_document->view(node().text) : QAnyStringView();
}

QList<JsonValue> JsonValue::toArray() const
{
    QList<JsonValue> items;
    if (!isArray())
        return items;
    const JsonDocumentData::Text &range = node().text;
    items.reserve(range.length);
    for (qsizetype i = 0; i < range.length; ++i)
        items.append(JsonValue(m_document, m_document->elements[range.start + i]));
    return items;
}

JsonObject JsonValue::toObject() const
{
    return isObject() ? JsonObject(m_document, m_node) : JsonObject();
}

qsizetype JsonObject::size() const
{
    return m_document ? m_document->nodes[m_node].text.length : 0;
}

const JsonDocumentData::Member &JsonObject::member(qsizetype index) const
{
    return m_document->members[m_document->nodes[m_node].text.start + index];
}

JsonObject::Member JsonObject::Iterator::operator*() const
{
    const JsonDocumentData::Member &member = m_object->member(m_index);
    return {m_object->m_document->view(member.key), JsonValue(m_object->m_document, member.value)};
}

JsonValue JsonObject::value(QAnyStringView key) const
{
    qsizetype low = 0, high = size();
    while (low < high) {
        const qsizetype middle = (low + high) / 2;
        const JsonDocumentData::Member &candidate = member(middle);
        const int order = m_document->compare(candidate.key, key);
        if (order == 0)
            return JsonValue(m_document, candidate.value);
        if (order < 0)
            low = middle + 1;
        else
            high = middle;
    }
    return JsonValue();
}

} // namespace pexi
