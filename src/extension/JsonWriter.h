#pragma once

#include <QLatin1StringView>
#include <QString>
#include <QStringView>

namespace pexi {

// Compact JSON text (RFC 8259) for the outgoing events, written straight into one string, without
// building a document first. Members go out in the order they are written. Keys are the events'
// own plain ASCII names and are written as they are.
class JsonWriter
{
public:
    // `expectedSize`: characters to set aside, so that a typical event never grows the string.
    explicit JsonWriter(qsizetype expectedSize = 128);

    JsonWriter &beginObject() { return open(u'{'); }
    JsonWriter &endObject() { return close(u'}'); }
    JsonWriter &beginArray() { return open(u'['); }
    JsonWriter &endArray() { return close(u']'); }
    // The next value belongs to `name`.
    JsonWriter &key(QLatin1StringView name);

    JsonWriter &string(QStringView text);
    JsonWriter &boolean(bool value) { return literal(QLatin1StringView(value ? "true" : "false")); }
    JsonWriter &null() { return literal(QLatin1StringView("null")); }

    // The text so far; the writer is empty afterwards.
    QString take();

private:
    JsonWriter &open(char16_t bracket);
    JsonWriter &close(char16_t bracket);
    JsonWriter &literal(QLatin1StringView word);
    // Room for `count` more characters and a comma.
    void makeRoom(qsizetype count)
    {
        if (m_end - m_cursor <= count)
            grow(count);
    }
    void grow(qsizetype count);
    qsizetype written() const;
    // A comma before every item of an object or array but its first.
    void separate()
    {
        if (m_needsComma)
            *m_cursor++ = u',';
    }

    // The string is sized ahead and written through the cursor; take() cuts it to what was written.
    QString m_text;
    char16_t *m_cursor = nullptr;
    char16_t *m_end = nullptr;
    bool m_needsComma = false;
};

} // namespace pexi
