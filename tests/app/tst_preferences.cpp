#include "app/Preferences.h"

#include <QSettings>
#include <QSignalSpy>
#include <QTemporaryDir>
#include <QTest>

#include <memory>

using pexi::Preferences;

namespace {

// Where a stored key is absent, the test says so with this value.
enum class Stored { absent, no, yes };

void store(QSettings &settings, const QString &key, Stored value)
{
    if (value == Stored::absent)
        settings.remove(key);
    else
        settings.setValue(key, value == Stored::yes);
    settings.sync();
}

} // namespace

Q_DECLARE_METATYPE(Stored)

class TestPreferences : public QObject
{
    Q_OBJECT

private:
    QString settingsPath() const { return m_dir->filePath(QStringLiteral("worker.conf")); }
    std::unique_ptr<QSettings> openSettings() const
    {
        return std::make_unique<QSettings>(settingsPath(), QSettings::IniFormat);
    }
    std::unique_ptr<Preferences> makePreferences(bool registered = true) const
    {
        auto preferences = std::make_unique<Preferences>(openSettings());
        if (registered)
            Preferences::registerDefaults(*preferences);
        return preferences;
    }

    std::unique_ptr<QTemporaryDir> m_dir;

private slots:
    void init()
    {
        m_dir = std::make_unique<QTemporaryDir>();
        QVERIFY(m_dir->isValid());
    }

    // Defaults and storage

    void freshSettingsReadTheRegisteredDefaults_data()
    {
        QTest::addColumn<bool>("registered");
        QTest::addColumn<bool>("expected");
        QTest::newRow("registered") << true << true;
        QTest::newRow("not registered") << false << false;
    }
    void freshSettingsReadTheRegisteredDefaults()
    {
        QFETCH(bool, registered);
        QFETCH(bool, expected);
        const auto preferences = makePreferences(registered);
        QCOMPARE(preferences->autoSavePasswords(), expected);
        QCOMPARE(preferences->showWelcomeScreen(), expected);
        // Without automatic saving notifications are on whatever is stored.
        QCOMPARE(preferences->showSaveNotifications(), true);
        // Registering never writes: the store stays empty.
        QVERIFY(openSettings()->allKeys().isEmpty());
    }

    void writesReachTheStoreAtOnce_data()
    {
        // The stored names, written out: renaming one would lose every user's choice.
        QTest::addColumn<QString>("key");
        QTest::addColumn<bool>("value");
        for (const bool value : {false, true}) {
            const char *suffix = value ? " on" : " off";
            QTest::addRow("auto save%s", suffix) << QStringLiteral("auto_save_passwords") << value;
            QTest::addRow("notifications%s", suffix)
                << QStringLiteral("save_notifications") << value;
            QTest::addRow("welcome%s", suffix) << QStringLiteral("show_welcome_screen") << value;
        }
    }
    void writesReachTheStoreAtOnce()
    {
        QFETCH(QString, key);
        QFETCH(bool, value);
        const auto preferences = makePreferences();
        if (key.startsWith(QLatin1String("auto")))
            preferences->setAutoSavePasswords(value);
        else if (key.startsWith(QLatin1String("save")))
            preferences->setShowSaveNotifications(value);
        else
            preferences->setShowWelcomeScreen(value);

        // Another reader of the same store sees it without the writer being destroyed first.
        const auto other = openSettings();
        QVERIFY(other->contains(key));
        QCOMPARE(other->value(key).toBool(), value);
        QCOMPARE(other->allKeys().size(), 1);
    }

    void readsSeeChangesMadeElsewhere()
    {
        const auto preferences = makePreferences();
        QCOMPARE(preferences->showWelcomeScreen(), true);
        const auto other = openSettings();
        store(*other, Preferences::Constants::showWelcomeScreen, Stored::no);
        QCOMPARE(preferences->showWelcomeScreen(), false);
    }

    // The notification rule

    void notificationsFollowAutoSave_data()
    {
        QTest::addColumn<Stored>("autoSave");
        QTest::addColumn<Stored>("notifications");
        QTest::addColumn<bool>("expected");
        QTest::newRow("both absent") << Stored::absent << Stored::absent << true;
        QTest::newRow("auto save, notifications off") << Stored::yes << Stored::no << false;
        QTest::newRow("auto save, notifications on") << Stored::yes << Stored::yes << true;
        QTest::newRow("auto save absent, notifications off")
            << Stored::absent << Stored::no << false;
        QTest::newRow("asking, notifications off") << Stored::no << Stored::no << true;
        QTest::newRow("asking, notifications on") << Stored::no << Stored::yes << true;
        QTest::newRow("asking, notifications absent") << Stored::no << Stored::absent << true;
    }
    void notificationsFollowAutoSave()
    {
        QFETCH(Stored, autoSave);
        QFETCH(Stored, notifications);
        QFETCH(bool, expected);
        {
            const auto settings = openSettings();
            store(*settings, Preferences::Constants::autoSavePasswords, autoSave);
            store(*settings, Preferences::Constants::showSaveNotifications, notifications);
        }
        const auto preferences = makePreferences();
        QCOMPARE(preferences->showSaveNotifications(), expected);
    }

    void storedNotificationChoiceComesBackWithAutoSave()
    {
        const auto preferences = makePreferences();
        preferences->setAutoSavePasswords(false);
        preferences->setShowSaveNotifications(false);
        QCOMPARE(preferences->showSaveNotifications(), true);
        // The read rule must not have touched what the user chose.
        QCOMPARE(openSettings()->value(Preferences::Constants::showSaveNotifications).toBool(),
                 false);
        preferences->setAutoSavePasswords(true);
        QCOMPARE(preferences->showSaveNotifications(), false);
    }

    // The status item

    void statusIconStartsVisibleEveryLaunch()
    {
        {
            const auto preferences = makePreferences();
            preferences->setShowStatusBarIcon(false);
            QCOMPARE(preferences->showStatusBarIcon(), false);
        }
        const auto preferences = makePreferences();
        QCOMPARE(preferences->showStatusBarIcon(), true);
        QVERIFY(openSettings()->allKeys().isEmpty());
    }

    void statusIconChangesAreAnnounced_data()
    {
        QTest::addColumn<QList<bool>>("writes");
        QTest::addColumn<QList<bool>>("announced");
        QTest::newRow("hide") << QList<bool>{false} << QList<bool>{false};
        QTest::newRow("hide, show") << QList<bool>{false, true} << QList<bool>{false, true};
        QTest::newRow("show while shown") << QList<bool>{true} << QList<bool>{};
        QTest::newRow("hide twice") << QList<bool>{false, false} << QList<bool>{false};
    }
    void statusIconChangesAreAnnounced()
    {
        QFETCH(QList<bool>, writes);
        QFETCH(QList<bool>, announced);
        const auto preferences = makePreferences();
        QSignalSpy spy(preferences.get(), &Preferences::showStatusBarIconChanged);
        for (const bool value : writes)
            preferences->setShowStatusBarIcon(value);
        QList<bool> seen;
        for (const QList<QVariant> &call : spy)
            seen.append(call.at(0).toBool());
        QCOMPARE(seen, announced);
        QCOMPARE(preferences->showStatusBarIcon(), writes.last());
    }
};

QTEST_GUILESS_MAIN(TestPreferences)
#include "tst_preferences.moc"
