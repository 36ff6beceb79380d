#include "capture/screen/SavePasswordViewController.h"

#include <QLabel>
#include <QLineEdit>
#include <QPushButton>
#include <QTest>

using namespace pexi;

class TestSavePasswordViewController : public QObject
{
    Q_OBJECT

private slots:
    // A captured login (title, site, user name, password; null: absent), a field the user empties
    // with the keyboard, how the user goes on, then what the screen did: its messages, the item
    // it handed over (absent or "quoted" site and user name), or that it asked to close.
    void review_data()
    {
        QTest::addColumn<QStringList>("captured");
        QTest::addColumn<QString>("emptied");
        QTest::addColumn<QString>("press");
        QTest::addColumn<QStringList>("outcome");
        const auto row = [](const char *name, const QStringList &captured, const char *emptied,
                            const char *press, const QStringList &outcome) {
            QTest::newRow(name) << captured << QString(emptied) << QString(press) << outcome;
        };
        const QStringList mail{"Mail", "a.test", "ada", "pw"}, saved{"saved", "Mail", "\"a.test\""};
        row("no title, no password", {"", {}, {}, ""}, "", "save", {"Please enter a title"});
        row("title of spaces and tabs", {" \t ", {}, {}, "pw"}, "", "return",
            {"Please enter a title"});
        row("password emptied", mail, "password", "save", {"Please enter a password"});
        row("trimmed, password as typed", {" Mail\t", "\ta.test ", " ada ", " p w\t"}, "", "save",
            saved + QStringList{"\"ada\"", " p w\t"});
        row("absent site and user name saved as empty", {"Mail", {}, {}, " "}, "", "return",
            {"saved", "Mail", "\"\"", "\"\"", " "});
        row("user name emptied", mail, "username", "save", saved + QStringList{"\"\"", "pw"});
        row("Cancel", mail, "", "cancel", {"closed"});
        row("Escape", mail, "", "escape", {"closed"});
    }
    void review()
    {
        QFETCH(QStringList, captured);
        QFETCH(QString, emptied);
        QFETCH(QString, press);
        QFETCH(QStringList, outcome);
        const auto optional = [](const QString &text) {
            return text.isNull() ? std::nullopt : std::optional<QString>(text);
        };
        const auto quoted = [](const std::optional<QString> &text) {
            return text ? '"' + *text + '"' : "absent";
        };
        SavePasswordViewController screen;
        screen.item =
            InventoryItem(captured[0], optional(captured[2]), captured[3], optional(captured[1]));
        QStringList done;
        screen.didSavePassword = [&](const InventoryItem &item) {
            QCOMPARE(item.uuid(), screen.item.uuid());
            done << "saved" << item.title() << quoted(item.site()) << quoted(item.username())
                 << item.password();
        };
        screen.didClose = [&] { done << "closed"; };
        screen.show();
        QVERIFY(QTest::qWaitForWindowExposed(&screen));

        if (!emptied.isEmpty()) {
            auto *field = screen.findChild<QLineEdit *>(emptied + "Field");
            field->setFocus();
            QTest::keyClick(field, Qt::Key_A, Qt::ControlModifier);
            QTest::keyClick(field, Qt::Key_Backspace);
        }
        if (press == "save")
            QTest::mouseClick(screen.actionButton(), Qt::LeftButton);
        else if (press == "return")
            QTest::keyClick(screen.findChild<QLineEdit *>("passwordField"), Qt::Key_Return);
        else if (press == "cancel")
            QTest::mouseClick(screen.findChild<QPushButton *>("backButton"), Qt::LeftButton);
        else
            QTest::keyClick(&screen, Qt::Key_Escape);
        for (const QLabel *hud : screen.findChildren<QLabel *>("hud"))
            done << hud->text();
        QCOMPARE(done, outcome);
    }
};

QTEST_MAIN(TestSavePasswordViewController)
#include "tst_savepasswordviewcontroller.moc"
