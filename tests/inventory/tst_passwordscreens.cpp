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
        const InventoryItem original = mail();
        EditPasswordViewController screen(original);
        QStringList done;
        screen.didUpdatePassword = [&](const InventoryItem &item) {
            QVERIFY(item.uuid() == original.uuid() && item.timestamp() == original.timestamp());
            done << QStringList{item.title(), item.site().value_or("-"),
                                item.username().value_or("-"), item.password()}
                        .join('|');
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
};

QTEST_MAIN(PasswordScreensTest)
#include "tst_passwordscreens.moc"
