#include "extension/JsonReader.h"
#include "extension/LockCheckEvent.h"

#include <QTest>

using namespace pexi;

namespace {

QByteArray nested(const char *open, const char *inner, const char *close, int depth)
{
    return QByteArray(open).repeated(depth - 1) + inner + QByteArray(close).repeated(depth - 1);
}

} // namespace

class TestJsonReader : public QObject
{
    Q_OBJECT

private slots:
    // RFC 8259, and the limits it leaves to implementations: 64-bit integers, finite doubles,
    // 1024 levels. The text is read once where it lies, with junk in the padding behind it, and
    // once copied; both must give the same verdict.
    void acceptsExactlyJson_data()
    {
        QTest::addColumn<QByteArray>("text");
        QTest::addColumn<bool>("accepted");
        const auto row = [](const char *name, const QByteArray &text, bool accepted) {
            QTest::newRow(name) << text << accepted;
        };
        row("lock check", "{\"data\":{\"command\":\"pexi_lock_check\",\"session\":\"s\"}}", true);
        row("number document", "42", true);
        row("space everywhere", " \t\r\n[ 1 ,\n\"a\" , { \"k\" : [ ] } ]\r\n", true);
        row("empty", "", false);
        row("form feed is no space", "[\f1]", false);
        row("byte order mark", "\xef\xbb\xbf{}", false);
        row("garbage after", "[] x", false);

        row("literals", "[true,false,null]", true);
        row("short true", "[tru]", false);
        row("null, cut off", "[null", false);

        row("numbers", "[0,-0,-0.0,0.5,-12.5e+3,1E5,1e-5,0e-400]", true);
        row("64-bit integers", "[-9223372036854775808,18446744073709551615]", true);
        row("integer past 64 bits", "[18446744073709551616]", false);
        row("overflow", "[1e400]", false);
        row("underflow is zero", "[1e-400,4.9e-324,2e-324]", true);
        row("leading zero", "[01]", false);
        row("Infinity", "[Infinity]", false);

        row("escapes", "[\"\\\"\\\\\\/\\b\\f\\n\\r\\t\"]", true);
        row("\\u escapes", "[\"\\u0041\\u00E9x\\u00e9\\u0000\\uD83D\\uDE00\"]", true);
        row("\\u, lone high", "[\"\\uD83D\"]", false);
        row("\\u, pair reversed", "[\"\\uDE00\\uD83D\"]", false);
        row("unknown escape x", "[\"\\x41\"]", false);
        row("raw control", "[\"\x01\"]", false);
        row("raw NUL", QByteArray("[\"a\0b\"]", 7), false);
        row("raw DEL", "[\"\x7f\"]", true);
        row("non-ASCII", "[\"\xc3\xa9\xe2\x82\xac\xe2\x80\xa8\xf0\x9f\x94\x91\"]", true);
        row("overlong", "[\"\xc0\x80\"]", false);
        row("UTF-8 surrogate", "[\"\xed\xa0\x80\"]", false);
        row("past U+10FFFF", "[\"\xf4\x90\x80\x80\"]", false);
        row("cut-off character", "[\"\xe2\x82\"]", false);
        row("invalid UTF-8 outside strings", "[1]\xff", false);
        row("unterminated string", "[\"abc]", false);

        row("members", "{\"b\":[1,{\"c\":null}],\"a\":\"x\"}", true);
        row("comma before end", "{\"a\":1,}", false);
        row("object cut off", "{\"a\":1", false);
        row("inner array open", "[[]", false);
        row("one bracket too many", "[]]", false);

        row("1024 arrays deep", nested("[", "[]", "]", 1024), true);
        row("1025 arrays deep", nested("[", "[]", "]", 1025), false);
    }
    void acceptsExactlyJson()
    {
        QFETCH(QByteArray, text);
        QFETCH(bool, accepted);
        QByteArray padded = text + QByteArray(simdjson::SIMDJSON_PADDING, ']');
        padded.truncate(text.size());
        JsonReader reader;
        QCOMPARE(reader.read(padded).error() == simdjson::SUCCESS, accepted);
        QCOMPARE(reader.read(QByteArray(text.constData(), text.size())).error() ==
                     simdjson::SUCCESS,
                 accepted);
    }

    // Strings as the events get them: unescaped, decoded from UTF-8, NUL included; of a key
    // written twice, the first.
    void stringsReachTheEvents_data()
    {
        QTest::addColumn<QByteArray>("session");
        QTest::addColumn<QString>("expected");
        QTest::newRow("plain") << QByteArray("\"s-1\"") << QString("s-1");
        QTest::newRow("escapes") << QByteArray("\"\\\"\\\\\\/\\b\\f\\n\\r\\t\"")
                                 << QString("\"\\/\b\f\n\r\t");
        QTest::newRow("\\u escapes") << QByteArray("\"caf\\u00e9 \\ud83d\\udd11\"")
                                     << QString::fromUtf8("caf\xc3\xa9 \xf0\x9f\x94\x91");
        QTest::newRow("raw UTF-8") << QByteArray("\"caf\xc3\xa9 \xf0\x9f\x94\x91\"")
                                   << QString::fromUtf8("caf\xc3\xa9 \xf0\x9f\x94\x91");
        QTest::newRow("byte order mark at the start")
            << QByteArray("\"\xef\xbb\xbfpw\"") << QChar(0xfeff) + QString("pw");
        QTest::newRow("NUL") << QByteArray("\"a\\u0000b\"") << QStringView(u"a\0b", 3).toString();
        QTest::newRow("repeated key")
            << QByteArray("\"first\",\"session\":\"second\"") << QString("first");
        QTest::newRow("repeated key, first not a string")
            << QByteArray("1,\"session\":\"second\"") << QString("none");
    }
    void stringsReachTheEvents()
    {
        QFETCH(QByteArray, session);
        QFETCH(QString, expected);
        JsonReader reader;
        simdjson::dom::object dictionary;
        QCOMPARE(reader.read("{\"command\":\"pexi_lock_check\",\"session\":" + session + "}")
                     .get(dictionary),
                 simdjson::SUCCESS);
        QCOMPARE(LockCheckEvent(dictionary).session().value_or("none"), expected);
    }
};

QTEST_APPLESS_MAIN(TestJsonReader)
#include "tst_jsonreader.moc"
