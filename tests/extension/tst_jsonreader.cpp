#include "extension/JsonReader.h"
#include "support/JsonDifference.h"
#include "websocket/Utf8.h"

#include <QRandomGenerator>
#include <QTest>

using namespace pexi;

namespace {

QByteArray repeated(QByteArrayView piece, int times)
{
    QByteArray out;
    for (int i = 0; i < times; ++i)
        out += piece;
    return out;
}

QByteArray nestedArrays(int depth)
{
    return repeated("[", depth) + repeated("]", depth);
}

QByteArray nestedObjects(int depth)
{
    return repeated("{\"a\":", depth - 1) + "{}" + repeated("}", depth - 1);
}

// Pieces of text, written one after the other with '|' between them.
QByteArrayList pieces(const char *text)
{
    return QByteArray(text).split('|');
}

// JSON-ish text: forms Qt is lenient about (".5", "\a", raw controls) and forms it refuses,
// the latter rare enough that most documents pass.
class TextMaker
{
public:
    explicit TextMaker(quint32 seed) : m_random(seed) {}

    QByteArray document()
    {
        QByteArray out;
        space(out);
        if (slip())
            scalar(out);
        else
            container(out, 0);
        space(out);
        return out;
    }

    // One small edit, which may well break the text.
    QByteArray mutated(QByteArray text)
    {
        static const QByteArrayList edits = pieces(",|:|[|]|{|}|\"|\\|-|.|e|0| |\x01|\\u|\xc3\xa9");
        const qsizetype at = text.isEmpty() ? 0 : pick(int(text.size()));
        switch (pick(5)) {
        case 0:
            return text.remove(at, 1 + pick(3));
        case 1:
            return text.insert(at, oneOf(edits));
        case 2:
            return text.replace(at, 1, oneOf(edits));
        case 3:
            return text.left(at);
        default:
            return text.insert(at, text.mid(pick(int(text.size()) + 1), 1 + pick(8)));
        }
    }

private:
    int pick(int n) { return int(m_random.bounded(quint32(n))); }
    bool slip() { return pick(100) == 0; }
    const QByteArray &oneOf(const QByteArrayList &choices) { return choices[pick(choices.size())]; }
    // One of `good`, or now and then one of `bad`.
    const QByteArray &oneOf(const QByteArrayList &good, const QByteArrayList &bad)
    {
        return slip() ? oneOf(bad) : oneOf(good);
    }

    void space(QByteArray &out)
    {
        static const QByteArrayList good = pieces("|||  |\n|\r\n\t |\t");
        static const QByteArrayList bad = pieces("\f|\v|\xc2\xa0");
        out += oneOf(good, bad);
    }

    void container(QByteArray &out, int depth)
    {
        const bool object = pick(2) == 0;
        out += object ? '{' : '[';
        const int count = depth > 3 ? 0 : pick(5);
        for (int i = 0; i < count; ++i) {
            space(out);
            if (object) {
                key(out);
                space(out);
                out += ':';
                space(out);
            }
            if (pick(4) == 0)
                container(out, depth + 1);
            else
                scalar(out);
            space(out);
            if (i + 1 < count || slip())
                out += ',';
        }
        space(out);
        out += object ? '}' : ']';
    }

    void scalar(QByteArray &out)
    {
        static const QByteArrayList good = pieces("true|false|null");
        static const QByteArrayList bad = pieces("tru|nulll|True|nan");
        const int kind = pick(6);
        if (kind == 0)
            out += oneOf(good, bad);
        else if (kind < 3)
            number(out);
        else
            string(out);
    }

    void number(QByteArray &out)
    {
        static const QByteArrayList signs = pieces("||-"), badSigns = pieces("+|--");
        static const QByteArrayList integers =
            pieces("0|7|42|1234567890123456789012|9007199254740993");
        static const QByteArrayList badIntegers = pieces("|01|0x1");
        static const QByteArrayList fractions = pieces("|||.5|.000|."),
                                    badFractions = pieces(".5.|.e");
        // Near the ends of the range, some pass and some do not.
        static const QByteArrayList exponents = pieces("|||e5|E+2|e-3|e308|e-324");
        static const QByteArrayList badExponents = pieces("e|e+|e400|e-400");
        out += oneOf(signs, badSigns);
        out += oneOf(integers, badIntegers);
        out += oneOf(fractions, badFractions);
        out += oneOf(exponents, badExponents);
    }

