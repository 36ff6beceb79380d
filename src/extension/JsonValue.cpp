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

namespace {

// The bytes of a UTF-8 or Latin-1 text that is all ASCII; nothing otherwise.
std::optional<QByteArrayView> asciiBytes(QAnyStringView text)
{
    return text.visit([](auto view) -> std::optional<QByteArrayView> {
        if constexpr (std::is_same_v<decltype(view), QStringView>) {
            return std::nullopt;
        } else {
            const QByteArrayView bytes(view.data(), view.size());
            const bool ascii =
                std::all_of(bytes.begin(), bytes.end(), [](char c) { return quint8(c) < 0x80; });
            return ascii ? std::optional(bytes) : std::nullopt;
        }
    });
}

} // namespace

int JsonDocumentData::compareKeys(QAnyStringView a, QAnyStringView b)
{
    // Keys are nearly always ASCII, where bytes compare as characters do in every encoding.
    const std::optional<QByteArrayView> left = asciiBytes(a);
    const std::optional<QByteArrayView> right = left ? asciiBytes(b) : std::nullopt;
    if (left && right)
        return left->compare(*right);
    return QAnyStringView::compare(a, b);
}

QString JsonValue::toString() const
{
    return isString() ? m_document->view(node().text).toString() : QString();
}

QList<JsonValue> JsonValue::toArray() const
{
    QList<JsonValue> items;
    if (!isArray())
        return items;
    const JsonDocumentData::Text &range = node().text;
    items.reserve(range.length);
    for (qsizetype i = 0; i < range.length; ++i)
        items.append(JsonValue(m_document, m_document->elements[size_t(range.start + i)]));
    return items;
}

JsonObject JsonValue::toObject() const
{
    return isObject() ? JsonObject(m_document, m_node) : JsonObject();
}

qsizetype JsonObject::size() const
{
    return m_document ? m_document->nodes[size_t(m_node)].text.length : 0;
}

const JsonDocumentData::Member &JsonObject::member(qsizetype index) const
{
    return m_document->members[size_t(m_document->nodes[size_t(m_node)].text.start + index)];
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
        const int order = JsonDocumentData::compareKeys(m_document->view(candidate.key), key);
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
