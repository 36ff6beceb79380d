#include "extension/JsonWriter.h"

#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QRandomGenerator>
#include <QTest>

using namespace pexi;

namespace {

// Drives the writer as the events do, keys in the object's own (sorted) order.
void write(JsonWriter &json, const QJsonValue &value)
{
    if (value.isObject()) {
        json.beginObject();
        const QJsonObject object = value.toObject();
        for (auto it = object.begin(); it != object.end(); ++it) {
            const QByteArray key = it.key().toLatin1();
            write(json.key(QLatin1StringView(key)), it.value());
        }
        json.endObject();
    } else if (value.isArray()) {
        json.beginArray();
        for (const QJsonValue &item : value.toArray())
            write(json, item);
        json.endArray();
    } else if (value.isString()) {
        json.string(value.toString());
    } else if (value.isBool()) {
        json.boolean(value.toBool());
    } else {
        json.null();
    }
}

// The bytes an extension gets from the writer, and from QJsonDocument, for one document.
std::pair<QByteArray, QByteArray> compared(const QJsonValue &document)
{
    JsonWriter json(4); // small, so that the string has to grow
    write(json, document);
    const QJsonDocument qt = document.isObject() ? QJsonDocument(document.toObject())
                                                 : QJsonDocument(document.toArray());
    return {json.take().toUtf8(), qt.toJson(QJsonDocument::Compact)};
}

QString units(std::initializer_list<char16_t> list)
{
    return QString(reinterpret_cast<const QChar *>(list.begin()), qsizetype(list.size()));
}

QString randomText(QRandomGenerator &random)
{
    QString text;
    for (int i = random.bounded(12); i > 0; --i) {
        const int kind = random.bounded(6);
        if (kind == 0) // a surrogate pair
            text += units({char16_t(random.bounded(0xd800, 0xdc00)),
                           char16_t(random.bounded(0xdc00, 0xe000))});
        else // controls; anything, lone surrogates and U+2028 among it; ASCII with DEL
            text += QChar(char16_t(kind == 1   ? random.bounded(0x20)
                                   : kind == 2 ? random.bounded(0x80, 0x10000)
                                               : random.bounded(0x20, 0x80)));
    }
    return text;
}

// An object or array at the top; anything below, three levels deep at most.
QJsonValue randomValue(QRandomGenerator &random, int depth = 0)
{
    const int kind = depth == 0 ? random.bounded(4, 6) : random.bounded(depth < 3 ? 6 : 4);
    if (kind < 2)
        return randomText(random);
    if (kind == 2)
        return random.bounded(2) == 1;
    if (kind == 3)
        return QJsonValue::Null;
    QJsonArray array;
    QJsonObject object;
    for (int i = random.bounded(5); i > 0; --i) {
        // Short keys from few letters, so that similar keys meet in one object.
        const QString key = QString("aAb_").left(random.bounded(1, 4)) + QChar(u'a' + i % 3);
        if (kind == 4)
            array.append(randomValue(random, depth + 1));
        else
            object.insert(key, randomValue(random, depth + 1));
    }
    return kind == 4 ? QJsonValue(array) : QJsonValue(object);
}

} // namespace

class TestJsonWriter : public QObject
{
    Q_OBJECT

private slots:
    void strings_data()
    {
        QTest::addColumn<QString>("text");
        QTest::newRow("empty") << QString();
        QString controls;
        for (char16_t unit = 0; unit < 0x20; ++unit) {
            QTest::addRow("control %02x", unit) << QString(QChar(unit));
            controls += QChar(unit);
        }
        QTest::newRow("all controls") << controls;
        QTest::newRow("quote, backslash, slash") << QString("\"\\/\\\"\"");
        QTest::newRow("DEL") << units({0x7f, u'x', 0x7f});
        QTest::newRow("two and three bytes") << units({0x80, 0xe9, 0x7ff, 0x800, 0x20ac});
        QTest::newRow("emoji") << QString::fromUtf8("\xf0\x9f\x94\x91\xf0\x9f\x98\x80");
        QTest::newRow("line and paragraph separators") << units({0x2028, u'a', 0x2029});
        QTest::newRow("BOM and noncharacters") << units({0xfeff, 0xfffe, 0xffff});
        QTest::newRow("lone high at the end") << units({u'a', 0xdbff});
        QTest::newRow("lone high before a letter") << units({0xd83d, u'a'});
        QTest::newRow("lone low") << units({0xdc00});
        QTest::newRow("low before high") << units({0xdc00, 0xd800});
        QTest::newRow("high, then a pair") << units({0xd83d, 0xd83d, 0xdd11});
        QTest::newRow("pair, then a high") << units({0xd83d, 0xdd11, 0xd83d});
        QTest::newRow("everything")
            << controls + units({0xd800, u'"', 0x7f, 0xd83d, 0xdd11, 0x2028, u'\\', 0xdfff});
    }
    void strings()
    {
        QFETCH(QString, text);
        // Plain characters around it, so that the text starts at every place in a group of four.
        for (const char *lead : {"", "a", "ab", "abc"}) {
            const QString padded = QString(lead) + text + "defg";
            const QJsonObject nested{{"a", text},
                                     {"b", QJsonArray{padded, QJsonObject{{"c", text}}, text}}};
            for (const auto &[written, expected] :
                 {compared(QJsonObject{{"k", padded}}), compared(QJsonArray{text, padded}),
                  compared(nested)})
                QCOMPARE(written, expected);
        }
    }

    // Random documents, each seed a reproducible row.
    void randomized_data()
    {
        QTest::addColumn<quint32>("seed");
        for (quint32 seed = 1; seed <= 8; ++seed)
            QTest::addRow("seed %u", seed) << seed;
    }
    void randomized()
    {
        QFETCH(quint32, seed);
        QRandomGenerator random(seed);
        for (int i = 0; i < 500; ++i) {
            const auto [written, expected] = compared(randomValue(random));
            QCOMPARE(written, expected);
        }
    }
};

QTEST_APPLESS_MAIN(TestJsonWriter)
#include "tst_jsonwriter.moc"
