#include "extension/JsonWriter.h"

#include <QProcess>
#include <QTest>

using namespace pexi;

namespace {

QString units(std::initializer_list<char16_t> list)
{
    return QString(reinterpret_cast<const QChar *>(list.begin()), qsizetype(list.size()));
}

// Text as both ends of a round trip describe it: its UTF-16 units in hex, lone surrogates too.
QString hex(QStringView text)
{
    QString out;
    for (const QChar unit : text)
        out += QString::number(unit.unicode(), 16).rightJustified(4, u'0');
    return out;
}

// The strings of each document's top array as Python's json module reads them, in hex.
QStringList readByPython(const QByteArrayList &documents)
{
    const char *script = "import json, sys\n"
                         "for line in sys.stdin.buffer:\n"
                         "    print(' '.join(s.encode('utf-16-be', 'surrogatepass').hex() for s in "
                         "json.loads(line)))\n";
    QProcess python;
    python.start("python3", {"-c", script});
    python.write(documents.join('\n') + '\n');
    python.closeWriteChannel();
    if (!python.waitForFinished(60000) || python.exitCode() != 0)
        return {"python3 failed: " + QString::fromUtf8(python.readAllStandardError())};
    return QString::fromLatin1(python.readAllStandardOutput()).split('\n', Qt::SkipEmptyParts);
}

} // namespace

class TestJsonWriter : public QObject
{
    Q_OBJECT

private slots:
    // What RFC 8259 requires escaped is, and nothing else is.
    void escapes_data()
    {
        QTest::addColumn<QString>("text");
        QTest::addColumn<QString>("written"); // between the quotes
        QTest::newRow("empty") << QString() << QString();
        QTest::newRow("quote, backslash, slash") << QString("\"\\/") << QString("\\\"\\\\/");
        QTest::newRow("short escapes") << QString("\b\f\n\r\t") << QString("\\b\\f\\n\\r\\t");
        QTest::newRow("other controls")
            << units({0, 1, 0x0b, 0x1f}) << QString("\\u0000\\u0001\\u000b\\u001f");
        QTest::newRow("DEL and separators as they are")
            << units({0x7f, 0x2028, 0x2029}) << units({0x7f, 0x2028, 0x2029});
        const QString nonAscii = QString::fromUtf8("\xc3\xa9\xe2\x82\xac\xef\xbb\xbf\xef\xbf\xbf");
        QTest::newRow("non-ASCII as it is") << nonAscii << nonAscii;
        QTest::newRow("pair as it is") << units({0xd83d, 0xdd11}) << units({0xd83d, 0xdd11});
        QTest::newRow("lone surrogates")
            << units({0xd83d, u'a', 0xdc00, 0xdc00, 0xd800, 0xd83d, 0xd83d, 0xdd11})
            << QString("\\ud83da\\udc00\\udc00\\ud800\\ud83d") + units({0xd83d, 0xdd11});
    }
    void escapes()
    {
        QFETCH(QString, text);
        QFETCH(QString, written);
        // Text starting at every place in a group of four, which is how the writer scans it.
        QByteArrayList documents;
        QStringList readBack;
        for (const QString lead : {"", "a", "ab", "abc"}) {
            JsonWriter json(4); // small, so that the string has to grow
            json.beginArray().string(lead + text + "defg").string(text).endArray();
            const QString document = json.take();
            QCOMPARE(document, "[\"" + lead + written + "defg\",\"" + written + "\"]");
            documents << document.toUtf8();
            readBack << hex(lead + text + "defg") + ' ' + hex(text);
        }
        // An independent reader (which also takes escaped surrogates without their other half)
        // gets the text back.
        QCOMPARE(readByPython(documents), readBack);
    }
};

QTEST_APPLESS_MAIN(TestJsonWriter)
#include "tst_jsonwriter.moc"
