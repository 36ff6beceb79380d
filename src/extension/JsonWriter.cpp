#include "extension/JsonWriter.h"

#include <algorithm>
#include <cstring>
#include <utility>

namespace pexi {

namespace {

constexpr quint64 lanes(quint64 unit)
{
    return unit * 0x0001'0001'0001'0001;
}

// Whether one of the four UTF-16 units of `word` needs a closer look: a control character, a quote,
// a backslash or a surrogate. All four are looked at together: taking n from every lane sets the
// top bit of a lane below n, which a lane below 0x8000 does not have to begin with. The borrow that
// spills into the next lane only ever follows such a lane, so the answer is exact.
bool needsCloserLook(quint64 word)
{
    const auto anyBelow = [](quint64 w, quint64 n) { return (w - lanes(n)) & ~w & lanes(0x8000); };
    return (anyBelow(word, 0x20) | anyBelow(word ^ lanes(u'"'), 1) |
            anyBelow(word ^ lanes(u'\\'), 1) |
            anyBelow((word & lanes(0xf800)) ^ lanes(0xd800), 1)) != 0;
}

quint64 fourUnits(const char16_t *at)
{
    quint64 word;
    std::memcpy(&word, at, sizeof word);
    return word;
}

} // namespace

JsonWriter::JsonWriter(qsizetype expectedSize)
{
    makeRoom(expectedSize);
}

JsonWriter &JsonWriter::key(QLatin1StringView name)
{
    makeRoom(name.size() + 3);
    separate();
    *m_cursor++ = u'"';
    m_cursor = std::copy(name.begin(), name.end(), m_cursor);
    *m_cursor++ = u'"';
    *m_cursor++ = u':';
    m_needsComma = false;
    return *this;
}

// Quote, backslash and the control characters are escaped, the five common ones by their short
// names, as RFC 8259 requires. A surrogate without its other half goes out as \uXXXX, since UTF-8
// cannot hold it; the extensions' JavaScript reads it back as the same unit. Everything else,
// DEL and U+2028/U+2029 included, goes out as it is.
JsonWriter &JsonWriter::string(QStringView text)
{
    // Room for the text as it is; an escape makes more when it needs it.
    makeRoom(text.size() + 2);
    separate();
    char16_t *out = m_cursor; // a local, so that the loop keeps it in a register
    *out++ = u'"';
    const char16_t *const end = text.utf16() + text.size();
    for (const char16_t *at = text.utf16(); at != end; ++at) {
        // Four plain characters at a time, as most text is.
        while (end - at >= 4 && !needsCloserLook(fourUnits(at))) {
            std::memcpy(out, at, 4 * sizeof(char16_t));
            at += 4;
            out += 4;
        }
        if (at == end)
            break;
        const char16_t unit = *at;
        if (unit >= 0x20 && unit != u'"' && unit != u'\\' && !QChar::isSurrogate(unit)) {
            *out++ = unit;
            continue;
        }
        if (QChar::isHighSurrogate(unit) && at + 1 != end && QChar::isLowSurrogate(at[1])) {
            *out++ = unit;
            *out++ = *++at;
            continue;
        }
        // Six characters for this one at most, then the rest as they are and the closing quote.
        if (m_end - out < 6 + (end - at)) {
            m_cursor = out;
            grow(6 + (end - at));
            out = m_cursor;
        }
        *out++ = u'\\';
        switch (unit) {
        case u'"':
        case u'\\':
            *out++ = unit;
            break;
        case u'\b':
            *out++ = u'b';
            break;
        case u'\f':
            *out++ = u'f';
            break;
        case u'\n':
            *out++ = u'n';
            break;
        case u'\r':
            *out++ = u'r';
            break;
        case u'\t':
            *out++ = u't';
            break;
        default:
            *out++ = u'u';
            for (int shift = 12; shift >= 0; shift -= 4)
                *out++ = u"0123456789abcdef"[(unit >> shift) & 0xf];
        }
    }
    *out++ = u'"';
    m_cursor = out;
    m_needsComma = true;
    return *this;
}

QString JsonWriter::take()
{
    Q_ASSERT(m_cursor <= m_end);
    m_text.truncate(written());
    m_cursor = m_end = nullptr;
    m_needsComma = false;
    return std::exchange(m_text, QString());
}

JsonWriter &JsonWriter::open(char16_t bracket)
{
    makeRoom(1);
    separate();
    *m_cursor++ = bracket;
    m_needsComma = false;
    return *this;
}

JsonWriter &JsonWriter::close(char16_t bracket)
{
    makeRoom(1);
    *m_cursor++ = bracket;
    m_needsComma = true;
    return *this;
}

JsonWriter &JsonWriter::literal(QLatin1StringView word)
{
    makeRoom(word.size());
    separate();
    m_cursor = std::copy(word.begin(), word.end(), m_cursor);
    m_needsComma = true;
    return *this;
}

void JsonWriter::grow(qsizetype count)
{
    const qsizetype length = written();
    // Doubling keeps a long list of logins from growing the string once per login.
    m_text.resize(std::max(2 * m_text.size(), length + count + 1));
    auto *begin = reinterpret_cast<char16_t *>(m_text.data());
    m_cursor = begin + length;
    m_end = begin + m_text.size();
}

qsizetype JsonWriter::written() const
{
    return m_cursor ? m_cursor - reinterpret_cast<const char16_t *>(m_text.constData()) : 0;
}

} // namespace pexi
