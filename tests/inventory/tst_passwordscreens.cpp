#include "core/InventoryItem.h"
#include "inventory/AddPasswordViewController.h"
#include "inventory/DeletePasswordViewController.h"
#include "inventory/EditPasswordViewController.h"
#include "inventory/GeneratePasswordViewController.h"
#include "inventory/PasswordDetailViewController.h"
#include "inventory/PasswordEntry.h"
#include "inventory/ShowPasswordViewController.h"
#include "ui/Appearance.h"
#include "ui/Icons.h"
#include "ui/PasswordLabel.h"

#include <QLabel>
#include <QLineEdit>
#include <QPushButton>
#include <QSlider>
#include <QTest>
#include <QToolButton>

#include <optional>

using namespace pexi;

namespace {

// Replaces a field's text by keys, as a person would: select all, erase, type.
void retype(QWidget *screen, const char *field, const QString &text)
{
    auto *edit = screen->findChild<QLineEdit *>(field);
    QTest::keyClick(edit, Qt::Key_A, Qt::ControlModifier);
    QTest::keyClick(edit, Qt::Key_Backspace);
    QTest::keyClicks(edit, text);
}

void click(QWidget *screen, const char *button)
{
    QTest::mouseClick(screen->findChild<QAbstractButton *>(button), Qt::LeftButton);
}

QStringList huds(QWidget *screen)
{
    QStringList texts;
    for (const QLabel *hud : screen->findChildren<QLabel *>("hud"))
        texts << hud->text();
    return texts;
}

const char *const fields[] = {"titleField", "siteField", "usernameField", "passwordField"};

InventoryItem mail()
{
    return InventoryItem(QStringLiteral("Mail"), QStringLiteral("ada"), QStringLiteral("pw"));
}

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
        QTest::addColumn<QStringList>("typed");  // title, site, username, password
        QTest::addColumn<QStringList>("stored"); // empty when Save stays hidden
        QTest::newRow("no password") << QStringList{"Mail", "", "", ""} << QStringList{};
        QTest::newRow("blank title") << QStringList{"   ", "", "", "pw"} << QStringList{};
        QTest::newRow("no title") << QStringList{"", "a.example", "ada", "pw"} << QStringList{};
        QTest::newRow("blank password kept")
            << QStringList{"Bank", "", "", "   "} << QStringList{"Bank", "", "", "   "};
        QTest::newRow("trimmed but the password")
            << QStringList{"  Mail ", " mail.example  ", " ada ", " p w "}
            << QStringList{"Mail", "mail.example", "ada", " p w "};
    }
    void addScreen()
    {
        QFETCH(QStringList, typed);
        QFETCH(QStringList, stored);
        AddPasswordViewController screen;
        QList<InventoryItem> added;
        screen.didAddPassword = [&](const InventoryItem &item) { added << item; };
        screen.show();
        QVERIFY(QTest::qWaitForWindowExposed(&screen));
        for (int i = 0; i < 4; ++i)
            QTest::keyClicks(screen.findChild<QLineEdit *>(fields[i]), typed.at(i));
        auto *save = screen.findChild<QPushButton *>("actionButton");
        QCOMPARE(save->isVisible(), !stored.isEmpty());
        if (stored.isEmpty())
            return;
        QTest::keyClick(screen.findChild<QLineEdit *>("usernameField"), Qt::Key_Return);
        click(&screen, "actionButton");
        QCOMPARE(added.size(), 2);
        const InventoryItem &item = added.first();
        QCOMPARE((QStringList{item.title(), item.site().value(), item.username().value(),
                              item.password()}),
                 stored);
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

    // Mail / ada / pw, no site, with one field retyped ("field=text").
    void editScreenKnowsWhenEditing_data()
    {
        QTest::addColumn<QString>("retyped");
        QTest::addColumn<bool>("editing");
        QTest::newRow("same title") << "titleField=Mail" << false;
        QTest::newRow("title with spaces") << "titleField= Mail  " << false;
        QTest::newRow("other title") << "titleField=Mails" << true;
        QTest::newRow("absent site left empty") << "siteField=" << false;
        QTest::newRow("site typed") << "siteField=mail.example" << true;
        QTest::newRow("username cleared") << "usernameField=" << true;
        QTest::newRow("password with a space") << "passwordField=pw " << true;
    }
    void editScreenKnowsWhenEditing()
    {
        QFETCH(QString, retyped);
        QFETCH(bool, editing);
        EditPasswordViewController screen(mail());
        screen.show();
        retype(&screen, qPrintable(retyped.section('=', 0, 0)), retyped.section('=', 1));
        QCOMPARE(screen.isEditing(), editing);
        QCOMPARE(screen.findChild<QPushButton *>("actionButton")->isVisible(), editing);
        auto *back = screen.findChild<QPushButton *>("backButton");
        QCOMPARE(back->text(), editing ? "Cancel" : "Back");
        QCOMPARE(back->icon().isNull(), editing);
        int closed = 0;
        screen.didClose = [&] { ++closed; };
        click(&screen, "backButton");
        QCOMPARE(closed, 1);
    }

    // Mail, mail.example, ada, pw retyped: a message, or the same item with the new values.
    void editScreenSaves_data()
    {
        QTest::addColumn<QStringList>("typed"); // title, site, username, password
        QTest::addColumn<QString>("hud");
        QTest::newRow("blank title") << QStringList{"  ", "", "", ""} << "Please enter a title";
        QTest::newRow("no password")
            << QStringList{"Mail", "", "", ""} << "Please enter a password";
        QTest::newRow("emptied site and username") << QStringList{" Post ", "", "", " pw "} << "";
    }
    void editScreenSaves()
    {
        QFETCH(QStringList, typed);
        QFETCH(QString, hud);
        InventoryItem original = mail();
        original.setSite(QStringLiteral("mail.example"));
        EditPasswordViewController screen(original);
        QStringList updated;
        screen.didUpdatePassword = [&](const InventoryItem &item) {
            QVERIFY(item.uuid() == original.uuid() && item.timestamp() == original.timestamp());
            updated << item.title() << item.site().value_or("-") << item.username().value_or("-")
                    << item.password();
        };
        screen.show();
        for (int i = 0; i < 4; ++i)
            retype(&screen, fields[i], typed.at(i));
        click(&screen, "actionButton");
        QCOMPARE(huds(&screen), hud.isEmpty() ? QStringList() : QStringList{hud});
        QCOMPARE(updated, hud.isEmpty() ? QStringList({"Post", "", "", " pw "}) : QStringList());
        QCOMPARE(screen.isEditing(), !hud.isEmpty());
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
};

QTEST_MAIN(PasswordScreensTest)
#include "tst_passwordscreens.moc"