    // Few keys in several spellings, so that objects get repeated keys, and keys that QJsonObject
    // orders by code point meet ones it orders by UTF-16.
    void key(QByteArray &out)
    {
        static const QByteArrayList keys = pieces(
            "a|\\u0061|b|ab||\\u0000|\xee\x80\x80|\\ue000|\xf0\x9f\x98\x80|\\ud83d\\ude00|\\ud83d|"
            "\xef\xbf\xbf|\\uFFFF|\\udbff|\\ud83d\\ue000|\xef\xbb\xbf\x61|\\ufeffa|"
            "\xf0\x90\x80\x80");
        if (pick(3) == 0)
            string(out);
        else
            out += '"' + oneOf(keys) + '"';
    }

    void string(QByteArray &out)
    {
        static const QByteArrayList plain =
            pieces("a|Z| |'|/|\x01|\x1f|\x7f|\n|\xc3\xa9|\xe2\x80\xa8|\xee\x80\x80|\xef\xbf\xbf|"
                   "\xf0\x9f\x98\x80|\xf4\x8f\xbf\xbf|\xef\xbb\xbf");
        static const QByteArrayList escapes =
            pieces("\\\"|\\\\|\\/|\\b|\\f|\\n|\\r|\\t|\\a|\\'|\\0|\\\t");
        static const QByteArrayList badEscapes = pieces("\\u12|\\u12G4|\\\xc3\xa9");
        out += '"';
        for (int i = pick(6); i > 0; --i) {
            const int kind = pick(8);
            if (kind < 4) {
                out += oneOf(plain);
            } else if (kind < 6) {
                out += oneOf(escapes, badEscapes);
            } else {
                // Any UTF-16 unit; surrogates and the units above them often.
                static const quint32 starts[] = {0, 0x80, 0xd800, 0xdc00, 0xe000, 0x10000};
                const int range = pick(5);
                const QByteArray hex =
                    QByteArray::number(m_random.bounded(starts[range], starts[range + 1]), 16);
                out += "\\u" + (pick(2) ? hex.toUpper() : hex).rightJustified(4, '0');
            }
        }
        if (!slip())
            out += '"';
    }

    QRandomGenerator m_random;
};

} // namespace

