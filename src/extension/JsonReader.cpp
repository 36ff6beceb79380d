#include "extension/JsonReader.h"

#include <QVarLengthArray>
#include <QtNumeric>

#include <algorithm>

namespace pexi::JsonReader {

using Type = JsonDocumentData::Type;
using Text = JsonDocumentData::Text;
using Node = JsonDocumentData::Node;
using Member = JsonDocumentData::Member;

namespace {

// The code point at `at`; a lone surrogate counts as itself.
char32_t codePointAt(QStringView text, qsizetype at)
{
    const QChar unit = text[at];
    if (unit.isHighSurrogate() && at + 1 < text.size() && text[at + 1].isLowSurrogate())
        return QChar::surrogateToUcs4(unit, text[at + 1]);
    return unit.unicode();
}

int compareByCodePoint(QStringView a, QStringView b)
{
    const qsizetype common = std::min(a.size(), b.size());
    qsizetype at = 0;
    while (at < common && a[at] == b[at])
        ++at;
    if (at == common)
        return a.size() == b.size() ? 0 : a.size() < b.size() ? -1 : 1;
    if (a[at].unicode() < 0xd800 && b[at].unicode() < 0xd800)
        return a[at].unicode() < b[at].unicode() ? -1 : 1;
    if (at > 0 && a[at - 1].isHighSurrogate()) // the second half of a character
        --at;
    return codePointAt(a, at) < codePointAt(b, at) ? -1 : 1;
}

} // namespace

class Parser
{
public:
    explicit Parser(const QByteArray &text)
        : m_data(std::make_shared<JsonDocumentData>()), m_begin(text.constData()), m_at(m_begin),
          m_end(m_begin + text.size())
    {
        m_data->source = text;
    }

    std::optional<JsonValue> document()
    {
        // Like QJsonDocument: past a UTF-8 byte order mark, an object or an array and no other.
        if (m_end - m_at > 3 && QByteArrayView(m_at, 3) == "\xef\xbb\xbf")
            m_at += 3;
        skipSpace();
        if (m_at == m_end || (*m_at != '{' && *m_at != '['))
            return std::nullopt;
        const std::optional<qsizetype> root = value(0);
        skipSpace();
        if (!root || m_at != m_end)
            return std::nullopt;
        return JsonValue(std::move(m_data), *root);
    }

private:
    qsizetype add(const Node &node)
    {
        m_data->nodes.append(node);
        return m_data->nodes.size() - 1;
    }

    void skipSpace()
    {
        while (m_at < m_end && (*m_at == ' ' || *m_at == '\t' || *m_at == '\n' || *m_at == '\r'))
            ++m_at;
    }

    std::optional<qsizetype> literal(QByteArrayView word, Type type, double number = 0)
    {
        if (m_end - m_at < word.size() || QByteArrayView(m_at, word.size()) != word)
            return std::nullopt;
        m_at += word.size();
        return add({type, number, {}});
    }

    std::optional<qsizetype> value(int depth)
    {
        skipSpace();
        if (m_at == m_end)
            return std::nullopt;
        switch (*m_at) {
        case '{':
            return object(depth + 1);
        case '[':
            return array(depth + 1);
        case '"':
            if (const std::optional<Text> text = string())
                return add({Type::string, 0, *text});
            return std::nullopt;
        case 't':
            return literal("true", Type::boolean, 1);
        case 'f':
            return literal("false", Type::boolean, 0);
        case 'n':
            return literal("null", Type::null);
        default:
            return number();
        }
    }

    std::optional<qsizetype> object(int depth)
    {
        if (depth > MaxDepth)
            return std::nullopt;
        ++m_at; // {
        QVarLengthArray<Member, 8> members;
        skipSpace();
        if (m_at < m_end && *m_at == '}')
            ++m_at;
        else if (!readMembers(members, depth))
            return std::nullopt;

        sortKeys(members);
        // Of a run of equal keys, the last is kept.
        const qsizetype start = m_data->members.size();
        for (qsizetype i = 0; i < members.size(); ++i) {
            if (i + 1 == members.size() || compareKeys(members[i].key, members[i + 1].key) != 0)
                m_data->members.append(members[i]);
        }
        return add({Type::object, 0, {false, false, start, m_data->members.size() - start}});
    }

    // QJsonObject's order: two keys that held escapes (kept as UTF-16) by UTF-16 unit, all others
    // by code point, which is byte order between two UTF-8 ones.
    int compareKeys(const Text &a, const Text &b) const
    {
        if (!a.utf16 && !b.utf16)
            return QByteArrayView(m_begin + a.start, a.length)
                .compare(QByteArrayView(m_begin + b.start, b.length));
        if (a.utf16 && b.utf16)
            return QStringView(m_data->unescaped)
                .sliced(a.start, a.length)
                .compare(QStringView(m_data->unescaped).sliced(b.start, b.length));
        return compareByCodePoint(m_data->keyText(a), m_data->keyText(b));
    }

    // Sorted as QJsonObject sorts, stably. Where escaped keys holding surrogates or the units
    // above them meet others, the two orders above disagree and the order is not consistent;
    // then only the same sort over the same comparisons puts the keys where Qt does.
    void sortKeys(QVarLengthArray<Member, 8> &members) const
    {
        const auto less = [this](const Member &a, const Member &b) {
            return compareKeys(a.key, b.key) < 0;
        };
        int tangled = 0;
        for (const Member &member : members) {
            if (!member.key.utf16)
                continue;
            const QStringView key =
                QStringView(m_data->unescaped).sliced(member.key.start, member.key.length);
            if (std::any_of(key.begin(), key.end(), [](QChar c) { return c.unicode() >= 0xd800; }))
                ++tangled;
        }
        if (tangled >= 2 || members.size() > 16) {
            std::stable_sort(members.begin(), members.end(), less);
            return;
        }
        // Insertion sort: stable, and without the buffer std::stable_sort allocates.
        for (qsizetype i = 1; i < members.size(); ++i) {
            const Member moving = members[i];
            qsizetype j = i;
            for (; j > 0 && less(moving, members[j - 1]); --j)
                members[j] = members[j - 1];
            members[j] = moving;
        }
    }

