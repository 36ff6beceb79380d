#include "capture/screen/SavePasswordViewController.h"

#include <QLabel>
#include <QLineEdit>
#include <QPushButton>
#include <QTest>

using namespace pexi;

namespace {

std::optional<QString> optional(const QString &text)
{
    return text == "-" ? std::nullopt : std::optional<QString>(text);
}

QString shown(const std::optional<QString> &text)
{
    return text ? '"' + *text + '"' : "absent";
}

} // namespace

class TestSavePasswordViewController : public QObject
{
    Q_OBJECT

private slots:
    // A captured login ("-": absent), a field the user empties with the keyboard, how the user
    // goes on (the Save button, Return, Cancel, Escape), then what the screen did: its messages,
    // the item it handed over, or that it asked to close.
    void review_data()
    {
        QTest::addColumn<QStringList>("captured"); // title, site, username, password
        QTest::addColumn<QString>("emptied");
        QTest::addColumn<QString>("press");
        QTest::addColumn<QStringList>("outcome");
        QTest::newRow("no title, no password: the title is asked for")
            << QStringList{"", "-", "-", ""} << ""
            << "save" << QStringList{"Please enter a title"};
        QTest::newRow("title of spaces and tabs")
            << QStringList{" \t ", "a.test", "ada", "pw"} << ""
            << "return" << QStringList{"Please enter a title"};
        QTest::newRow("password emptied")
            << QStringList{"Mail", "a.test", "ada", "pw"} << "Password"
            << "save" << QStringList{"Please enter a password"};
        QTest::newRow("trimmed, password as typed")
            << QStringList{" Mail\t", "\ta.test ", " ada ", " p w\t"} << ""
            << "save" << QStringList{"saved", "Mail", "\"a.test\"", "\"ada\"", " p w\t"};
        QTest::newRow("absent site and user name saved as empty")
            << QStringList{"Mail", "-", "-", " "} << ""
            << "return" << QStringList{"saved", "Mail", "\"\"", "\"\"", " "};
        QTest::newRow("user name emptied")
            << QStringList{"Mail", "a.test", "ada", "pw"} << "Username"
            << "save" << QStringList{"saved", "Mail", "\"a.test\"", "\"\"", "pw"};
        QTest::newRow("Cancel") << QStringList{"Mail", "-", "-", "pw"} << ""
                                << "cancel" << QStringList{"closed"};
        QTest::newRow("Escape") << QStringList{"", "-", "-", ""} << ""
                                << "escape" << QStringList{"closed"};
    }
    void review()
    {
        QFETCH(QStringList, captured);
        QFETCH(QString, emptied);
        QFETCH(QString, press);
        QFETCH(QStringList, outcome);
        SavePasswordViewController screen;
        const InventoryItem capture(captured[0], optional(captured[2]), captured[3],
                                    optional(captured[1]));
        screen.item = capture;
        QStringList done;
        std::optional<InventoryItem> saved;
        screen.didSavePassword = [&](const InventoryItem &item) {
            done << "saved";
            saved = item;
        };
        screen.didClose = [&] { done << "closed"; };
        screen.show();
        QVERIFY(QTest::qWaitForWindowExposed(&screen));

        auto *password = screen.findChild<QLineEdit *>("passwordField");
        if (!emptied.isEmpty()) {
            auto *field = screen.findChild<QLineEdit *>(emptied.toLower() + "Field");
            QCOMPARE(field->accessibleName(), emptied);
            field->setFocus();
            QTest::keyClick(field, Qt::Key_A, Qt::ControlModifier);
            QTest::keyClick(field, Qt::Key_Backspace);
        }
        if (press == "save")
            QTest::mouseClick(screen.actionButton(), Qt::LeftButton);
        else if (press == "return")
            QTest::keyClick(password, Qt::Key_Return);
        else if (press == "cancel")
            QTest::mouseClick(screen.findChild<QPushButton *>("backButton"), Qt::LeftButton);
        else
            QTest::keyClick(&screen, Qt::Key_Escape);

        for (const QLabel *hud : screen.findChildren<QLabel *>("hud"))
            done << hud->text();
        if (saved) {
            QCOMPARE(saved->uuid(), capture.uuid());
            done << saved->title() << shown(saved->site()) << shown(saved->username())
                 << saved->password();
        }
        QCOMPARE(done, outcome);
    }
};

QTEST_MAIN(TestSavePasswordViewController)
#include "tst_savepasswordviewcontroller.moc"
