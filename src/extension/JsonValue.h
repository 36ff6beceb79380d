#pragma once

#include <QAnyStringView>
#include <QList>
#include <QString>

#include <memory>
#include <utility>

namespace pexi {

class JsonObject;

// One value of a message read from an extension: what JsonReader makes of the text. Copies are
// cheap (objects and arrays are shared). Asked for the wrong type, it answers with an empty one,
// as QJsonValue does.
class JsonValue
{
public:
    enum class Type { undefined, null, boolean, number, string, array, object };

    JsonValue() = default;
    static JsonValue null();
    explicit JsonValue(bool value);
    explicit JsonValue(double value);
    explicit JsonValue(QString value);
    explicit JsonValue(QList<JsonValue> array);
    explicit JsonValue(JsonObject object);

    Type type() const { return m_type; }
    bool isUndefined() const { return m_type == Type::undefined; }
    bool isNull() const { return m_type == Type::null; }
    bool isBool() const { return m_type == Type::boolean; }
    bool isDouble() const { return m_type == Type::number; }
    bool isString() const { return m_type == Type::string; }
    bool isArray() const { return m_type == Type::array; }
    bool isObject() const { return m_type == Type::object; }

    bool toBool() const { return isBool() && m_number != 0; }
    double toDouble() const { return isDouble() ? m_number : 0; }
    QString toString() const { return m_string; }
    QList<JsonValue> toArray() const;
    JsonObject toObject() const;

private:
    Type m_type = Type::undefined;
    double m_number = 0;
    QString m_string;
    std::shared_ptr<const QList<JsonValue>> m_array;
    std::shared_ptr<const JsonObject> m_object;
};

// The members of a JSON object, sorted by key, each key once (the last one written wins).
class JsonObject
{
public:
    using Member = std::pair<QString, JsonValue>;

    JsonObject() = default;
    // Sorts `members` and drops all but the last of each key.
    explicit JsonObject(QList<Member> members);

    // Undefined when the key is missing.
    JsonValue value(QAnyStringView key) const;
    bool isEmpty() const { return m_members.isEmpty(); }
    qsizetype size() const { return m_members.size(); }
    QList<Member>::const_iterator begin() const { return m_members.cbegin(); }
    QList<Member>::const_iterator end() const { return m_members.cend(); }

private:
    QList<Member> m_members;
};

} // namespace pexi
