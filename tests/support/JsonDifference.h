#pragma once

#include "extension/JsonReader.h"

#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>

#include <cmath>

// Comparing JsonReader with QJsonDocument::fromJson, for the tests and the fuzz harness.

// The input as a C string literal would write it, for failure messages.
inline QByteArray printable(QByteArrayView text)
{
    QByteArray out;
    for (const char c : text) {
        if (c == '"' || c == '\\')
            out += '\\';
        if (quint8(c) < 0x20 || quint8(c) >= 0x7f)
            out += "\\x" + QByteArray::number(quint8(c), 16).rightJustified(2, '0');
        else
            out += c;
    }
    return out.size() > 300 ? out.left(300) + "..." : out;
}

inline QString describe(const QJsonValue &value)
{
    const QJsonDocument document = value.isArray()    ? QJsonDocument(value.toArray())
                                   : value.isObject() ? QJsonDocument(value.toObject())
                                                      : QJsonDocument(QJsonArray{value});
    return QString::fromUtf8(document.toJson(QJsonDocument::Compact));
}

// Where the reader's value parts from Qt's, empty when it does not. Stricter than converting to
// QJsonValue and using ==: that would put the keys in QJsonObject's order and drop repeated
// ones, and could not tell -0 from 0.
inline QString difference(const pexi::JsonValue &mine, const QJsonValue &qt,
                          const QString &path = "/")
{
    const auto differs = [&](const QString &what) { return path + ": " + what; };
    switch (qt.type()) {
    case QJsonValue::Null:
        return mine.isNull() ? QString() : differs("not null");
    case QJsonValue::Bool:
        return mine.isBool() && mine.toBool() == qt.toBool() ? QString()
                                                             : differs("not " + describe(qt));
    case QJsonValue::Double: {
        const bool same = mine.isDouble() && mine.toDouble() == qt.toDouble() &&
                          std::signbit(mine.toDouble()) == std::signbit(qt.toDouble());
        return same ? QString()
                    : differs(QString::number(mine.toDouble(), 'g', 17) + " is not " +
                              QString::number(qt.toDouble(), 'g', 17));
    }
    case QJsonValue::String:
        return mine.isString() && mine.toString() == qt.toString()
                   ? QString()
                   : differs(describe(QJsonValue(mine.toString())) + " is not " + describe(qt));
    case QJsonValue::Array: {
        const QList<pexi::JsonValue> items = mine.toArray();
        const QJsonArray theirs = qt.toArray();
        if (!mine.isArray() || items.size() != theirs.size())
            return differs("not an array of " + QString::number(theirs.size()));
        for (qsizetype i = 0; i < items.size(); ++i) {
            const QString inner = difference(items.at(i), theirs.at(i), path + QString::number(i));
            if (!inner.isEmpty())
                return inner;
        }
        return {};
    }
    case QJsonValue::Object: {
        const pexi::JsonObject members = mine.toObject();
        const QJsonObject theirs = qt.toObject();
        if (!mine.isObject() || members.size() != theirs.size())
            return differs("not an object of " + QString::number(theirs.size()));
        auto it = theirs.begin();
        for (const auto &[keyView, value] : members) {
            const QString key = keyView.toString();
            // QJsonObject hands out a key it holds as UTF-8 through QString::fromUtf8, which
            // drops a byte order mark at the start; it finds and orders keys by all their text.
            const bool sameKey = key == it.key() || (key.startsWith(QChar(0xfeff)) &&
                                                     QStringView(key).mid(1) == it.key());
            if (!sameKey)
                return differs(describe(QJsonValue(key)) + " where Qt has " + describe(it.key()));
            const QString inner = difference(value, it.value(), path + key + "/");
            if (!inner.isEmpty())
                return inner;
            ++it;
        }
        return {};
    }
    case QJsonValue::Undefined:
        return mine.isUndefined() ? QString() : differs("not undefined");
    }
    return differs("unknown type");
}

// Empty when the reader and QJsonDocument::fromJson agree on the text, otherwise what differs.
inline QString disagreement(const QByteArray &text)
{
    QJsonParseError error;
    const QJsonDocument document = QJsonDocument::fromJson(text, &error);
    const std::optional<pexi::JsonValue> mine = pexi::JsonReader::parse(text);
    const bool qtAccepts = error.error == QJsonParseError::NoError;
    QString found;
    if (mine.has_value() != qtAccepts)
        found = qtAccepts ? "refused, Qt accepts" : "accepted, Qt says " + error.errorString();
    else if (qtAccepts)
        found = difference(*mine, document.isArray() ? QJsonValue(document.array())
                                                     : QJsonValue(document.object()));
    return found.isEmpty() ? found : found + " in \"" + printable(text) + '"';
}
