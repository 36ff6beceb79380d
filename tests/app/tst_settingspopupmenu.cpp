#include "app/Deployment.h"
#include "app/Preferences.h"
#include "app/SettingsPopupMenu.h"
#include "app/SettingsPopupMenuItem.h"
#include "app/SettingsPopupMenuWindow.h"
#include "extension/BrowserController.h"
#include "platform/ApplicationLauncher.h"
#include "support/RecordingLauncher.h"
#include "support/TemporaryVault.h"

#include <QApplication>
#include <QFrame>
#include <QPointer>
#include <QPushButton>
#include <QSettings>
#include <QTest>

using namespace pexi;

namespace {

// Notes, for every action, whether the pop-up was still on screen when it ran.
QStringList events;
QPointer<SettingsPopupMenuWindow> popup;
void note(const QString &event)
{
    events << event + (popup && popup->isVisible() ? " over the pop-up" : "");
}

class NotingLauncher : public RecordingLauncher
{
public:
    bool openUrl(const QUrl &url, const QString &bundleIdentifier) override
    {
        note("open " + bundleIdentifier + ' ' + url.toString());
        return true;
    }
};

class NotingApplications : public ApplicationLauncher
{
public:
    bool isInstalled(const QString &bundleIdentifier) const override
    {
        return installed.contains(bundleIdentifier);
    }
    bool launch(const QString &bundleIdentifier, const QString &parameter) override
    {
        note("launch " + bundleIdentifier + ' ' + parameter);
        return true;
    }
    QStringList installed;
};

const QPointF mouse(640, 480);

} // namespace

class TestSettingsPopupMenu : public QObject
{
    Q_OBJECT

    QDateTime m_now = QDateTime(QDate(2024, 5, 1), QTime(12, 0), Qt::UTC);
    std::unique_ptr<TemporaryVault> m_vault;
    std::unique_ptr<Preferences> m_preferences;
    NotingLauncher m_launcher;
    NotingApplications m_applications;
    std::unique_ptr<BrowserController> m_browsers;
    std::unique_ptr<SettingsPopupMenu> m_menu;

    SettingsPopupMenuViewController *content() const
    {
        return popup->findChild<SettingsPopupMenuViewController *>();
    }
    void openPopup(QWidget *sender = nullptr)
    {
        m_menu->open(sender);
        popup = m_menu->windowController();
        QVERIFY(popup && QTest::qWaitForWindowExposed(popup));
    }

private slots:
    void initTestCase()
    {
        m_vault = std::make_unique<TemporaryVault>();
        m_vault->center.addObserver(Locker::PexiLockedNotification, nullptr,
                                    [](const QString &, const void *) { note("locked"); });
    }
    void init()
    {
        events.clear();
        m_preferences = std::make_unique<Preferences>(std::make_unique<QSettings>(
            m_vault->dir.filePath("worker.conf"), QSettings::IniFormat));
        m_launcher.installed = {"com.google.Chrome"};
        m_applications.installed = {MacAppController::bundleIdentifier};
        m_browsers = std::make_unique<BrowserController>(m_launcher, [this] { return m_now; });
        m_menu = std::make_unique<SettingsPopupMenu>(
            SettingsPopupMenuViewController::Services{m_vault->locker, *m_browsers, m_launcher,
                                                      m_applications, *m_preferences},
            [] { return mouse; });
    }
    void cleanup()
    {
        delete popup;
        delete m_preferences->windowController();
    }

    // Chrome (installed or not) and the extension last heard from `heard` seconds ago (-1:
    // never); the main application installed or not. Then the entries offered.
    void entries_data()
    {
        QTest::addColumn<bool>("chrome");
        QTest::addColumn<int>("heard");
        QTest::addColumn<bool>("mainApp");
        QTest::addColumn<QStringList>("offered");
        const QStringList all{"Lock Pexi", "Preferences…", "Get the Chrome Extension",
                              "Safari Extension Settings"};
        const QStringList noChrome{all[0], all[1], all[3]};
        QTest::newRow("installed, never heard") << true << -1 << true << all;
        QTest::newRow("installed, heard 29 s ago") << true << 29 << true << noChrome;
        QTest::newRow("not installed, never heard") << false << -1 << true << noChrome;
        QTest::newRow("no main application") << true << -1 << false << all.mid(0, 3);
    }
    void entries()
    {
        QFETCH(bool, chrome);
        QFETCH(int, heard);
        QFETCH(bool, mainApp);
        QFETCH(QStringList, offered);
        if (!chrome)
            m_launcher.installed.clear();
        if (!mainApp)
            m_applications.installed.clear();
        if (heard >= 0) {
            const QDateTime now = m_now;
            m_now = now.addSecs(-heard);
            m_browsers->recordMessage(QStringLiteral("chrome"), QStringLiteral("1.0"));
            m_now = now;
        }
        openPopup();
        QStringList shown;
        for (const auto *item : content()->findChildren<SettingsPopupMenuItem *>()) {
            if (item->isVisible())
                shown << item->title();
        }
        QCOMPARE(shown, offered);
        QCOMPARE(content()->chromeItemDivider()->isVisible(),
                 offered.contains("Get the Chrome Extension"));
        QCOMPARE(content()->safariItemDivider()->isVisible(),
                 offered.contains("Safari Extension Settings"));
    }

