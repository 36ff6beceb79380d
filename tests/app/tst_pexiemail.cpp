#include "app/PexiEmail.h"
#include "support/RecordingLauncher.h"

#include <QTest>

using pexi::PexiEmail;

class TestPexiEmail : public QObject
{
    Q_OBJECT

private slots:
    // The text is put together exactly as given; what reaches the mail program is that text, or
    // nothing when it is not a valid address.
    void send_data()
    {
        QTest::addColumn<PexiEmail::Address>("address");
        QTest::addColumn<QString>("subject");
        QTest::addColumn<QString>("body");
        QTest::addColumn<QString>("text");
        QTest::addColumn<bool>("opened");
        using A = PexiEmail::Address;
        QTest::newRow("support") << A::support << "Help%20me"
                                 << "It%20broke%0A"
                                 << "mailto:support@pexi.com?subject=Help%20me&body=It%20broke%0A"
                                 << true;
        QTest::newRow("body not encoded")
            << A::feedback << "Hi"
            << "two words"
            << "mailto:feedback@pexi.com?subject=Hi&body=two words" << false;
        QTest::newRow("broken escape") << A::support << "%zz"
                                       << ""
                                       << "mailto:support@pexi.com?subject=%zz&body=" << false;
    }
    void send()
    {
        QFETCH(PexiEmail::Address, address);
        QFETCH(QString, subject);
        QFETCH(QString, body);
        QFETCH(QString, text);
        QFETCH(bool, opened);
        const PexiEmail mail(address, subject, body);
        QCOMPARE(mail.text(), text);
        RecordingLauncher launcher;
        QCOMPARE(mail.send(launcher), opened);
        QCOMPARE(launcher.opened, opened ? QStringList{text} : QStringList());
    }
};

QTEST_GUILESS_MAIN(TestPexiEmail)
#include "tst_pexiemail.moc"