class TestJsonReader : public QObject
{
    Q_OBJECT

private slots:
    // Each text against QJsonDocument::fromJson; `accepted` pins what Qt 6.4 does with it.
    void matchesQt_data()
    {
        QTest::addColumn<QByteArray>("text");
        QTest::addColumn<bool>("accepted");
        const auto row = [](const char *name, QByteArray text, bool accepted) {
            QTest::newRow(name) << text << accepted;
        };

        row("lock check", "{\"data\":{\"command\":\"pexi_lock_check\",\"session\":\"s\"}}", true);
        row("empty", "", false);
        row("only space", " \n", false);
        row("number alone", "42", false);
        row("string alone", "\"x\"", false);
        row("null alone", "null", false);
        row("empty object", "{}", true);
        row("empty array", "[]", true);
        row("space everywhere", " \t\r\n[ 1 ,\n\"a\" , { \"k\" : [ ] } ]\r\n", true);
        row("form feed is no space", "[\f1]", false);
        row("vertical tab is no space", "[\v1]", false);
        row("no-break space is no space", "[\xc2\xa0 1]", false);
        row("byte order mark", "\xef\xbb\xbf{}", true);
        row("byte order mark after space", " \xef\xbb\xbf{}", false);
        row("two byte order marks", "\xef\xbb\xbf\xef\xbb\xbf[]", false);
        row("byte order mark alone", "\xef\xbb\xbf", false);
        row("garbage after", "[] x", false);
        row("second document", "{}[]", false);
        row("NUL after", QByteArray("[]\0", 3), false);
        row("NUL before", QByteArray("\0[]", 3), false);
        row("comma after", "{},", false);

        row("literals", "[true,false,null]", true);
        row("short true", "[tru]", false);
        row("long true", "[truex]", false);
        row("capital True", "[True]", false);
        row("short null", "[nul]", false);
        row("null, cut off", "[null", false);

        row("zero", "[0]", true);
        row("minus zero", "[-0]", true);
        row("minus zero point zero", "[-0.0]", true);
        row("minus zero exponent", "[-0e0]", true);
        row("minus half", "[-0.5]", true);
        row("fraction without integer", "[.5]", true);
        row("minus fraction without integer", "[-.5]", true);
        row("point without fraction", "[1.]", true);
        row("point, then exponent", "[1.e3]", true);
        row("point alone", "[.]", false);
        row("minus point", "[-.]", false);
        row("point exponent", "[.e1]", false);
        row("exponent alone", "[e1]", false);
        row("minus alone", "[-]", false);
        row("plus", "[+1]", false);
        row("leading zero", "[01]", false);
        row("minus leading zero", "[-01]", false);
        row("exponent without digits", "[1e]", false);
        row("exponent sign without digits", "[1e+]", false);
        row("capital exponent with plus", "[1E+5]", true);
        row("exponent with zero", "[1e05]", true);
        row("overflow", "[1e400]", false);
        row("negative overflow", "[-1e400]", false);
        row("largest double", "[1.7976931348623157e308]", true);
        row("just above the largest", "[1.8e308]", false);
        row("underflow", "[1e-400]", false);
        row("zero with a tiny exponent", "[0e-400]", true);
        row("smallest subnormal", "[4.9e-324]", true);
        row("below the smallest subnormal", "[2e-324]", false);
        row("long zero fraction", "[0." + repeated("0", 400) + "]", true);
        row("long fraction, underflow", "[0." + repeated("0", 400) + "1]", false);
        row("long integer, overflow", "[1" + repeated("0", 400) + "]", false);
        row("long integer", "[123456789012345678901234567890]", true);
        row("beyond 2^53", "[9007199254740993]", true);
        row("below int64", "[-9223372036854775809]", true);
        row("hex", "[0x10]", false);
        row("Infinity", "[Infinity]", false);
        row("NaN", "[NaN]", false);
        row("nan", "[nan]", false);
        row("minus nan", "[-nan]", false);
        row("two points", "[1.5.3]", false);
        row("two exponents", "[1e5e5]", false);
        row("minus inside", "[1-2]", false);
        row("numbers without comma", "[1 2]", false);

        row("empty string", "[\"\"]", true);
        row("JSON escapes", "[\"\\\"\\\\\\/\\b\\f\\n\\r\\t\"]", true);
        row("\\u, ASCII", "[\"\\u0041\"]", true);
        row("\\u, capital hex", "[\"\\u00E9x\\u00e9\"]", true);
        row("\\u, NUL", "[\"a\\u0000b\"]", true);
        row("\\u, surrogate pair", "[\"\\uD83D\\uDE00\"]", true);
        row("\\u, lone high", "[\"\\uD83D\"]", true);
        row("\\u, lone low", "[\"\\uDE00\"]", true);
        row("\\u, pair reversed", "[\"\\uDE00\\uD83D\"]", true);
        row("\\u, high before a letter", "[\"\\uD83Dx\"]", true);
        row("\\u, no digits", "[\"\\u\"]", false);
        row("\\u, two digits", "[\"\\u12\"]", false);
        row("\\u, not hex", "[\"\\u12G4\"]", false);
        row("\\u, space", "[\"\\u 123\"]", false);
        row("\\u at the end", "[\"\\u12", false);
        row("unknown escape a", "[\"\\a\"]", true);
        row("unknown escape quote", "[\"\\'\"]", true);
        row("unknown escape 0", "[\"\\0\"]", true);
        row("unknown escape x", "[\"\\x41\"]", true);
        row("unknown escape U", "[\"\\U0041\"]", true);
        row("escaped space", "[\"\\ \"]", true);
        row("escaped tab", "[\"\\\t\"]", true);
        row("escaped e acute", "[\"\\\xc3\xa9\"]", false);
        row("escaped emoji", "[\"\\\xf0\x9f\x98\x80\"]", false);
        row("backslash at the end", "[\"\\", false);
        row("raw controls", "[\"\x01\x1f\x7f\"]", true);
        row("raw line feed", "[\"a\nb\"]", true);
        row("raw NUL", QByteArray("[\"a\0b\"]", 7), true);
        row("raw controls after an escape", "[\"\\n\x01\t\"]", true);
        row("non-ASCII", "[\"\xc3\xa9\xe2\x82\xac\xe2\x80\xa8\"]", true);
        row("noncharacters", "[\"\xef\xbf\xbe\xef\xbf\xbf\"]", true);
        row("highest code point", "[\"\xf4\x8f\xbf\xbf\"]", true);
        row("byte order marks in strings",
            "[\"\xef\xbb\xbf\x61\",\"\xef\xbb\xbf\xef\xbb\xbf\x62\",\"c\xef\xbb\xbf\","
            "\"\xef\xbb\xbf\"]",
            true);
        row("byte order marks and escapes", "[\"\\n\xef\xbb\xbf\x61\",\"\xef\xbb\xbf\\n\"]", true);
        row("non-ASCII and escapes", "[\"\xf0\x9f\x98\x80\\n\xc3\xa9\\u00e9\"]", true);
        row("unterminated string", "[\"abc]", false);
        row("strings without comma", "[\"a\" \"b\"]", false);

        row("members", "{\"b\":[1,{\"c\":null}],\"a\":\"x\"}", true);
        row("comma before end", "{\"a\":1,}", false);
        row("no colon", "{\"a\" 1}", false);
        row("no value", "{\"a\":}", false);
        row("key alone", "{\"a\"}", false);
        row("comma alone", "{,}", false);
        row("members without comma", "{\"a\":1 \"b\":2}", false);
        row("two commas", "{\"a\":1,,\"b\":2}", false);
        row("number key", "{1:2}", false);
        row("single quotes", "{'a':1}", false);
        row("object cut off", "{\"a\":1", false);
        row("repeated key", "{\"b\":1,\"a\":2,\"a\":3}", true);
        row("repeated key, escaped", "{\"a\":1,\"\\u0061\":2}", true);
        row("repeated key, escaped first", "{\"\\u0061\":1,\"a\":2}", true);
        row("repeated empty key", "{\"\":1,\"\\u0000\":2,\"\":3}", true);
        row("byte order mark opens a key", "{\"\xef\xbb\xbf\x61\":1,\"a\":2,\"b\":3}", true);
        row("byte order marks open a key", "{\"\xef\xbb\xbf\xef\xbb\xbf\x61\":1,\"a\":2}", true);
        row("byte order mark opens an escaped key", "{\"\xef\xbb\xbf\x61\":1,\"\\ufeffa\":2}",
            true);
        row("prefix keys", "{\"ab\":1,\"a\":2,\"a\\u0000\":3}", true);
        row("keys by code point", "{\"\xf0\x9f\x98\x80\":1,\"\xef\xbf\xbf\":2}", true);
        row("escaped keys by UTF-16", "{\"\\uFFFF\":1,\"\\uD83D\\uDE00\":2}", true);
        row("one key escaped", "{\"\\uD83D\\uDE00\":1,\"\xef\xbf\xbf\":2}", true);
        row("other key escaped", "{\"\xf0\x9f\x98\x80\":1,\"\\uFFFF\":2}", true);
        row("lone surrogate key by code point", "{\"\xf0\x90\x80\x80\":1,\"\\uDBFF\":2}", true);
        row("lone surrogate key by UTF-16", "{\"\\uD800\\uDC00\":1,\"\\uDBFF\":2}", true);
        row("pair against lone surrogate", "{\"\xf0\x9f\x98\x80\":1,\"\\uD83D\\uE000\":2}", true);
        // The two orders disagree here, and QJsonObject keeps the key twice.
        row("mixed orders, repeated key", "{\"\xee\x80\x80\":3,\"\\uD83D\\uDE00\":2,\"\\uE000\":1}",
            true);
        row("mixed orders, four keys",
            "{\"\\ufeffa\":1,\"\xf0\x90\x80\x80\":2,\"\\t\":3,\"\xf4\x8f\xbf\xbf\\ud97b\":4}",
            true);
        row("mixed orders", "{\"\\uE000\":1,\"\\uD83D\\uDE00\":2,\"\xee\x80\x80\":3}", true);
        QByteArray many = "{";
        for (int i = 60; i > 0; --i)
            many += "\"k" + QByteArray::number(i % 23) + "\":" + QByteArray::number(i) + ",";
        many += "\"\\u006b1\":0}";
        row("many keys, some repeated", many, true);

        row("comma before array end", "[1,]", false);
        row("comma first", "[,1]", false);
        row("two commas in array", "[1,,2]", false);
        row("open bracket", "[", false);
        row("close bracket", "]", false);
        row("array cut off", "[1", false);
        row("inner array open", "[[]", false);
        row("one bracket too many", "[]]", false);
        row("brackets crossed", "[{]}", false);

        row("1024 arrays deep", nestedArrays(1024), true);
        row("1025 arrays deep", nestedArrays(1025), false);
        row("1024 objects deep", nestedObjects(1024), true);
        row("1025 objects deep", nestedObjects(1025), false);
        row("1024 mixed deep", repeated("[{\"a\":", 512) + "0" + repeated("}]", 512), true);
        row("1025 mixed deep", "[" + repeated("[{\"a\":", 512) + "0" + repeated("}]", 512) + "]",
            false);
    }
    void matchesQt()
    {
        QFETCH(QByteArray, text);
        QFETCH(bool, accepted);
        QVERIFY(isValidUtf8(text));
        QCOMPARE(!QJsonDocument::fromJson(text).isNull(), accepted);
        const QString found = disagreement(text);
        QVERIFY2(found.isEmpty(), qPrintable(found));
    }

