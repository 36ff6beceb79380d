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

namespace {

bool onlyAlphabet(const QString &password)
{
    const QString alphabet = QString::fromLatin1(PasswordGenerator::alphabet);
    return std::all_of(password.begin(), password.end(),
                       [&](QChar c) { return alphabet.contains(c); });
}

} // namespace

class GeneratePasswordTest : public QObject
{
    Q_OBJECT

private slots:
    void lengthFollowsSlider_data()
    {
        QTest::addColumn<int>("key");
        QTest::addColumn<int>("length");
        QTest::newRow("default") << 0 << Security::DEFAULT_GEN_PASSWORD_LENGTH;
        QTest::newRow("minimum") << int(Qt::Key_Home) << Security::MIN_GEN_PASSWORD_LENGTH;
        QTest::newRow("maximum") << int(Qt::Key_End) << Security::MAX_GEN_PASSWORD_LENGTH;
        QTest::newRow("one more") << int(Qt::Key_Right)
                                  << Security::DEFAULT_GEN_PASSWORD_LENGTH + 1;
    }
    void lengthFollowsSlider()
    {
        QFETCH(int, key);
        QFETCH(int, length);
        GeneratePasswordViewController screen;
        if (key)
            QTest::keyClick(screen.findChild<QSlider *>("strengthSlider"), Qt::Key(key));
        QCOMPARE(screen.password().size(), length);
        QCOMPARE(screen.findChild<QLabel *>("lengthLabel")->text(), QString::number(length));
        QVERIFY2(onlyAlphabet(screen.password()), qPrintable(screen.password()));
    }

    // Positions in tenths of a character, as a drag passes them; a new password only for a
    // whole length other than the one shown, and the slider snaps to it.
    void newPasswordOnlyForNewWholeLength_data()
    {
        QTest::addColumn<QList<int>>("positions");
        QTest::addColumn<int>("passwords");
        QTest::addColumn<int>("sliderValue");
        QTest::addColumn<int>("length");
        QTest::newRow("within the default") << QList<int>{203, 209, 200} << 1 << 200 << 20;
        QTest::newRow("snaps to the next") << QList<int>{215} << 2 << 210 << 21;
        QTest::newRow("then within it") << QList<int>{215, 211, 219} << 2 << 219 << 21;
        QTest::newRow("there and back") << QList<int>{210, 200} << 3 << 200 << 20;
    }
    void newPasswordOnlyForNewWholeLength()
    {
        QFETCH(QList<int>, positions);
        QFETCH(int, passwords);
        QFETCH(int, sliderValue);
        QFETCH(int, length);
        GeneratePasswordViewController screen;
        auto *slider = screen.findChild<QSlider *>("strengthSlider");
        QList<QString> shown{screen.password()};
        for (const int position : positions) {
            slider->setValue(position);
            if (screen.password() != shown.last())
                shown << screen.password();
        }
        QCOMPARE(shown.size(), passwords);
        QCOMPARE(slider->value(), sliderValue);
        QCOMPARE(screen.password().size(), length);
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
            ++counts[c.unicode() & 127];
        double chiSquare = 0;
        for (const char c : PasswordGenerator::alphabet) {
            const double difference = double(counts[uchar(c)]) - perCharacter;
            chiSquare += difference * difference / perCharacter;
        }
        QVERIFY2(onlyAlphabet(sample), "a character outside the alphabet");
        QVERIFY2(chiSquare < 140, qPrintable(QString::number(chiSquare)));
        QCOMPARE(PasswordGenerator::randomString(0), QString());
    }
};

QTEST_MAIN(GeneratePasswordTest)
#include "tst_generatepasswordviewcontroller.moc"
