#include "app/Preferences.h"
#include "app/Window.h"
#include "capture/SavePasswordController.h"
#include "core/Account.h"
#include "core/GridLibrary.h"
#include "core/Inventory.h"
#include "core/Locker.h"
#include "core/PictureLibrary.h"
#include "core/Vault.h"
#include "platform/UserNotificationCenter.h"

#include <QJsonDocument>
#include <QJsonObject>
#include <QSettings>
#include <QTemporaryDir>
#include <QTest>

#include <memory>

using namespace pexi;
using ActivationType = UserNotificationCenter::ActivationType;

namespace {

// Nine pictures of the library, three per grid.
QList<QStringList> chosenPictures()
{
    const QStringList names = PictureLibrary::names();
    return {names.mid(0, 3), names.mid(3, 3), names.mid(6, 3)};
}

const QPointF mouse(321.5, 123.25);

// The desktop's notification server cannot run here; this one keeps what it is given and lets
// the test click it.
class RecordingNotificationCenter : public UserNotificationCenter
{
public:
    struct Delivered
    {
        NotificationId id;
        UserNotification notification;
    };

    NotificationId deliverNotification(const UserNotification &notification) override
    {
        delivered.append({m_nextId, notification});
        return m_nextId++;
    }
    void removeDeliveredNotification(NotificationId id) override { removed.append(id); }

    void click(const Delivered &notification, ActivationType type)
    {
        activate(notification.id, notification.notification.userInfo, type);
    }
    void clickForeign(NotificationId id, const QVariantMap &userInfo, ActivationType type)
    {
        activate(id, userInfo, type);
    }

    QList<Delivered> delivered;
    QList<NotificationId> removed;

private:
    NotificationId m_nextId = 7;
};

class RecordingWindow : public Window
{
public:
    struct Shown
    {
        QPointF point;
        std::optional<InventoryItem> item;
    };

    void showAt(QPointF point) override { shown.append({point, std::nullopt}); }
    void showAt(QPointF point, const InventoryItem &item) override { shown.append({point, item}); }

    QList<Shown> shown;
};

QList<InventoryItem> storedItems()
{
    QList<InventoryItem> items;
    Locker::instance().runWithInventory(
        [&](Inventory &inventory) { items = inventory.itemList(); });
    return items;
}

InventoryItem
capturedLogin(const QString &password = QStringLiteral("correct horse"),
              const std::optional<QString> &username = QStringLiteral("ann@example.com"),
              const std::optional<QString> &site = QStringLiteral("https://example.com/login"))
{
    return InventoryItem(QStringLiteral("Example"), username, password, site);
}

} // namespace

class TestSavePasswordController : public QObject
{
    Q_OBJECT

private:
    QTemporaryDir m_dataDir;
    QTemporaryDir m_configDir;
    std::unique_ptr<Preferences> m_preferences;
    std::unique_ptr<RecordingNotificationCenter> m_center;
    std::unique_ptr<RecordingWindow> m_window;
    QStringList m_events;
    std::unique_ptr<SavePasswordController> m_controller;

    static bool unlock()
    {
        Account::shared().takeRecallSecret(GridLibrary::recallSecretForNames(chosenPictures()));
        return Locker::instance().unlock();
    }

    void setPreferences(bool autoSave, bool notifications)
    {
        m_preferences->setAutoSavePasswords(autoSave);
        m_preferences->setShowSaveNotifications(notifications);
    }

    // Commits one login with "ask before saving" and returns its notification.
    RecordingNotificationCenter::Delivered offer(const InventoryItem &item)
    {
        setPreferences(false, true);
        m_controller->setPendingItem(item);
        m_controller->commitProvisionalItem();
        return m_center->delivered.value(m_center->delivered.size() - 1);
    }

private slots:
    void initTestCase()
    {
        QVERIFY(m_dataDir.isValid());
        QVERIFY(m_configDir.isValid());
        // Before the first use of any vault singleton: they read these once.
        qputenv("PEXI_DATA_DIR", m_dataDir.path().toUtf8());
        qputenv("XDG_CONFIG_HOME", m_configDir.path().toUtf8());
        qputenv("PEXI_NO_KEYRING", "1");
        Vault::shared().create(chosenPictures());
        QVERIFY(unlock());
    }

