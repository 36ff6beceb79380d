#include "extension/JsonValue.h"

namespace pexi {

QAnyStringView JsonDocumentData::view(const Text &text) const
{
    if (text.utf16)
        return QStringView(unescaped).sliced(text.start, text.length);
    // ASCII as Latin-1: the same characters, quicker to compare and to convert.
    if (text.ascii)
        return QLatin1StringView(source.constData() + text.start, text.length);
    return QUtf8StringView(source.constData() + text.start, text.length);
}

QString JsonDocumentData::keyText(const Text &key) const
{
    if (key.utf16 || key.ascii)
        return view(key).toString();
    return decodeKeepingMarks(source.constData() + key.start,
                              source.constData() + key.start + key.length);
}

QString JsonDocumentData::decodeKeepingMarks(const char *from, const char *to)
{
    QString text;
    while (to - from >= 3 && quint8(from[0]) == 0xef && quint8(from[1]) == 0xbb &&
           quint8(from[2]) == 0xbf) {
        text += QChar(0xfeff);
        from += 3;
    }
    return text + QString::fromUtf8(from, to - from);
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
    // A scan rather than a search: where escaped and unescaped keys meet, QJsonObject's order is
    // not always one a search could rely on. Objects in messages have a handful of keys.
    for (qsizetype i = 0; i < size(); ++i) {
        const JsonDocumentData::Member &candidate = member(i);
        const JsonDocumentData::Text &text = candidate.key;
        // Keys in UTF-8 beyond ASCII are compared whole, as decoding for comparison would drop
        // a byte order mark at their start.
        const bool equal = text.utf16 || text.ascii
                               ? QAnyStringView::equal(m_document->view(text), key)
                               : QAnyStringView::equal(m_document->keyText(text), key);
        if (equal)
            return JsonValue(m_document, candidate.value);
    }
    return JsonValue();
}

} // namespace pexi
