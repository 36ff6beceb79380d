#include "app/Preferences.h"
#include "app/PreferencesViewController.h"
#include "app/Transformers.h"
#include "extension/BrowserController.h"
#include "support/DesktopDoubles.h"
#include "support/TemporaryPreferences.h"

#include <QApplication>
#include <QCheckBox>
#include <QComboBox>
#include <QFileInfo>
#include <QLabel>
#include <QPointer>
#include <QSaveFile>
#include <QSettings>
#include <QTemporaryDir>
#include <QTest>

using namespace pexi;

class TestPreferences : public QObject
{
    Q_OBJECT

    TemporaryPreferences m_temporary;
    NullLauncher m_launcher;
    BrowserController m_browsers{m_launcher};
    std::unique_ptr<QSettings> store() const { return m_temporary.store(); }
    std::unique_ptr<Preferences> preferences() const { return m_temporary.preferences(); }
    // As another program would: the settings file replaced, unknown to this process's QSettings,
    // a second later than it was last written (QSettings tells files apart by the millisecond).
    void storeElsewhere(const QString &key, const QString &value) const
    {
        QFile file(store()->fileName());
        const QDateTime written = QFileInfo(file).lastModified();
        QStringList lines{"[General]"};
        if (file.open(QIODevice::ReadOnly))
            lines = QString::fromUtf8(file.readAll()).split(u'\n', Qt::SkipEmptyParts);
        file.close();
        lines.removeIf([&](const QString &line) { return line.startsWith(key + u'='); });
        QSaveFile saved(file.fileName());
        QVERIFY(saved.open(QIODevice::WriteOnly));
        saved.write((lines.join(u'\n') + u'\n' + key + u'=' + value + u'\n').toUtf8());
        QVERIFY(saved.commit());
        if (written.isValid())
            QVERIFY(file.open(QIODevice::ReadWrite) &&
                    file.setFileTime(written.addSecs(1), QFileDevice::FileModificationTime));
    }

private slots:
    void cleanup() { store()->clear(); }

    // Steps "auto|notifications|welcome|icon=0|1" go through the setters, "key=true|false" into
    // the store behind their back, "read" reads every setting. Then: what the four settings read,
    // what is stored, and which status icon changes were announced ("-" for none).
    void settings_data()
    {
        QTest::addColumn<QString>("steps");
        QTest::addColumn<QString>("expected");
        const auto row = [](const char *name, const char *steps, const char *expected) {
            QTest::newRow(name) << QString(steps) << QString(expected);
        };
        row("fresh", "", "1 1 1 1 | - | -");
        row("setters write at once", "auto=0 welcome=0",
            "0 1 0 1 | auto_save_passwords=false show_welcome_screen=false | -");
        row("asking, notifications off", "auto=0 notifications=0",
            "0 1 1 1 | auto_save_passwords=false save_notifications=false | -");
        row("the choice comes back", "auto=0 notifications=0 auto=1",
            "1 0 1 1 | auto_save_passwords=true save_notifications=false | -");
        row("changed elsewhere", "save_notifications=false show_welcome_screen=false",
            "1 0 0 1 | save_notifications=false show_welcome_screen=false | -");
        row("changed elsewhere after a read", "read save_notifications=false read",
            "1 0 1 1 | save_notifications=false | -");
        row("changed back elsewhere", "welcome=0 read show_welcome_screen=true",
            "1 1 1 1 | show_welcome_screen=true | -");
        row("changed elsewhere, same size", "auto_save_passwords=1 read auto_save_passwords=0",
            "0 1 1 1 | auto_save_passwords=0 | -");
        row("icon hidden, shown", "icon=0 icon=1", "1 1 1 1 | - | 0 1");
        row("icon shown while shown", "icon=1", "1 1 1 1 | - | -");
        row("icon hidden twice", "icon=0 icon=0", "1 1 1 0 | - | 0");
    }
    void settings()
    {
        QFETCH(QString, steps);
        QFETCH(QString, expected);
        const auto settings = preferences();
        QStringList announced;
        connect(settings.get(), &Preferences::showStatusBarIconChanged,
                [&](bool shown) { announced << QString::number(shown); });
        const QHash<QString, void (Preferences::*)(bool)> setters{
            {"auto", &Preferences::setAutoSavePasswords},
            {"notifications", &Preferences::setShowSaveNotifications},
            {"welcome", &Preferences::setShowWelcomeScreen},
            {"icon", &Preferences::setShowStatusBarIcon}};
        const auto readAll = [&] {
            QStringList read;
            for (const bool value :
                 {settings->autoSavePasswords(), settings->showSaveNotifications(),
                  settings->showWelcomeScreen(), settings->showStatusBarIcon()})
                read << QString::number(value);
            return read;
        };
        for (const QString &step : steps.split(u' ', Qt::SkipEmptyParts)) {
            const QString key = step.section(u'=', 0, 0), value = step.section(u'=', 1);
            if (step == u"read")
                readAll();
            else if (setters.contains(key))
                (settings.get()->*setters[key])(value == "1");
            else
                storeElsewhere(key, value);
        }
        const QStringList read = readAll();
        QStringList stored;
        const auto other = store();
        for (const QString &key : other->allKeys())
            stored << key + "=" + other->value(key).toString();
        const auto group = [](const QStringList &list) {
            return list.isEmpty() ? QStringLiteral("-") : list.join(u' ');
        };
        QCOMPARE(group(read) + " | " + group(stored) + " | " + group(announced), expected);
        // The icon is never stored: every launch starts with it shown.
        QVERIFY(preferences()->showStatusBarIcon());
    }

    // Only a true bool reads as 0, and only an integer zero reads back as true: the pop-ups below
    // show both; nothing else does.
    void trueZeroFalseOne_data()
    {
        QTest::addColumn<QVariant>("value");
        QTest::newRow("nothing") << QVariant();
        QTest::newRow("\"0\"") << QVariant("0");
        QTest::newRow("0.0") << QVariant(0.0);
    }
    void trueZeroFalseOne()
    {
        QFETCH(QVariant, value);
        QCOMPARE(Transformers::TrueZeroFalseOne::transformedValue(value), QVariant(1));
        QCOMPARE(Transformers::TrueZeroFalseOne::reverseTransformedValue(value), QVariant(false));
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
        QVERIFY(first);
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

QTEST_MAIN(TestPreferences)
#include "tst_preferences.moc"
