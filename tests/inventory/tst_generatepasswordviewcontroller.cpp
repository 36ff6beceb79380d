#include "core/Constants.h"
#include "inventory/GeneratePasswordViewController.h"
#include "inventory/PasswordGenerator.h"

#include <QLabel>
#include <QPushButton>
#include <QSlider>
#include <QTest>

#include <array>

using pexi::GeneratePasswordViewController;
using pexi::PasswordGenerator;
using Security = pexi::Constants::Security;

class GeneratePasswordTest : public QObject
{
    Q_OBJECT

private slots:
    // Keys pressed on the slider, or positions in tenths of a character as a drag passes them: a
    // new password only for a whole length other than the one shown, and the slider snaps to it.
    void lengthFollowsSlider_data()
    {
        QTest::addColumn<QList<int>>("moves"); // keys, or positions
        QTest::addColumn<int>("passwords");
        QTest::addColumn<int>("length");
        QTest::addColumn<int>("sliderValue");
        const int fewest = Security::MIN_GEN_PASSWORD_LENGTH,
                  most = Security::MAX_GEN_PASSWORD_LENGTH;
        QTest::newRow("default") << QList<int>{} << 1 << 20 << 200;
        QTest::newRow("minimum") << QList<int>{Qt::Key_Home} << 2 << fewest << fewest * 10;
        QTest::newRow("maximum") << QList<int>{Qt::Key_End} << 2 << most << most * 10;
        QTest::newRow("one more") << QList<int>{Qt::Key_Right} << 2 << 21 << 210;
        QTest::newRow("within the default") << QList<int>{203, 209, 200} << 1 << 20 << 200;
        QTest::newRow("snaps to the next") << QList<int>{215} << 2 << 21 << 210;
        QTest::newRow("then within it") << QList<int>{215, 211, 219} << 2 << 21 << 219;
        QTest::newRow("there and back") << QList<int>{210, 200} << 3 << 20 << 200;
    }
    void lengthFollowsSlider()
    {
        QFETCH(QList<int>, moves);
        QFETCH(int, passwords);
        QFETCH(int, length);
        QFETCH(int, sliderValue);
        GeneratePasswordViewController screen;
        auto *slider = screen.findChild<QSlider *>("strengthSlider");
        QStringList shown{screen.password()};
        for (const int move : moves) {
            if (move > Qt::Key_Escape)
                QTest::keyClick(slider, Qt::Key(move));
            else
                slider->setValue(move);
            if (screen.password() != shown.last())
                shown << screen.password();
        }
        QCOMPARE(shown.size(), passwords);
        QCOMPARE(slider->value(), sliderValue);
        QCOMPARE(screen.password().size(), length);
        QCOMPARE(screen.findChild<QLabel *>("lengthLabel")->text(), QString::number(length));
    }

    void buttonsReportUpward()
    {
        GeneratePasswordViewController screen;
        QStringList saved;
        int closed = 0;
        screen.didSave = [&](const QString &password) { saved << password; };
        screen.didClose = [&] { ++closed; };
        for (const char *button : {"saveButton", "saveButton", "backButton"})
            QTest::mouseClick(screen.findChild<QPushButton *>(button), Qt::LeftButton);
        QCOMPARE(saved, QStringList(2, screen.password()));
        QCOMPARE(closed, 1);
    }

    // Every character equally likely: Pearson's chi-square over 69 characters (68 degrees of
    // freedom). 140 is exceeded by a uniform draw about once in a million runs; a draw by
    // remainder of a random byte (the first 49 characters a third likelier) lands in the
    // thousands.
    void charactersAreUniform()
    {
        constexpr int perCharacter = 10000;
        const auto size = qsizetype(PasswordGenerator::alphabet.size());
        const QString sample = PasswordGenerator::randomString(int(size * perCharacter));
        std::array<qint64, 128> counts{};
        for (const QChar c : sample)
            ++counts[qMin(c.unicode(), char16_t(127))]; // DEL, not in the alphabet, for the rest
        double chiSquare = 0;
        qsizetype inAlphabet = 0;
        for (const char c : PasswordGenerator::alphabet) {
            const double difference = double(counts[uchar(c)]) - perCharacter;
            chiSquare += difference * difference / perCharacter;
            inAlphabet += counts[uchar(c)];
        }
        QCOMPARE(inAlphabet, sample.size());
        QVERIFY2(chiSquare < 140, qPrintable(QString::number(chiSquare)));
    }
};

QTEST_MAIN(GeneratePasswordTest)
#include "tst_generatepasswordviewcontroller.moc"
