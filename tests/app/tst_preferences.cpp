#include "app/Preferences.h"
#include "support/TemporaryPreferences.h"

#include <QSettings>
#include <QTemporaryDir>
#include <QTest>

#include <memory>

using pexi::Preferences;

class TestPreferences : public QObject
{
    Q_OBJECT

    TemporaryPreferences m_temporary;
    std::unique_ptr<QSettings> store() const { return m_temporary.store(); }
    std::unique_ptr<Preferences> preferences() const { return m_temporary.preferences(); }

private slots:
    void cleanup() { store()->clear(); }

    // Steps "auto|notifications|welcome|icon=0|1" go through the setters, "key=true|false" into
    // the store behind their back. Then: what the four settings read, what is stored, and which
    // status icon changes were announced ("-" for none).
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
        for (const QString &step : steps.split(u' ', Qt::SkipEmptyParts)) {
            const QString key = step.section(u'=', 0, 0), value = step.section(u'=', 1);
            if (setters.contains(key))
                (settings.get()->*setters[key])(value == "1");
            else
                store()->setValue(key, value == "true");
        }
        QStringList read, stored;
        for (const bool value : {settings->autoSavePasswords(), settings->showSaveNotifications(),
                                 settings->showWelcomeScreen(), settings->showStatusBarIcon()})
            read << QString::number(value);
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
};

QTEST_GUILESS_MAIN(TestPreferences)
#include "tst_preferences.moc"