    // Opened from a button it hangs from the button's middle, from the keyboard from the mouse
    // pointer. Each entry (by its place) closes the pop-up, then acts; Escape or another window
    // taking over closes it, doing nothing else.
    void closesThenActs_data()
    {
        QTest::addColumn<QString>("action");
        QTest::addColumn<bool>("fromButton");
        QTest::addColumn<QStringList>("expected");
        QTest::newRow("lock") << "0" << false << QStringList{"locked"};
        QTest::newRow("preferences") << "1" << false << QStringList();
        QTest::newRow("chrome") << "2" << false
                                << QStringList{"open com.google.Chrome " +
                                               Deployment::chromeExtensionStorePage};
        QTest::newRow("safari") << "3" << false
                                << QStringList{"launch " + MacAppController::bundleIdentifier +
                                               " open_safari_preferences"};
        QTest::newRow("Escape") << "escape" << true << QStringList();
        QTest::newRow("another window") << "elsewhere" << false << QStringList();
    }
    void closesThenActs()
    {
        QFETCH(QString, action);
        QFETCH(bool, fromButton);
        QFETCH(QStringList, expected);
        // Unlocking derives the key: only where the lock entry needs an open vault.
        if (action == "0")
            QVERIFY(m_vault->unlock());
        QWidget list;
        list.setGeometry(300, 200, 320, 400);
        auto *settings = new QPushButton("Settings", &list);
        settings->setGeometry(260, 10, 40, 30);
        // Another window of ours, shown only where a row needs it: the entries are hovered.
        if (fromButton || action == "elsewhere") {
            list.show();
            QVERIFY(QTest::qWaitForWindowExposed(&list));
        }
        openPopup(fromButton ? settings : nullptr);
        const QPoint anchor = fromButton ? QPoint(300 + 280, 200 + 25) : mouse.toPoint();
        QCOMPARE(popup->geometry().topLeft() + QPoint(popup->width(), 0), anchor);
        QTRY_COMPARE(QApplication::activeWindow(), popup.data());
        const auto items = content()->findChildren<SettingsPopupMenuItem *>();
        if (action == "escape") {
            QTest::keyClick(popup, Qt::Key_Escape);
        } else if (action == "elsewhere") {
            list.activateWindow();
        } else {
            auto *item = items.at(action.toInt());
            QTest::mouseMove(item);
            QCOMPARE(std::count_if(items.begin(), items.end(),
                                   [](auto *each) { return each->isHighlighted(); }),
                     1);
            QVERIFY(item->isHighlighted());
            QTest::mouseClick(item, Qt::LeftButton);
            QVERIFY(!popup || !popup->isVisible());
        }
        QTRY_VERIFY(popup.isNull());
        QCOMPARE(events, expected);
        QCOMPARE(m_preferences->windowController() != nullptr, action == "1");
    }

    // The icons are drawn in the text colour, light or dark.
    void iconsFollowThePalette()
    {
        openPopup();
        for (const QColor text : {QColor(Qt::black), QColor(240, 240, 240)}) {
            QPalette palette = popup->palette();
            palette.setColor(QPalette::Text, text);
            popup->setPalette(palette);
            const QImage icon = content()->preferencesItemView()->icon().toImage();
            QSet<QRgb> opaque;
            for (int y = 0; y < icon.height(); ++y)
                for (int x = 0; x < icon.width(); ++x)
                    if (qAlpha(icon.pixel(x, y)) == 255)
                        opaque << icon.pixel(x, y);
            QCOMPARE(opaque, QSet<QRgb>{text.rgb()});
        }
    }
};

QTEST_MAIN(TestSettingsPopupMenu)
#include "tst_settingspopupmenu.moc"
