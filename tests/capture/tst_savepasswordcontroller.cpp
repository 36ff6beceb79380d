#include "capture/SavePasswordController.h"
#include "core/Inventory.h"
#include "support/DesktopDoubles.h"
#include "support/TemporaryVault.h"

#include <QSignalSpy>
#include <QTest>

#include <memory>

using namespace pexi;
using ActivationType = UserNotificationCenter::ActivationType;
using Optional = std::optional<QString>;

namespace {

const QPointF mouse(321.5, 123.25);

// Notification centre, floating window and analytics in one: each writes what it is asked to one
// log.
class Recorder : public UserNotificationCenter, public WindowPresenter, public EventLogger
{
public:
    NotificationId deliverNotification(const UserNotification &notification) override
    {
        delivered.append(notification);
        log << notification.title;
        return NotificationId(delivered.size());
    }
    void removeDeliveredNotification(NotificationId id) override
    {
        log << "removed " + QString::number(id);
    }
    void showAt(QPointF) override { log << "window without item"; }
    void showAt(QPointF point, const InventoryItem &item) override
    {
        log << (point == mouse ? "window " + item.uuid() : QStringLiteral("window elsewhere"));
    }
    void logEvent(const QString &name) override { log << name; }
    using UserNotificationCenter::activate;

    QList<UserNotification> delivered;
    QStringList log;
};

} // namespace

class TestSavePasswordController : public QObject
{
    Q_OBJECT

    std::unique_ptr<TemporaryVault> m_vault;
    FixedPreferences m_preferences;
    std::unique_ptr<Recorder> m_recorder;
    std::unique_ptr<SavePasswordController> m_controller;

    void capture(const InventoryItem &item, bool autoSave, bool notifications = true)
    {
        m_preferences.autoSave = autoSave;
        m_preferences.notifications = notifications;
        m_controller->setPendingItem(item);
        m_controller->commitProvisionalItem();
        QVERIFY(!m_controller->pendingItem());
    }
    // "uuid password" of every saved login; `clear` deletes them afterwards.
    QString stored(bool clear = false)
    {
        QStringList logins;
        m_vault->locker.runWithInventory([&](Inventory &inventory) {
            for (const InventoryItem &item : inventory.itemList()) {
                logins << item.uuid() + " " + item.password();
                if (clear)
                    inventory.deleteItem(item.uuid());
            }
        });
        return logins.join(", ");
    }

private slots:
    void initTestCase() { m_vault = std::make_unique<TemporaryVault>(); }
    void init()
    {
        m_controller.reset();
        QVERIFY(m_vault->locker.lockState() == LockState::unlocked || m_vault->unlock());
        stored(true);
        m_preferences = {};
        m_recorder = std::make_unique<Recorder>();
        m_controller = std::make_unique<SavePasswordController>(
            SavePasswordController::Services{m_preferences, *m_recorder, *m_recorder, *m_recorder,
                                             m_vault->locker, [] { return mouse; }});
    }

    // "site host": the host is what browser tracking reads from the site ("-": none).
    void titleIsGuessedFromTheSite_data()
    {
        QTest::addColumn<QString>("site");
        QTest::addColumn<QString>("host");
        QTest::addColumn<Optional>("title");
        const auto row = [](const char *site, const char *host, const Optional &title) {
            QTest::newRow(site) << QString(site) << (qstrcmp(host, "-") ? host : "") << title;
        };
        row("www.facebook.com", "www.facebook.com", "Facebook");
        // The table's Spotify host is misspelt: real Spotify pages are named by the rule.
        row("accounts.spotfy.com", "accounts.spotfy.com", "Spotify");
        row("https://login.example.org/x", "login.example.org", "Example");
        row("https://www.bbc.co.uk/signin", "www.bbc.co.uk", "Bbc");
        row("WWW.GITHUB.COM", "www.github.com", "Github");
        row("https://my-bank.com", "my-bank.com", "My-bank");
        row("", "-", std::nullopt);
        row("www.facebook.com/login", "-", std::nullopt);
    }
    void titleIsGuessedFromTheSite()
    {
        QFETCH(QString, site);
        QFETCH(QString, host);
        QFETCH(Optional, title);
        QCOMPARE(SavePasswordController::guessTitleForSite(site, host), title);
    }

