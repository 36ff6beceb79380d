#include "extension/JsonReader.h"

#include <QVarLengthArray>
#include <QtNumeric>

#include <algorithm>

namespace pexi::JsonReader {

using Type = JsonDocumentData::Type;
using Text = JsonDocumentData::Text;
using Node = JsonDocumentData::Node;
using Member = JsonDocumentData::Member;

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

        // Sorted by key; of equal keys the last written sorts last, and only it is kept.
        const auto keyOrder = [this](const Member &a, const Member &b) {
            return m_data->compare(a.key, b.key) < 0;
        };
        if (members.size() <= 16) {
            // Insertion sort: stable, and without the buffer std::stable_sort allocates.
            for (qsizetype i = 1; i < members.size(); ++i) {
                const Member moving = members[i];
                qsizetype j = i;
                for (; j > 0 && keyOrder(moving, members[j - 1]); --j)
                    members[j] = members[j - 1];
                members[j] = moving;
            }
        } else {
            std::stable_sort(members.begin(), members.end(), keyOrder);
        }
        const qsizetype start = m_data->members.size();
        for (qsizetype i = 0; i < members.size(); ++i) {
            if (i + 1 == members.size() || keyOrder(members[i], members[i + 1]))
                m_data->members.append(members[i]);
        }
        return add({Type::object, 0, {false, false, start, m_data->members.size() - start}});
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

    std::optional<Text> string()
    {
        ++m_at; // "
        const char *start = m_at;
        // The common case: no escapes, so the text stays where it is.
        bool ascii = true;
        while (m_at < m_end && *m_at != '"' && *m_at != '\\' && quint8(*m_at) >= 0x20) {
            ascii = ascii && quint8(*m_at) < 0x80;
            ++m_at;
        }
        if (m_at < m_end && *m_at == '"')
            return Text{false, ascii, start - m_begin, m_at++ - start};

        QString &out = m_data->unescaped;
        const qsizetype first = out.size();
        const char *run = start; // UTF-8 not yet copied
        for (;;) {
            if (m_at == m_end || quint8(*m_at) < 0x20)
                return std::nullopt;
            if (*m_at == '"')
                break;
            if (*m_at != '\\') {
                ++m_at;
                continue;
            }
            out += QString::fromUtf8(run, m_at - run);
            if (++m_at == m_end)
                return std::nullopt;
            const char escape = *m_at++;
            switch (escape) {
            case '"':
            case '\\':
            case '/':
                out += QLatin1Char(escape);
                break;
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
                return std::nullopt;
            }
            run = m_at;
        }
        out += QString::fromUtf8(run, m_at - run);
        ++m_at; // "
        return Text{true, false, first, out.size() - first};
    }

    std::optional<qsizetype> number()
    {
        const char *start = m_at;
        const auto digits = [this] {
            const char *from = m_at;
            while (m_at < m_end && *m_at >= '0' && *m_at <= '9')
                ++m_at;
            return m_at - from;
        };
        if (m_at < m_end && *m_at == '-')
            ++m_at;
        if (m_at < m_end && *m_at == '0')
            ++m_at;
        else if (digits() == 0)
            return std::nullopt;
        if (m_at < m_end && *m_at == '.') {
            ++m_at;
            if (digits() == 0)
                return std::nullopt;
        }
        if (m_at < m_end && (*m_at == 'e' || *m_at == 'E')) {
            ++m_at;
            if (m_at < m_end && (*m_at == '+' || *m_at == '-'))
                ++m_at;
            if (digits() == 0)
                return std::nullopt;
        }
        bool ok = false;
        const double value = QByteArrayView(start, m_at - start).toDouble(&ok); // C locale
        if (!ok || !qIsFinite(value))
            return std::nullopt;
        return add({Type::number, value, {}});
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
