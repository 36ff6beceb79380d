#include "extension/JsonReader.h"

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
        row("empty", "", false);
        row("byte order mark", "\xef\xbb\xbf{}", false);
        row("garbage after", "[] x", false);
        row("object cut off", "{\"a\":1", false);
        row("integer past 64 bits", "[18446744073709551616]", false);
        row("overflow", "[1e400]", false);
        row("raw control", "[\"\x01\"]", false);
        row("non-ASCII", "[\"\xc3\xa9\xe2\x82\xac\xe2\x80\xa8\xf0\x9f\x94\x91\"]", true);
        row("overlong", "[\"\xc0\x80\"]", false);
        row("\\u, lone high surrogate", "[\"\\uD83D\"]", false);
        row("past U+10FFFF", "[\"\xf4\x90\x80\x80\"]", false);
        row("invalid UTF-8 outside strings", "[1]\xff", false);
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
};

QTEST_APPLESS_MAIN(TestJsonReader)
#include "tst_jsonreader.moc"