    // Random documents and small edits of them; rows are seeds, so that a failure can be rerun.
    void randomTextMatchesQt_data()
    {
        QTest::addColumn<quint32>("seed");
        for (quint32 seed = 1; seed <= 4; ++seed)
            QTest::addRow("seed %u", seed) << seed;
    }
    void randomTextMatchesQt()
    {
        QFETCH(quint32, seed);
        TextMaker maker(seed);
        int accepted = 0, refused = 0;
        for (int i = 0; i < 400; ++i) {
            const QByteArray document = maker.document();
            QByteArray text = document;
            for (int edit = 0; edit < 5; ++edit, text = maker.mutated(document)) {
                if (!isValidUtf8(text))
                    continue;
                const QString found = disagreement(text);
                QVERIFY2(found.isEmpty(), qPrintable(found));
                ++(JsonReader::parse(text) ? accepted : refused);
            }
        }
        // Both sides of the line, well represented.
        QVERIFY2(accepted > 400 && refused > 400,
                 qPrintable(QString("%1 accepted, %2 refused").arg(accepted).arg(refused)));
    }

    // Lookups answer what QJsonObject::value does, whichever view of the key is asked.
    void objectLookup_data()
    {
        QTest::addColumn<QByteArray>("text");
        QTest::addColumn<QString>("key");
        const auto row = [](const char *text, const QString &key) {
            QTest::addRow("%s %s", text, printable(key.toUtf8()).constData())
                << QByteArray(text) << key;
        };
        const char *envelope =
            "{\"sender\":\"chrome\",\"data\":{\"command\":\"x\"},\"build\":\"7\"}";
        for (const char *key : {"data", "sender", "build", "command", "", "dat", "datas", "Data"})
            row(envelope, key);
        row("{}", "a");
        row("{\"\":1}", "");
        row("{\"a\":1,\"a\\u0000\":2,\"ab\":3}", QString("a"));
        row("{\"a\":1,\"a\\u0000\":2,\"ab\":3}", QString("a") + QChar(0));
        row("{\"a\":1,\"\\u0061\":2,\"b\":null}", "a");
        row("{\"a\":1,\"\\u0061\":2,\"b\":null}", "b");
        row("{\"\xc3\xa9t\xc3\xa9\":1,\"ete\":2}", QString::fromUtf8("\xc3\xa9t\xc3\xa9"));
        // Ordered by code point, which a search by UTF-16 order would miss.
        for (const char *key : {"\xef\xbf\xbf", "\xf0\x9f\x98\x80", "z"})
            row("{\"\xf0\x9f\x98\x80\":1,\"\xef\xbf\xbf\":2,\"z\":3}", QString::fromUtf8(key));
        row("{\"\\uD83D\":1,\"\\uD83D\\uDE00\":2}", QString(QChar(0xd83d)));
        // QJsonObject finds a key by all its text, a byte order mark at the start included.
        for (const QString &key : {QString("a"), QChar(0xfeff) + QString("a")}) {
            row("{\"\xef\xbb\xbf\x61\":1}", key);
            row("{\"\xef\xbb\xbf\x61\":1,\"a\":2}", key);
        }
    }
    void objectLookup()
    {
        QFETCH(QByteArray, text);
        QFETCH(QString, key);
        const QJsonObject theirs = QJsonDocument::fromJson(text).object();
        const std::optional<JsonValue> parsed = JsonReader::parse(text);
        QVERIFY(parsed && parsed->isObject());
        const JsonObject object = parsed->toObject();
        const QByteArray utf8 = key.toUtf8();
        QString found = difference(object.value(key), theirs.value(key), "QString");
        if (found.isEmpty() && QString::fromUtf8(utf8) == key) // no lone surrogates
            found = difference(object.value(QUtf8StringView(utf8)), theirs.value(key), "UTF-8");
        if (found.isEmpty() && QtPrivate::isLatin1(key)) {
            const QByteArray latin1 = key.toLatin1();
            found = difference(object.value(QLatin1StringView(latin1)), theirs.value(key), "L1");
        }
        if (!theirs.contains(key))
            QVERIFY(object.value(key).isUndefined());
        QVERIFY2(found.isEmpty(), qPrintable(found));
    }