    void init()
    {
        if (Locker::instance().lockState() == LockState::locked)
            QVERIFY(unlock());
        Locker::instance().runWithInventory([](Inventory &inventory) {
            for (const InventoryItem &item : inventory.itemList())
                inventory.deleteItem(item.uuid());
        });
        QVERIFY(storedItems().isEmpty());

        m_preferences = std::make_unique<Preferences>(std::make_unique<QSettings>(
            m_configDir.filePath(QStringLiteral("preferences.conf")), QSettings::IniFormat));
        Preferences::registerDefaults(*m_preferences);
        m_center = std::make_unique<RecordingNotificationCenter>();
        m_window = std::make_unique<RecordingWindow>();
        m_events.clear();

        SavePasswordController::Services services;
        services.preferences = m_preferences.get();
        services.logEvent = [this](const QString &name) { m_events.append(name); };
        services.notificationCenter = m_center.get();
        services.window = m_window.get();
        services.locker = &Locker::instance();
        services.mouseLocation = [] { return mouse; };
        m_controller = std::make_unique<SavePasswordController>(services);
    }

    void cleanup()
    {
        m_controller.reset();
        QFile::remove(m_configDir.filePath(QStringLiteral("preferences.conf")));
    }

    // Titles

    void titleIsGuessedFromTheSite_data()
    {
        QTest::addColumn<QString>("site");
        QTest::addColumn<std::optional<QString>>("title");
        const auto title = [](const char *text) { return std::optional(QString::fromUtf8(text)); };

        QTest::newRow("LinkedIn login") << "https://www.linkedin.com/login" << title("LinkedIn");
        QTest::newRow("Facebook without scheme") << "www.facebook.com" << title("Facebook");
        QTest::newRow("Google") << "https://accounts.google.com/signin/v2" << title("Google");
        QTest::newRow("Netflix") << "https://www.netflix.com/login" << title("Netflix");
        QTest::newRow("Amazon") << "https://www.amazon.com/ap/signin" << title("Amazon");
        QTest::newRow("Twitter") << "https://twitter.com/login" << title("Twitter");
        QTest::newRow("Pinterest") << "https://www.pinterest.com/login/" << title("Pinterest");
        QTest::newRow("Paypal") << "https://www.paypal.com/signin" << title("Paypal");
        QTest::newRow("Dropbox") << "https://www.dropbox.com/login" << title("Dropbox");
        QTest::newRow("Chase") << "https://secure01b.chase.com/web/auth" << title("Chase");
        // The table's Spotify host is misspelt: only that very host gets the table's title,
        // real Spotify pages are named from their host.
        QTest::newRow("misspelt Spotify row") << "accounts.spotfy.com" << title("Spotify");
        QTest::newRow("real Spotify page")
            << "https://accounts.spotify.com/login" << title("Spotify");
        QTest::newRow("misspelling elsewhere") << "https://login.spotfy.com" << title("Spotfy");

        // Hosts compare exactly: other hosts of a listed service are named by the rule.
        QTest::newRow("LinkedIn without www") << "https://linkedin.com/" << title("Linkedin");
        QTest::newRow("PayPal subdomain") << "https://history.paypal.com" << title("Paypal");
        QTest::newRow("Google mail") << "https://mail.google.com/mail" << title("Google");

        QTest::newRow("unknown site") << "https://login.example.org/x" << title("Example");
        QTest::newRow("country suffix") << "https://www.bbc.co.uk/signin" << title("Bbc");
        QTest::newRow("upper case") << "WWW.GITHUB.COM" << title("Github");
        QTest::newRow("hyphen") << "https://my-bank.com" << title("My-bank");
        QTest::newRow("IP address") << "http://192.168.1.1/login" << title("192.168.1.1");

        QTest::newRow("empty") << "" << std::optional<QString>();
        // Without a scheme the rest is not an address: its path would be relative.
        QTest::newRow("bare host with path")
            << "www.facebook.com/login" << std::optional<QString>();
        QTest::newRow("scheme only") << "https://" << std::optional<QString>();
    }
    void titleIsGuessedFromTheSite()
    {
        QFETCH(QString, site);
        QFETCH(std::optional<QString>, title);
        QCOMPARE(SavePasswordController::guessTitleForSite(site), title);
    }