    bool readMembers(QVarLengthArray<Member, 8> &members, int depth)
    {
        for (;;) {
            skipSpace();
            if (m_at == m_end || *m_at != '"')
                return false;
            const std::optional<Text> key = string();
            skipSpace();
            if (!key || m_at == m_end || *m_at++ != ':')
                return false;
            const std::optional<qsizetype> member = value(depth);
            if (!member)
                return false;
            members.append({*key, *member});
            skipSpace();
            if (m_at == m_end)
                return false;
            const char next = *m_at++;
            if (next == '}')
                return true;
            if (next != ',')
                return false;
        }
    }

    std::optional<qsizetype> array(int depth)
    {
        if (depth > MaxDepth)
            return std::nullopt;
        ++m_at; // [
        QVarLengthArray<qsizetype, 8> items;
        skipSpace();
        if (m_at < m_end && *m_at == ']') {
            ++m_at;
        } else {
            for (;;) {
                const std::optional<qsizetype> item = value(depth);
                if (!item)
                    return std::nullopt;
                items.append(*item);
                skipSpace();
                if (m_at == m_end)
                    return std::nullopt;
                const char next = *m_at++;
                if (next == ']')
                    break;
                if (next != ',')
                    return std::nullopt;
            }
        }
        const qsizetype start = m_data->elements.size();
        m_data->elements.append(items.constData(), items.size());
        return add({Type::array, 0, {false, false, start, items.size()}});
    }

    static int hexDigit(char c)
    {
        if (c >= '0' && c <= '9')
            return c - '0';
        if (c >= 'a' && c <= 'f')
            return c - 'a' + 10;
        if (c >= 'A' && c <= 'F')
            return c - 'A' + 10;
        return -1;
    }

    // Control characters pass as they are, as QJsonDocument lets them; so does "\\x" for any
    // other ASCII x. A string without escapes stays in the text.
    std::optional<Text> string()
    {
        ++m_at;                 // "
        const char *run = m_at; // UTF-8 since the last escape
        bool ascii = true;
        while (m_at < m_end && *m_at != '"' && *m_at != '\\') {
            ascii = ascii && quint8(*m_at) < 0x80;
            ++m_at;
        }
        if (m_at == m_end)
            return std::nullopt;
        if (*m_at == '"')
            return Text{false, ascii, run - m_begin, m_at++ - run};

        QString &out = m_data->unescaped;
        const qsizetype first = out.size();
        for (;;) {
            while (m_at < m_end && *m_at != '"' && *m_at != '\\')
                ++m_at;
            if (m_at == m_end)
                return std::nullopt;
            out += JsonDocumentData::decodeKeepingMarks(run, m_at);
            if (*m_at++ == '"')
                return Text{true, false, first, out.size() - first};
            if (m_at == m_end)
                return std::nullopt;
            const char escape = *m_at++;
            switch (escape) {
            case 'b':
                out += u'\b';
                break;
            case 'f':
                out += u'\f';
                break;
            case 'n':
                out += u'\n';
                break;
            case 'r':
                out += u'\r';
                break;
            case 't':
                out += u'\t';
                break;
            case 'u': {
                if (m_end - m_at < 4)
                    return std::nullopt;
                char16_t unit = 0;
                for (int i = 0; i < 4; ++i) {
                    const int digit = hexDigit(*m_at++);
                    if (digit < 0)
                        return std::nullopt;
                    unit = char16_t(unit << 4 | digit);
                }
                out += QChar(unit);
                break;
            }
            default:
                // Any other ASCII character stands for itself ("\\a" is "a"); after a
                // non-ASCII one QJsonDocument calls the text broken.
                if (quint8(escape) >= 0x80)
                    return std::nullopt;
                out += QLatin1Char(escape);
            }
            run = m_at;
        }
    }

    // QJsonDocument's number: it looks for the digits it expects without asking for them, and
    // leaves the rest to QByteArray::toDouble, so ".5" and "1." pass and "1e400" and "1e-400"
    // (too small to be anything but zero) do not.
    std::optional<qsizetype> number()
    {
        const char *start = m_at;
        const auto digits = [this] {
            while (m_at < m_end && *m_at >= '0' && *m_at <= '9')
                ++m_at;
        };
        if (m_at < m_end && *m_at == '-')
            ++m_at;
        if (m_at < m_end && *m_at == '0')
            ++m_at;
        else
            digits();
        if (m_at < m_end && *m_at == '.') {
            ++m_at;
            digits();
        }
        if (m_at < m_end && (*m_at == 'e' || *m_at == 'E')) {
            ++m_at;
            if (m_at < m_end && (*m_at == '+' || *m_at == '-'))
                ++m_at;
            digits();
        }
        bool ok = false;
        const double value = QByteArrayView(start, m_at - start).toDouble(&ok); // C locale
        if (!ok || !qIsFinite(value))
            return std::nullopt;
        // Qt keeps whole numbers as integers, and so a negative zero as 0.
        return add({Type::number, value == 0 ? 0.0 : value, {}});
    }

    std::shared_ptr<JsonDocumentData> m_data;
    const char *m_begin;
    const char *m_at;
    const char *m_end;
};

std::optional<JsonValue> parse(const QByteArray &utf8)
{
    return Parser(utf8).document();
}

} // namespace pexi::JsonReader
