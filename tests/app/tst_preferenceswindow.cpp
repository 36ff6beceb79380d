#include "app/Preferences.h"
#include "app/PreferencesViewController.h"
#include "app/Transformers.h"
#include "extension/BrowserController.h"
#include "support/DesktopDoubles.h"
#include "support/TemporaryPreferences.h"

#include <QApplication>
#include <QCheckBox>
#include <QComboBox>
#include <QLabel>
#include <QPointer>
#include <QSettings>
#include <QTemporaryDir>
#include <QTest>

using namespace pexi;

class TestPreferencesWindow : public QObject
{
    Q_OBJECT

    TemporaryPreferences m_temporary;
    NullLauncher m_launcher;
    BrowserController m_browsers{m_launcher};
    std::unique_ptr<QSettings> store() const { return m_temporary.store(); }
    std::unique_ptr<Preferences> preferences() const { return m_temporary.preferences(); }

private slots:
    void cleanup() { store()->clear(); }

    // Only a true bool reads as 0, and only an integer zero reads back as true.
    void trueZeroFalseOne_data()
    {
        QTest::addColumn<QVariant>("value");
        QTest::addColumn<int>("forward");
        QTest::addColumn<bool>("reverse");
        QTest::newRow("true") << QVariant(true) << 0 << false;
        QTest::newRow("nothing") << QVariant() << 1 << false;
        QTest::newRow("0") << QVariant(0) << 1 << true;
        QTest::newRow("1") << QVariant(1) << 1 << false;
        QTest::newRow("\"0\"") << QVariant("0") << 1 << false;
        QTest::newRow("0.0") << QVariant(0.0) << 1 << false;
    }
    void trueZeroFalseOne()
    {
        QFETCH(QVariant, value);
        QFETCH(int, forward);
        QFETCH(bool, reverse);
        QCOMPARE(Transformers::TrueZeroFalseOne::transformedValue(value), QVariant(forward));
        QCOMPARE(Transformers::TrueZeroFalseOne::reverseTransformedValue(value), QVariant(reverse));
    }

    // Choices "auto" / "ask" / "always" / "never", made with the keyboard on the pop-ups as a
    // person would, after `stored` went into the store. Then the two pop-ups' entries and what is
    // stored.
    void popups_data()
    {
        QTest::addColumn<QString>("stored");
        QTest::addColumn<QString>("choices");
        QTest::addColumn<QString>("expected");
        const auto row = [](const char *name, const char *stored, const char *choices,
                            const char *expected) {
            QTest::newRow(name) << QString(stored) << QString(choices) << QString(expected);
        };
        row("fresh", "", "", "0 0 | ");
        row("stored settings shown", "auto_save_passwords=true save_notifications=false", "",
            "0 1 | auto_save_passwords=true save_notifications=false");
        row("asking shows always", "auto_save_passwords=false save_notifications=false", "",
            "1 0 | auto_save_passwords=false save_notifications=false");
        row("never", "", "never", "0 1 | save_notifications=false");
        row("ask moves notifications to always, store kept", "", "never ask",
            "1 0 | auto_save_passwords=false save_notifications=false");
        row("back to saving: nothing moves", "", "never ask auto",
            "0 0 | auto_save_passwords=true save_notifications=false");
        row("never while asking", "", "ask never",
            "1 1 | auto_save_passwords=false save_notifications=false");
    }
    void popups()
    {
        QFETCH(QString, stored);
        QFETCH(QString, choices);
        QFETCH(QString, expected);
        {
            const auto settings = store();
            for (const QString &pair : stored.split(' ', Qt::SkipEmptyParts))
                settings->setValue(pair.section('=', 0, 0), pair.section('=', 1) == "true");
        }
        const auto settings = preferences();
        PreferencesViewController window(*settings, m_browsers);
        window.show();
        for (const QString &choice : choices.split(' ', Qt::SkipEmptyParts)) {
            const bool first = choice == "auto" || choice == "always";
            QComboBox *popup = choice == "auto" || choice == "ask" ? window.autoSave()
                                                                   : window.showNotifications();
            QTest::keyClick(popup, first ? Qt::Key_Home : Qt::Key_End);
        }
        QStringList written;
        const auto store = this->store();
        for (const QString &key : store->allKeys())
            written << key + '=' + store->value(key).toString();
        QCOMPARE(QStringLiteral("%1 %2 | %3")
                     .arg(window.autoSave()->currentIndex())
                     .arg(window.showNotifications()->currentIndex())
                     .arg(written.join(' ')),
                 expected);
    }

    void chromeBuild()
    {
        const auto settings = preferences();
        QCOMPARE(PreferencesViewController(*settings, m_browsers).chromeBuild()->text(),
                 "Not connected yet");
        m_browsers.recordMessage(QStringLiteral("chrome"), "2.4.1");
        QCOMPARE(PreferencesViewController(*settings, m_browsers).chromeBuild()->text(),
                 "Build 2.4.1");
    }

    // Clicks on "Start at login" as a person makes them, with the user's configuration in
    // `home`; a choice that cannot be written is taken back on screen.
    void startAtLogin_data()
    {
        QTest::addColumn<QString>("home");
        QTest::addColumn<int>("clicks");
        QTest::addColumn<bool>("checked");
        QTest::newRow("on") << "config" << 1 << true;
        QTest::newRow("on, off") << "config" << 2 << false;
        QTest::newRow("cannot be written") << "file" << 1 << false;
    }
    void startAtLogin()
    {
        QFETCH(QString, home);
        QFETCH(int, clicks);
        QFETCH(bool, checked);
        QTemporaryDir root;
        QFile(root.filePath("file")).open(QIODevice::WriteOnly);
        qputenv("XDG_CONFIG_HOME", root.filePath(home).toUtf8());
        qputenv("XDG_CONFIG_DIRS", root.filePath("system").toUtf8());
        const auto settings = preferences();
        XdgAutostart autostart("/usr/bin/pexi-worker");
        PreferencesViewController window(*settings, m_browsers, autostart);
        window.show();
        QVERIFY(!window.startAtLogin()->isChecked());
        for (int click = 0; click < clicks; ++click)
            QTest::mouseClick(window.startAtLogin(), Qt::LeftButton);
        QCOMPARE(window.startAtLogin()->isChecked(), checked);
        QCOMPARE(autostart.isEnabled(), checked);
    }

    void showWindowReplacesTheWindow()
    {
        const auto settings = preferences();
        settings->showWindow();
        QPointer<QWidget> first = settings->windowController();
        QVERIFY(first && first->isVisible());
        QTRY_COMPARE(QApplication::activeWindow(), first.data());
        settings->showWindow();
        QVERIFY(first.isNull());
        QPointer<QWidget> second = settings->windowController();
        QVERIFY(second && second->isVisible());
        QTRY_COMPARE(QApplication::activeWindow(), second.data());
        second->close();
        QTRY_VERIFY(second.isNull());
        QCOMPARE(settings->windowController(), nullptr);
    }
};

QTEST_MAIN(TestPreferencesWindow)
#include "tst_preferenceswindow.moc"