    // The notification as "title|action|other|subtitle|informative text|saved", "" for none.
    void commitFollowsThePreferences_data()
    {
        QTest::addColumn<bool>("autoSave");
        QTest::addColumn<bool>("notifications");
        QTest::addColumn<Optional>("username");
        QTest::addColumn<Optional>("site");
        QTest::addColumn<QString>("notification");
        const auto row = [](const char *name, bool autoSave, bool notifications,
                            const Optional &username, const Optional &site, const char *shown) {
            QTest::newRow(name) << autoSave << notifications << username << site << QString(shown);
        };
        row("auto save", true, true, "ann", "e.com", "Password Saved|Edit|Keep|Example|ann|1");
        row("auto save quietly", true, false, "ann", "e.com", "");
        row("ask, no username", false, true, {}, "e.com",
            "Save Password?|Save|Skip|Example|e.com|0");
        row("ask, empty username", false, true, "", "e.com", "Save Password?|Save|Skip|Example||0");
        row("ask, neither username nor site", false, true, {}, {},
            "Save Password?|Save|Skip|Example||0");
    }
    void commitFollowsThePreferences()
    {
        QFETCH(bool, autoSave);
        QFETCH(bool, notifications);
        QFETCH(Optional, username);
        QFETCH(Optional, site);
        QFETCH(QString, notification);
        const InventoryItem item("Example", username, "pw", site);
        QSignalSpy changes(&m_vault->locker, &pexi::Locker::inventoryChanged);
        capture(item, autoSave, notifications);

        QCOMPARE(stored(), autoSave ? item.uuid() + " pw" : "");
        // A list on screen hears of the saved login.
        QCOMPARE(changes.size(), int(autoSave));
        if (autoSave)
            QCOMPARE(changes.first().first().value<pexi::InventoryChange>().added,
                     QStringList{item.uuid()});
        QCOMPARE(m_recorder->log.contains("Mac_PasswordCaptured"), autoSave);
        QCOMPARE(m_recorder->delivered.size(), int(!notification.isEmpty()));
        if (notification.isEmpty())
            return;
        const UserNotification &shown = m_recorder->delivered.first();
        QCOMPARE(QStringList({shown.title, shown.actionButtonTitle, shown.otherButtonTitle,
                              shown.subtitle, shown.informativeText,
                              QString::number(shown.userInfo.value("saved").toBool())})
                     .join(u'|'),
                 notification);
        QCOMPARE(shown.userInfo.keys(), QStringList({"item_json", "saved"}));
        QCOMPARE(InventoryItem::fromJsonText(shown.userInfo.value("item_json").toString()), item);
    }

    // Steps: "auto" or "ask" captures a new login U-n ("auto:PASSWORD" another password for the
    // same account); "store", "abort", "commit", "lock", "delete" (the saved logins); "body N" and
    // "button N" click notification N. Foreign clicks carry a broken "item_json" or "saved".
    void scenarios_data()
    {
        QTest::addColumn<QString>("steps");
        QTest::addColumn<QString>("log");
        QTest::addColumn<QString>("saved");
        const auto row = [](const char *name, const char *steps, const char *log,
                            const char *saved) {
            QTest::newRow(name) << QString(steps) << QString(log) << QString(saved);
        };
        row("commit without store", "commit", "", "");
        row("store, abort, commit", "store abort commit", "", "");
        row("commit while locked", "store lock commit", "", "");
        row("same login twice", "auto auto", "Mac_PasswordCaptured, Password Saved", "U-1 pw");
        row("new password", "auto auto:pw2",
            "Mac_PasswordCaptured, Password Saved, Mac_PasswordCaptured, Password Saved",
            "U-1 pw2");
        row("Save Password? body", "ask body1", "Save Password?, removed 1, window U-1", "");
        row("Save Password? Save", "ask button1",
            "Save Password?, removed 1, Mac_PasswordCaptured, window U-1", "U-1 pw");
        row("one login offered twice, saved twice", "ask ask button1 button2",
            "Save Password?, Save Password?, removed 1, Mac_PasswordCaptured, window U-1, "
            "removed 2, window U-2",
            "U-1 pw");
        row("Password Saved Edit", "auto delete button1",
            "Mac_PasswordCaptured, Password Saved, removed 1, window U-1", "");
        row("foreign: flag as text", "foreign:textflag", "", "");
        row("foreign: item as bytes", "foreign:bytes", "", "");
        row("foreign: not an item", "foreign:[]", "", "");
    }
    void scenarios()
    {
        QFETCH(QString, steps);
        QFETCH(QString, log);
        QFETCH(QString, saved);
        int captures = 0;
        const auto login = [&](const QString &password) {
            return InventoryItem("Example", "ann", password.isEmpty() ? "pw" : password,
                                 "https://example.com/login", {}, {},
                                 "U-" + QString::number(++captures));
        };
        for (const QString &step : steps.split(u' ')) {
            const QString argument = step.section(u':', 1);
            const int number = step.right(1).toInt();
            if (step.startsWith("auto") || step.startsWith("ask"))
                capture(login(argument), step.startsWith("auto"));
            else if (step == "store")
                m_controller->setPendingItem(login({}));
            else if (step == "abort")
                m_controller->abortProvisionalItem();
            else if (step == "commit")
                m_controller->commitProvisionalItem();
            else if (step == "lock")
                m_vault->locker.lock();
            else if (step == "delete")
                stored(true);
            else if (step.startsWith("body") || step.startsWith("button"))
                m_recorder->activate(number, m_recorder->delivered.at(number - 1).userInfo,
                                     step.startsWith("body") ? ActivationType::contentClicked
                                                             : ActivationType::actionButtonClicked);
            else if (step.startsWith("foreign")) {
                const QString json = login({}).toJson();
                const QVariantMap userInfo =
                    argument == "textflag" ? QVariantMap{{"saved", "false"}, {"item_json", json}}
                    : argument == "bytes"
                        ? QVariantMap{{"saved", false}, {"item_json", json.toUtf8()}}
                        : QVariantMap{{"saved", false}, {"item_json", argument}};
                m_recorder->activate(9, userInfo, ActivationType::actionButtonClicked);
            }
        }
        QVERIFY(m_vault->locker.lockState() == LockState::unlocked || m_vault->unlock());
        QVERIFY(!m_controller->pendingItem());
        QCOMPARE(m_recorder->log.join(", "), log);
        QCOMPARE(stored(), saved);
    }
};

QTEST_MAIN(TestSavePasswordController)
#include "tst_savepasswordcontroller.moc"