    // Commit

    void commitFollowsThePreferences_data()
    {
        QTest::addColumn<bool>("autoSave");
        QTest::addColumn<bool>("notifications");
        QTest::addColumn<bool>("saved");
        QTest::addColumn<QString>("title");
        QTest::addColumn<QString>("actionButton");
        QTest::addColumn<QString>("otherButton");

        QTest::newRow("auto save, notify") << true << true << true << "Password Saved"
                                           << "Edit"
                                           << "Keep";
        QTest::newRow("auto save, quietly") << true << false << true << ""
                                            << ""
                                            << "";
        QTest::newRow("ask") << false << true << false << "Save Password?"
                             << "Save"
                             << "Skip";
        QTest::newRow("ask, notifications stored off")
            << false << false << false << "Save Password?"
            << "Save"
            << "Skip";
    }
    void commitFollowsThePreferences()
    {
        QFETCH(bool, autoSave);
        QFETCH(bool, notifications);
        QFETCH(bool, saved);
        QFETCH(QString, title);
        QFETCH(QString, actionButton);
        QFETCH(QString, otherButton);
        setPreferences(autoSave, notifications);
        const InventoryItem item = capturedLogin();

        m_controller->setPendingItem(item);
        m_controller->commitProvisionalItem();

        QVERIFY(!m_controller->pendingItem());
        const QList<InventoryItem> stored = storedItems();
        QCOMPARE(stored.size(), saved ? 1 : 0);
        QCOMPARE(m_events,
                 saved ? QStringList{QStringLiteral("Mac_PasswordCaptured")} : QStringList{});
        if (saved) {
            QCOMPARE(stored.first().username(), item.username());
            QCOMPARE(stored.first().password(), item.password());
            QCOMPARE(stored.first().site(), item.site());
            QCOMPARE(stored.first().title(), item.title());
        }

        if (title.isEmpty()) {
            QVERIFY(m_center->delivered.isEmpty());
            return;
        }
        QCOMPARE(m_center->delivered.size(), 1);
        const UserNotification &notification = m_center->delivered.first().notification;
        QCOMPARE(notification.title, title);
        QCOMPARE(notification.subtitle, QStringLiteral("Example"));
        QCOMPARE(notification.informativeText, QStringLiteral("ann@example.com"));
        QCOMPARE(notification.actionButtonTitle, actionButton);
        QCOMPARE(notification.otherButtonTitle, otherButton);
        QCOMPARE(notification.userInfo.size(), 2);
        QCOMPARE(notification.userInfo.value(QStringLiteral("saved")), QVariant(saved));
        const QVariant json = notification.userInfo.value(QStringLiteral("item_json"));
        QCOMPARE(json.typeId(), QMetaType::QString);
        const std::optional<InventoryItem> carried =
            InventoryItem::fromJson(QJsonDocument::fromJson(json.toString().toUtf8()).object());
        QVERIFY(carried);
        QVERIFY(*carried == item);
        QVERIFY(m_window->shown.isEmpty());
    }

    void informativeTextNamesTheLogin_data()
    {
        QTest::addColumn<std::optional<QString>>("username");
        QTest::addColumn<std::optional<QString>>("site");
        QTest::addColumn<QString>("text");
        const std::optional<QString> none;
        QTest::newRow("username") << std::optional<QString>(QStringLiteral("bob"))
                                  << std::optional<QString>(QStringLiteral("example.com")) << "bob";
        QTest::newRow("site without username")
            << none << std::optional<QString>(QStringLiteral("example.com")) << "example.com";
        QTest::newRow("empty username is still the username")
            << std::optional<QString>(QString())
            << std::optional<QString>(QStringLiteral("example.com")) << "";
        QTest::newRow("neither") << none << none << "";
    }
    void informativeTextNamesTheLogin()
    {
        QFETCH(std::optional<QString>, username);
        QFETCH(std::optional<QString>, site);
        QFETCH(QString, text);
        const auto notification = offer(capturedLogin(QStringLiteral("pw"), username, site));
        QCOMPARE(m_center->delivered.size(), 1);
        QCOMPARE(notification.notification.informativeText, text);
    }

