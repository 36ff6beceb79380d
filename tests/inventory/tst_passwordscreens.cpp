#include "core/Constants.h"
#include "core/InventoryItem.h"
#include "inventory/AddPasswordViewController.h"
#include "inventory/DeletePasswordViewController.h"
#include "inventory/EditPasswordViewController.h"
#include "inventory/GeneratePasswordViewController.h"
#include "inventory/PasswordDetailViewController.h"
#include "inventory/PasswordEntry.h"
#include "inventory/PasswordGenerator.h"
#include "inventory/ShowPasswordViewController.h"
#include "support/ItemText.h"
#include "support/ScreenInput.h"
#include "ui/Appearance.h"
#include "ui/Icons.h"
#include "ui/PasswordLabel.h"

#include <QLabel>
#include <QLineEdit>
#include <QPushButton>
#include <QSlider>
#include <QTest>
#include <QToolButton>

#include <array>
#include <optional>

using namespace pexi;
using Security = Constants::Security;

namespace {

void click(QWidget *screen, const char *button)
{
    QTest::mouseClick(screen->findChild<QAbstractButton *>(button), Qt::LeftButton);
}

const char *const fields[] = {"Title", "Website", "Username", "Password"};

} // namespace

class PasswordScreensTest : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase() { Appearance::instance().apply(); }

    void trimsSpacesAndTabsOnly()
    {
        const QList<std::pair<QString, QString>> cases{
            {" a b  ", "a b"}, {"\ta\t", "a"}, {" a\n", "a\n"}, {" \t ", ""}};
        for (const auto &[text, trimmed] : cases)
            QCOMPARE(PasswordEntry::trimmed(text), trimmed);
    }

    // Typed into an empty add screen: whether Save shows, and the item it hands over.
    void addScreen_data()
    {
        QTest::addColumn<QStringList>("typed"); // title, site, username, password
        QTest::addColumn<QString>("stored");    // empty when Save stays hidden
        QTest::newRow("no password") << QStringList{"Mail", "", "", ""} << "";
        QTest::newRow("blank title") << QStringList{"   ", "", "", "pw"} << "";
        QTest::newRow("blank password kept") << QStringList{"Bank", "", "", "   "} << "Bank|||   ";
        QTest::newRow("trimmed but the password")
            << QStringList{"  Mail ", " mail.example  ", " ada ", " p w "}
            << "Mail|mail.example|ada| p w ";
    }
    void addScreen()
    {
        QFETCH(QStringList, typed);
        QFETCH(QString, stored);
        AddPasswordViewController screen;
        QList<InventoryItem> added;
        screen.didAddPassword = [&](const InventoryItem &item) { added << item; };
        screen.show();
        QVERIFY(QTest::qWaitForWindowExposed(&screen));
        for (int i = 0; i < 4; ++i)
            retype(&screen, fields[i], typed.at(i));
        auto *save = screen.findChild<QPushButton *>("actionButton");
        QCOMPARE(save->isVisible(), !stored.isEmpty());
        if (stored.isEmpty())
            return;
        QTest::keyClick(screen.findChild<QLineEdit *>("usernameField"), Qt::Key_Return);
        click(&screen, "actionButton");
        QCOMPARE(added.size(), 2);
        const InventoryItem &item = added.first();
        QCOMPARE(described(item), stored);
        QVERIFY(!item.uuid().isEmpty() && !item.deleted());
        QVERIFY(item.uuid() != added.last().uuid());
    }

    void addScreenTakesGeneratedPassword()
    {
        AddPasswordViewController screen;
        screen.resize(340, 440);
        screen.show();
        click(&screen, "generateButton");
        auto *generator = screen.findChild<GeneratePasswordViewController *>();
        QVERIFY(generator);
        QTRY_COMPARE(generator->geometry(), screen.rect());
        QTest::keyClick(generator->findChild<QSlider *>("strengthSlider"), Qt::Key_End);
        const QString generated = generator->password();
        click(generator, "saveButton");
        QCOMPARE(screen.detailViewController()->itemPassword(), generated);
        QVERIFY(screen.findChild<QLabel *>("passwordLabel")->isVisible());
        QTRY_VERIFY(!screen.findChild<GeneratePasswordViewController *>());
    }

    // Mail / ada / pw without a site, its fields retyped: whether it is being edited (Save shown,
    // Back become Cancel), then what Save does: a message, or the same item with the new values.
    void editScreen_data()
    {
        QTest::addColumn<QStringList>("typed"); // title, site, username, password
        QTest::addColumn<bool>("editing");
        QTest::addColumn<QString>("saved"); // title|site|username|password, or the message shown
        const auto row = [](const char *name, const char *typed, bool editing, const char *saved) {
            QTest::newRow(name) << QString(typed).split('|') << editing << QString(saved);
        };
        row("title with spaces, site left empty", " Mail  ||ada|pw", false, "");
        row("other title", "Mails||ada|pw", true, "Mails||ada|pw");
        row("site typed", "Mail|mail.example|ada|pw", true, "Mail|mail.example|ada|pw");
        row("username cleared", "Mail|||pw", true, "Mail|||pw");
        row("password with a space", "Mail||ada|pw ", true, "Mail||ada|pw ");
        row("blank title", "  ||ada|pw", true, "Please enter a title");
        row("no password", "Mail||ada|", true, "Please enter a password");
    }
    void editScreen()
    {
        QFETCH(QStringList, typed);
        QFETCH(bool, editing);
        QFETCH(QString, saved);
        const InventoryItem original("Mail", QStringLiteral("ada"), "pw");
        EditPasswordViewController screen(original);
        QStringList done;
        screen.didUpdatePassword = [&](const InventoryItem &item) {
            QVERIFY(item.uuid() == original.uuid() && item.timestamp() == original.timestamp());
            done << described(item);
        };
        screen.didClose = [&] { done << "closed"; };
        screen.show();
        for (int i = 0; i < 4; ++i)
            retype(&screen, fields[i], typed.at(i));
        QCOMPARE(screen.isEditing(), editing);
        QCOMPARE(screen.findChild<QPushButton *>("actionButton")->isVisible(), editing);
        auto *back = screen.findChild<QPushButton *>("backButton");
        QCOMPARE(back->text(), editing ? "Cancel" : "Back");
        QCOMPARE(back->icon().isNull(), editing);
        if (editing)
            click(&screen, "actionButton");
        const bool refused = saved.startsWith("Please");
        QCOMPARE(huds(&screen), refused ? QStringList{saved} : QStringList());
        QCOMPARE(screen.isEditing(), refused);
        click(&screen, "backButton");
        QCOMPARE(done,
                 editing && !refused ? QStringList({saved, "closed"}) : QStringList{"closed"});
    }

    // The eye offers the opposite of what the field does.
    void eyeToggles()
    {
        PasswordDetailViewController form;
        form.show();
        for (const bool revealed : {false, true, false}) {
            QCOMPARE(form.isRevealed(), revealed);
            QCOMPARE(form.findChild<QLineEdit *>("passwordField")->echoMode(),
                     revealed ? QLineEdit::Normal : QLineEdit::Password);
            const QIcon icon = form.findChild<QToolButton *>("eyeButton")->icon();
            QCOMPARE(icon.pixmap(20).toImage(),
                     tintedIcon(revealed ? "iconNoShow" : "iconShow").pixmap(20).toImage());
            click(&form, "eyeButton");
        }
    }

    // The title as given, spaces and markup too.
    void deleteScreen()
    {
        for (const QString title : {" My  bank ", "<b>A&B</b>"}) {
            DeletePasswordViewController screen(title);
            QStringList done;
            screen.didDelete = [&] { done << "deleted"; };
            screen.didClose = [&] { done << "closed"; };
            screen.show();
            auto *label = screen.findChild<QLabel *>("messageLabel");
            QCOMPARE(label->text(), "Are you sure you want to delete the " + title + " password?");
            QCOMPARE(label->textFormat(), Qt::PlainText);
            click(&screen, "deleteButton");
            click(&screen, "backButton");
            QCOMPARE(done, QStringList({"deleted", "closed"}));
        }
    }

    void showScreen()
    {
        const QList<std::tuple<QString, std::optional<QString>, QString>> cases{
            {"Mail", " p w0rd ", "Mail password"}, {"", "x", "Password"}, {"Mail", {}, ""}};
        for (const auto &[title, password, heading] : cases) {
            ShowPasswordViewController screen(title, password);
            int closed = 0;
            screen.didClose = [&] { ++closed; };
            screen.show();
            if (!heading.isEmpty())
                QCOMPARE(screen.findChild<QLabel *>("titleLabel")->text(), heading);
            auto *label = screen.findChild<PasswordLabel *>("passwordLabel");
            QCOMPARE(label->text(), password.value_or(""));
            QCOMPARE(QFontInfo(label->font()).family(), "Inconsolata");
            click(&screen, "backButton");
            QCOMPARE(closed, 1);
        }
    }

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

QTEST_MAIN(PasswordScreensTest)
#include "tst_passwordscreens.moc"
