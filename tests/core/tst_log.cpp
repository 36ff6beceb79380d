#include "core/Log.h"

#include <QTest>

using namespace pexi;

class TestLog : public QObject
{
    Q_OBJECT

private slots:
    void clientTextIsCutAndEscaped_data()
    {
        QTest::addColumn<QString>("text");
        QTest::addColumn<QString>("logged");
        const QString kept(maxLoggedText, u'k');
        QTest::newRow("forged line") << QStringLiteral("a\r\nrefused connection")
                                     << QStringLiteral("a\\x0d\\x0arefused connection");
        QTest::newRow("DEL and C1")
            << QString::fromUtf8("x\x7f\xc2\x9b") << QStringLiteral("x\\x7f\\x9b");
        QTest::newRow("non-ASCII kept") << QStringLiteral("héllo ✓") << QStringLiteral("héllo ✓");
        QTest::newRow("at the limit") << kept << kept;
        QTest::newRow("cut before escaping") << kept + "\x1b" << kept + "...";
    }
    void clientTextIsCutAndEscaped()
    {
        QFETCH(QString, text);
        QFETCH(QString, logged);
        QCOMPARE(loggable(text), logged);
    }
};

QTEST_GUILESS_MAIN(TestLog)
#include "tst_log.moc"