    // Asked for the wrong type, a value answers as QJsonValue does: empty, false or zero.
    void wrongTypes_data()
    {
        QTest::addColumn<QByteArray>("text");
        for (const char *value : {"null", "true", "false", "0", "-2.5", "\"\"", "\"text\"", "[]",
                                  "[1]", "{}", "{\"a\":1}"})
            QTest::newRow(value) << "[" + QByteArray(value) + "]";
    }
    void wrongTypes()
    {
        QFETCH(QByteArray, text);
        const QJsonValue theirs = QJsonDocument::fromJson(text).array().first();
        const JsonValue mine = JsonReader::parse(text)->toArray().first();
        QCOMPARE(mine.toString(), theirs.toString());
        QCOMPARE(mine.toBool(), theirs.toBool());
        QCOMPARE(mine.toDouble(), theirs.toDouble());
        QCOMPARE(mine.toArray().size(), theirs.toArray().size());
        QCOMPARE(mine.toObject().size(), theirs.toObject().size());
        QCOMPARE(mine.toObject().isEmpty(), theirs.toObject().isEmpty());
        QVERIFY(mine.toObject().value("a").isUndefined() == !theirs.toObject().contains("a"));
        // And an undefined value, what a missing key gives, is empty in every way.
        const JsonValue missing = mine.toObject().value("missing");
        QVERIFY(missing.isUndefined());
        QVERIFY(missing.toString().isNull() && missing.toArray().isEmpty() &&
                missing.toObject().isEmpty() && !missing.toBool() && missing.toDouble() == 0);
    }
};

QTEST_APPLESS_MAIN(TestJsonReader)
#include "tst_jsonreader.moc"
