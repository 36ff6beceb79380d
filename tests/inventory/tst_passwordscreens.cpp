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

Q_DECLARE_METATYPE(std::optional<QString>)

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

    void trimsSpacesAndTabsOnly_data()
    {
        QTest::addColumn<QString>("text");
        QTest::addColumn<QString>("trimmed");
        QTest::newRow("spaces") << " a b  "
                                << "a b";
        QTest::newRow("tabs") << "\ta\t"
                              << "a";
        QTest::newRow("line breaks stay") << " a\n"
                                          << "a\n";
        QTest::newRow("blank") << " \t "
                               << "";
    }
    void trimsSpacesAndTabsOnly()
    {
        QFETCH(QString, text);
        QFETCH(QString, trimmed);
        QCOMPARE(PasswordEntry::trimmed(text), trimmed);
    }

    // Typed into an empty add screen: whether Save shows, and the item it hands over.
    void addScreen_data()
    {
        QTest::addColumn<QStringList>("typed");  // title, site, username, password
        QTest::addColumn<QStringList>("stored"); // empty when Save stays hidden
        QTest::newRow("nothing") << QStringList{"", "", "", ""} << QStringList{};
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
        const char *fields[] = {"titleField", "siteField", "usernameField", "passwordField"};
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

    // Mail / ada / pw, no site, with one field retyped.
    void editScreenKnowsWhenEditing_data()
    {
        QTest::addColumn<QByteArray>("field");
        QTest::addColumn<QString>("text");
        QTest::addColumn<bool>("editing");
        QTest::newRow("untouched") << QByteArray() << "" << false;
        QTest::newRow("same title") << QByteArray("titleField") << "Mail" << false;
        QTest::newRow("title with spaces") << QByteArray("titleField") << " Mail  " << false;
        QTest::newRow("other title") << QByteArray("titleField") << "Mails" << true;
        QTest::newRow("absent site left empty") << QByteArray("siteField") << "" << false;
        QTest::newRow("site typed") << QByteArray("siteField") << "mail.example" << true;
        QTest::newRow("username cleared") << QByteArray("usernameField") << "" << true;
        QTest::newRow("password with a space") << QByteArray("passwordField") << "pw " << true;
    }
    void editScreenKnowsWhenEditing()
    {
        QFETCH(QByteArray, field);
        QFETCH(QString, text);
        QFETCH(bool, editing);
        EditPasswordViewController screen(mail());
        screen.show();
        if (!field.isEmpty())
            retype(&screen, field, text);
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
        QList<InventoryItem> updated;
        screen.didUpdatePassword = [&](const InventoryItem &item) { updated << item; };
        screen.show();
        const char *fields[] = {"titleField", "siteField", "usernameField", "passwordField"};
        for (int i = 0; i < 4; ++i)
            retype(&screen, fields[i], typed.at(i));
        click(&screen, "actionButton");
        QCOMPARE(huds(&screen), hud.isEmpty() ? QStringList() : QStringList{hud});
        if (!hud.isEmpty()) {
            QVERIFY(updated.isEmpty());
            return;
        }
        QCOMPARE(updated.size(), 1);
        const InventoryItem &item = updated.first();
        QCOMPARE(item.title(), "Post");
        QCOMPARE(item.site(), std::optional<QString>(""));
        QCOMPARE(item.username(), std::optional<QString>(""));
        QCOMPARE(item.password(), " pw ");
        QCOMPARE(item.uuid(), original.uuid());
        QCOMPARE(item.timestamp(), original.timestamp());
        QVERIFY(!screen.isEditing());
    }

    // The eye offers the opposite of what the field does.
    void eyeToggles_data()
    {
        QTest::addColumn<int>("clicks");
        QTest::addColumn<bool>("revealed");
        QTest::addColumn<QString>("icon");
        QTest::newRow("hidden at first") << 0 << false << "iconShow";
        QTest::newRow("shown") << 1 << true << "iconNoShow";
        QTest::newRow("hidden again") << 2 << false << "iconShow";
    }
    void eyeToggles()
    {
        QFETCH(int, clicks);
        QFETCH(bool, revealed);
        QFETCH(QString, icon);
        PasswordDetailViewController form;
        form.show();
        for (int i = 0; i < clicks; ++i)
            click(&form, "eyeButton");
        QCOMPARE(form.isRevealed(), revealed);
        QCOMPARE(form.findChild<QLineEdit *>("passwordField")->echoMode(),
                 revealed ? QLineEdit::Normal : QLineEdit::Password);
        const QIcon shown = form.findChild<QToolButton *>("eyeButton")->icon();
        QCOMPARE(shown.pixmap(20).toImage(), tintedIcon(icon).pixmap(20).toImage());
    }

    void deleteScreen_data()
    {
        QTest::addColumn<QString>("title");
        QTest::addColumn<QString>("message");
        QTest::newRow("plain") << "Mail"
                               << "Are you sure you want to delete the Mail password?";
        QTest::newRow("spaces kept") << " My  bank "
                                     << "Are you sure you want to delete the  My  bank  password?";
        QTest::newRow("markup as text") << "<b>A&B</b>"
                                        << "Are you sure you want to delete the <b>A&B</b> "
                                           "password?";
    }
    void deleteScreen()
    {
        QFETCH(QString, title);
        QFETCH(QString, message);
        DeletePasswordViewController screen(title);
        int deleted = 0, closed = 0;
        screen.didDelete = [&] { ++deleted; };
        screen.didClose = [&] { ++closed; };
        screen.show();
        auto *label = screen.findChild<QLabel *>("messageLabel");
        QCOMPARE(label->text(), message);
        QCOMPARE(label->textFormat(), Qt::PlainText);
        click(&screen, "deleteButton");
        QCOMPARE(std::pair(deleted, closed), std::pair(1, 0));
        click(&screen, "backButton");
        QCOMPARE(std::pair(deleted, closed), std::pair(1, 1));
    }

    void showScreen_data()
    {
        QTest::addColumn<QString>("title");
        QTest::addColumn<std::optional<QString>>("password");
        QTest::addColumn<QString>("heading");
        QTest::newRow("titled") << "Mail" << std::optional<QString>(" p w0rd ") << "Mail password";
        QTest::newRow("untitled") << "" << std::optional<QString>("x") << "Password";
        QTest::newRow("no password") << "Mail" << std::optional<QString>() << "Mail password";
    }
    void showScreen()
    {
        QFETCH(QString, title);
        QFETCH(std::optional<QString>, password);
        QFETCH(QString, heading);
        ShowPasswordViewController screen(title, password);
        int closed = 0;
        screen.didClose = [&] { ++closed; };
        screen.show();
        QCOMPARE(screen.findChild<QLabel *>("titleLabel")->text(), heading);
        auto *label = screen.findChild<PasswordLabel *>("passwordLabel");
        QCOMPARE(label->text(), password.value_or(""));
        QCOMPARE(QFontInfo(label->font()).family(), "Inconsolata");
        click(&screen, "backButton");
        QCOMPARE(closed, 1);
    }
};

QTEST_MAIN(PasswordScreensTest)
#include "tst_passwordscreens.moc"
