#include "extension/JsonReader.h"

#include <QtNumeric>

namespace pexi::JsonReader {

namespace {

class Parser
{
public:
    explicit Parser(QByteArrayView text) : m_at(text.data()), m_end(text.data() + text.size()) {}

    std::optional<JsonValue> document()
    {
        std::optional<JsonValue> value = this->value(0);
        skipSpace();
        if (!value || m_at != m_end)
            return std::nullopt;
        return value;
    }

private:
    void skipSpace()
    {
        while (m_at < m_end && (*m_at == ' ' || *m_at == '\t' || *m_at == '\n' || *m_at == '\r'))
            ++m_at;
    }

    bool literal(QByteArrayView word)
    {
        if (m_end - m_at < word.size() || QByteArrayView(m_at, word.size()) != word)
            return false;
        m_at += word.size();
        return true;
    }

    std::optional<JsonValue> value(int depth)
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
            if (auto text = string())
                return JsonValue(std::move(*text));
            return std::nullopt;
        case 't':
            return literal("true") ? std::optional(JsonValue(true)) : std::nullopt;
        case 'f':
            return literal("false") ? std::optional(JsonValue(false)) : std::nullopt;
        case 'n':
            return literal("null") ? std::optional(JsonValue::null()) : std::nullopt;
        default:
            return number();
        }
    }

    std::optional<JsonValue> object(int depth)
    {
        if (depth > MaxDepth)
            return std::nullopt;
        ++m_at; // {
        QList<JsonObject::Member> members;
        skipSpace();
        if (m_at < m_end && *m_at == '}') {
            ++m_at;
            return JsonValue(JsonObject());
        }
        for (;;) {
            skipSpace();
            if (m_at == m_end || *m_at != '"')
                return std::nullopt;
            std::optional<QString> key = string();
            skipSpace();
            if (!key || m_at == m_end || *m_at++ != ':')
                return std::nullopt;
            std::optional<JsonValue> member = value(depth);
            if (!member)
                return std::nullopt;
            members.append({std::move(*key), std::move(*member)});
            skipSpace();
            if (m_at == m_end)
                return std::nullopt;
            const char next = *m_at++;
            if (next == '}')
                return JsonValue(JsonObject(std::move(members)));
            if (next != ',')
                return std::nullopt;
        }
    }

    std::optional<JsonValue> array(int depth)
    {
        if (depth > MaxDepth)
            return std::nullopt;
        ++m_at; // [
        QList<JsonValue> items;
        skipSpace();
        if (m_at < m_end && *m_at == ']') {
            ++m_at;
            return JsonValue(std::move(items));
        }
        for (;;) {
            std::optional<JsonValue> item = value(depth);
            if (!item)
                return std::nullopt;
            items.append(std::move(*item));
            skipSpace();
            if (m_at == m_end)
                return std::nullopt;
            const char next = *m_at++;
            if (next == ']')
                return JsonValue(std::move(items));
            if (next != ',')
                return std::nullopt;
        }
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

    std::optional<QString> string()
    {
        ++m_at; // "
        const char *start = m_at;
        // The common case: no escapes, decoded in one go.
        while (m_at < m_end && *m_at != '"' && *m_at != '\\' && quint8(*m_at) >= 0x20)
            ++m_at;
        if (m_at < m_end && *m_at == '"')
            return QString::fromUtf8(start, m_at++ - start);

        QString text = QString::fromUtf8(start, m_at - start);
        QByteArray run; // UTF-8 since the last escape
        for (;;) {
            if (m_at == m_end || quint8(*m_at) < 0x20)
                return std::nullopt;
            const char c = *m_at++;
            if (c == '"')
                break;
            if (c != '\\') {
                run.append(c);
                continue;
            }
            if (m_at == m_end)
                return std::nullopt;
            text += QString::fromUtf8(run);
            run.clear();
            const char escape = *m_at++;
            switch (escape) {
            case '"':
            case '\\':
            case '/':
                text += QLatin1Char(escape);
                break;
            case 'b':
                text += u'\b';
                break;
            case 'f':
                text += u'\f';
                break;
            case 'n':
                text += u'\n';
                break;
            case 'r':
                text += u'\r';
                break;
            case 't':
                text += u'\t';
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
                text += QChar(unit);
                break;
            }
            default:
                return std::nullopt;
            }
        }
        text += QString::fromUtf8(run);
        return text;
    }

    std::optional<JsonValue> number()
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
        return JsonValue(value);
    }

    const char *m_at;
    const char *m_end;
};

} // namespace

std::optional<JsonValue> parse(QByteArrayView utf8)
{
    return Parser(utf8).document();
}

} // namespace pexi::JsonReader
