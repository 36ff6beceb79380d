#pragma once

#include <QAnyStringView>
#include <QByteArray>
#include <QList>
#include <QString>
#include <QVarLengthArray>

#include <memory>

namespace pexi {

class JsonObject;

namespace JsonReader {
class Parser;
}

// What JsonReader made of one text: every value in one block, strings left in the text where
// they need no unescaping. Values and objects point into it and keep it alive.
struct JsonDocumentData
{
    enum class Type : quint8 { null, boolean, number, string, array, object };

    // A string: UTF-8 in the source text, or UTF-16 in `unescaped` when it had escapes.
    struct Text
    {
        bool utf16 = false;
        bool ascii = false; // UTF-8 that is all ASCII
        qsizetype start = 0;
        qsizetype length = 0;
    };
    struct Node
    {
        Type type = Type::null;
        double number = 0; // also the boolean, as 0 or 1
        Text text; // a string; for arrays and objects, where their children start and how many
    };
    struct Member
    {
        Text key;
        qsizetype value;
    };

    QAnyStringView view(const Text &text) const;
    // A key as QJsonObject holds it: all its text, a byte order mark at the start included.
    QString keyText(const Text &key) const;
    // QString::fromUtf8, except that byte order marks at the start stay.
    static QString decodeKeepingMarks(const char *from, const char *to);

    QByteArray source;
    QString unescaped;
    // Room for a usual message inside the block itself, so that reading one allocates once.
    QVarLengthArray<Node, 16> nodes;
    QVarLengthArray<Member, 16> members; // each object's run sorted by key, one member per key
    QVarLengthArray<qsizetype, 8> elements;
};

// One value of a message read from an extension. Copies are cheap: they share the document.
// Asked for the wrong type, it answers with an empty one, as QJsonValue does.
class JsonValue
{
public:
    JsonValue() = default;

    bool isUndefined() const { return !m_document; }
    bool isNull() const { return is(JsonDocumentData::Type::null); }
    bool isBool() const { return is(JsonDocumentData::Type::boolean); }
    bool isDouble() const { return is(JsonDocumentData::Type::number); }
    bool isString() const { return is(JsonDocumentData::Type::string); }
    bool isArray() const { return is(JsonDocumentData::Type::array); }
    bool isObject() const { return is(JsonDocumentData::Type::object); }

    bool toBool() const { return isBool() && node().number != 0; }
    double toDouble() const { return isDouble() ? node().number : 0; }
    QString toString() const;
    // The string without copying it out; valid while this value or a copy of it lives.
    QAnyStringView toStringView() const;
    QList<JsonValue> toArray() const;
    JsonObject toObject() const;

private:
    friend class JsonObject;
    friend class JsonReader::Parser;
    JsonValue(std::shared_ptr<const JsonDocumentData> document, qsizetype node)
        : m_document(std::move(document)), m_node(node)
    {
    }
    bool is(JsonDocumentData::Type type) const { return m_document && node().type == type; }
    const JsonDocumentData::Node &node() const { return m_document->nodes[m_node]; }

    std::shared_ptr<const JsonDocumentData> m_document;
    qsizetype m_node = 0;
};

// The members of a JSON object, in QJsonObject's order, each key once (the last one written
// wins).
class JsonObject
{
public:
    struct Member
    {
        QAnyStringView key;
        JsonValue value;
    };
    class Iterator
    {
    public:
        Member operator*() const;
        Iterator &operator++()
        {
            ++m_index;
            return *this;
        }
        bool operator==(const Iterator &other) const { return m_index == other.m_index; }

    private:
        friend class JsonObject;
        Iterator(const JsonObject &object, qsizetype index) : m_object(&object), m_index(index) {}
        const JsonObject *m_object;
        qsizetype m_index;
    };

    JsonObject() = default;

    // Undefined when the key is missing.
    JsonValue value(QAnyStringView key) const;
    qsizetype size() const;
    bool isEmpty() const { return size() == 0; }
    Iterator begin() const { return Iterator(*this, 0); }
    Iterator end() const { return Iterator(*this, size()); }

private:
    friend class JsonValue;
    JsonObject(std::shared_ptr<const JsonDocumentData> document, qsizetype node)
        : m_document(std::move(document)), m_node(node)
    {
    }
    const JsonDocumentData::Member &member(qsizetype index) const;

    std::shared_ptr<const JsonDocumentData> m_document;
    qsizetype m_node = 0;
};

} // namespace pexi