    void commitWithoutPendingLoginDoesNothing_data()
    {
        QTest::addColumn<bool>("abortFirst");
        QTest::newRow("nothing stored") << false;
        QTest::newRow("stored, then aborted") << true;
    }
    void commitWithoutPendingLoginDoesNothing()
    {
        QFETCH(bool, abortFirst);
        setPreferences(true, true);
        if (abortFirst) {
            m_controller->setPendingItem(capturedLogin());
            m_controller->abortProvisionalItem();
            QVERIFY(!m_controller->pendingItem());
        }
        m_controller->commitProvisionalItem();
        QVERIFY(storedItems().isEmpty());
        QVERIFY(m_events.isEmpty());
        QVERIFY(m_center->delivered.isEmpty());
    }

    void knownLoginsAreNotSavedAgain_data()
    {
        QTest::addColumn<QString>("secondPassword");
        QTest::addColumn<int>("captured");
        QTest::addColumn<int>("notified");
        QTest::newRow("same login") << "correct horse" << 1 << 1;
        QTest::newRow("new password") << "battery staple" << 2 << 2;
    }
    void knownLoginsAreNotSavedAgain()
    {
        QFETCH(QString, secondPassword);
        QFETCH(int, captured);
        QFETCH(int, notified);
        setPreferences(true, true);
        // Separate captures: each has its own uuid, as two logins on the page would.
        m_controller->setPendingItem(capturedLogin());
        m_controller->commitProvisionalItem();
        m_controller->setPendingItem(capturedLogin(secondPassword));
        m_controller->commitProvisionalItem();

        QCOMPARE(m_events.size(), captured);
        QCOMPARE(m_events.count(QStringLiteral("Mac_PasswordCaptured")), captured);
        QCOMPARE(m_center->delivered.size(), notified);
        // A new password for the same account replaces the old one rather than adding a row.
        const QList<InventoryItem> stored = storedItems();
        QCOMPARE(stored.size(), 1);
        QCOMPARE(stored.first().password(), secondPassword);
        QVERIFY(!m_controller->pendingItem());
    }

    void nothingIsSavedWhileLocked()
    {
        setPreferences(true, true);
        Locker::instance().lock();
        m_controller->setPendingItem(capturedLogin());
        m_controller->commitProvisionalItem();
        QVERIFY(!m_controller->pendingItem());
        QVERIFY(m_events.isEmpty());
        QVERIFY(m_center->delivered.isEmpty());
        QVERIFY(unlock());
        QVERIFY(storedItems().isEmpty());
    }

    // Clicks on notifications

    void clicksOpenTheWindowWithTheLogin_data()
    {
        QTest::addColumn<bool>("autoSave");
        QTest::addColumn<ActivationType>("click");
        QTest::addColumn<int>("stored");
        QTest::addColumn<int>("captured");
        QTest::newRow("Save Password? body") << false << ActivationType::contentClicked << 0 << 0;
        QTest::newRow("Save Password? Save")
            << false << ActivationType::actionButtonClicked << 1 << 1;
        QTest::newRow("Password Saved body") << true << ActivationType::contentClicked << 1 << 1;
        QTest::newRow("Password Saved Edit")
            << true << ActivationType::actionButtonClicked << 1 << 1;
    }
    void clicksOpenTheWindowWithTheLogin()
    {
        QFETCH(bool, autoSave);
        QFETCH(ActivationType, click);
        QFETCH(int, stored);
        QFETCH(int, captured);
        setPreferences(autoSave, true);
        const InventoryItem item = capturedLogin();
        m_controller->setPendingItem(item);
        m_controller->commitProvisionalItem();
        QCOMPARE(m_center->delivered.size(), 1);
        const auto notification = m_center->delivered.first();

        m_center->click(notification, click);

        QCOMPARE(storedItems().size(), stored);
        QCOMPARE(m_events.size(), captured);
        // No "Password Saved" follows a save from the notification's button.
        QCOMPARE(m_center->delivered.size(), 1);
        QCOMPARE(m_center->removed, QList<UserNotificationCenter::NotificationId>{notification.id});
        QCOMPARE(m_window->shown.size(), 1);
        QCOMPARE(m_window->shown.first().point, mouse);
        QVERIFY(m_window->shown.first().item);
        QVERIFY(*m_window->shown.first().item == item);
    }

    void editingASavedLoginNeverSavesItAgain()
    {
        setPreferences(true, true);
        m_controller->setPendingItem(capturedLogin());
        m_controller->commitProvisionalItem();
        QCOMPARE(m_center->delivered.size(), 1);
        // The user deletes the saved login before getting to the notification.
        Locker::instance().runWithInventory([](Inventory &inventory) {
            for (const InventoryItem &item : inventory.itemList())
                inventory.deleteItem(item.uuid());
        });

        m_center->click(m_center->delivered.first(), ActivationType::actionButtonClicked);

        QVERIFY(storedItems().isEmpty());
        QCOMPARE(m_events, QStringList{QStringLiteral("Mac_PasswordCaptured")});
        QCOMPARE(m_window->shown.size(), 1);
    }

    void saveButtonSkipsALoginSavedMeanwhile()
    {
        const auto first = offer(capturedLogin());
        const auto second = offer(capturedLogin());
        m_center->click(first, ActivationType::actionButtonClicked);
        m_center->click(second, ActivationType::actionButtonClicked);
        QCOMPARE(storedItems().size(), 1);
        QCOMPARE(m_events, QStringList{QStringLiteral("Mac_PasswordCaptured")});
        QCOMPARE(m_window->shown.size(), 2);
    }

    void foreignNotificationsAreIgnored_data()
    {
        QTest::addColumn<QVariantMap>("userInfo");
        const QString json = capturedLogin().toJson();
        QTest::newRow("empty") << QVariantMap{};
        QTest::newRow("no saved flag") << QVariantMap{{"item_json", json}};
        QTest::newRow("no item") << QVariantMap{{"saved", false}};
        QTest::newRow("flag as text") << QVariantMap{{"saved", "false"}, {"item_json", json}};
        QTest::newRow("flag as number") << QVariantMap{{"saved", 0}, {"item_json", json}};
        QTest::newRow("item as bytes")
            << QVariantMap{{"saved", false}, {"item_json", json.toUtf8()}};
        QTest::newRow("item as object") << QVariantMap{
            {"saved", false}, {"item_json", QJsonDocument::fromJson(json.toUtf8()).toVariant()}};
        QTest::newRow("not JSON") << QVariantMap{{"saved", false}, {"item_json", "not json"}};
        QTest::newRow("truncated JSON")
            << QVariantMap{{"saved", false}, {"item_json", json.left(json.size() / 2)}};
        QTest::newRow("JSON array") << QVariantMap{{"saved", false}, {"item_json", "[]"}};
        QTest::newRow("not an item") << QVariantMap{{"saved", false}, {"item_json", "{}"}};
        QTest::newRow("other keys")
            << QVariantMap{{"saved", false}, {"item", json}, {"from", "another app"}};
    }
    void foreignNotificationsAreIgnored()
    {
        QFETCH(QVariantMap, userInfo);
        setPreferences(false, true);
        m_center->clickForeign(3, userInfo, ActivationType::actionButtonClicked);
        QVERIFY(m_center->removed.isEmpty());
        QVERIFY(m_window->shown.isEmpty());
        QVERIFY(m_events.isEmpty());
        QVERIFY(storedItems().isEmpty());
    }
};

QTEST_MAIN(TestSavePasswordController)
#include "tst_savepasswordcontroller.moc"
