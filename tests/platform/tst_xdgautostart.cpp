#include "platform/XdgAutostart.h"
#include "support/Files.h"

#include <QDir>
#include <QTemporaryDir>
#include <QTest>

using namespace pexi;

class TestXdgAutostart : public QObject
{
    Q_OBJECT

    QTemporaryDir m_root;
    QString userEntry() const { return m_root.filePath("home/autostart/pexi-worker.desktop"); }
    QString systemEntry() const { return m_root.filePath("system/autostart/pexi-worker.desktop"); }

    // "starts" or "hidden" writes an entry there; "" leaves none.
    static void write(const QString &path, const QString &kind)
    {
        if (kind.isEmpty())
            return;
        QVERIFY(QDir().mkpath(QFileInfo(path).path()));
        QVERIFY(writeFile(path, "[Desktop Entry]\nType=Application\nExec=pexi-worker\n" +
                                    QByteArray(kind == "hidden" ? "Hidden=true\n" : "")));
    }
    // What the user's entry says: "", "starts" or "hidden".
    QString userKind() const
    {
        const QByteArray entry = readFile(userEntry());
        return entry.isEmpty() ? "" : entry.contains("\nHidden=true\n") ? "hidden" : "starts";
    }

private slots:
    void init()
    {
        QDir(m_root.path()).removeRecursively();
        QVERIFY(QDir().mkpath(m_root.path()));
        qputenv("XDG_CONFIG_HOME", m_root.filePath("home").toUtf8());
        qputenv("XDG_CONFIG_DIRS",
                (m_root.filePath("elsewhere") + ':' + m_root.filePath("system")).toUtf8());
    }

    // An entry installed for everybody and one of the user's, then the choice made ("on",
    // "off" or none): whether the worker starts at login and what the user's entry says. One
    // written starts this very program, quoted as desktop entries want.
    void choice_data()
    {
        QTest::addColumn<QString>("installed");
        QTest::addColumn<QString>("user");
        QTest::addColumn<QString>("choice");
        QTest::addColumn<bool>("starts");
        QTest::addColumn<QString>("userAfter");
        const auto row = [](const char *name, const char *installed, const char *user,
                            const char *choice, bool starts, const char *userAfter) {
            QTest::newRow(name) << QString(installed) << QString(user) << QString(choice) << starts
                                << QString(userAfter);
        };
        row("nothing", "", "", "", false, "");
        row("installed", "starts", "", "", true, "");
        row("installed hidden", "hidden", "", "", false, "");
        row("user's hides installed", "starts", "hidden", "", false, "hidden");
        row("on", "", "", "on", true, "starts");
        row("off removes the user's", "", "starts", "off", false, "");
        row("off over installed hides", "starts", "", "off", false, "hidden");
        row("on again over installed", "starts", "hidden", "on", true, "starts");
        row("on over installed hidden", "hidden", "", "on", true, "starts");
    }
    void choice()
    {
        QFETCH(QString, installed);
        QFETCH(QString, user);
        QFETCH(QString, choice);
        QFETCH(bool, starts);
        QFETCH(QString, userAfter);
        write(systemEntry(), installed);
        write(userEntry(), user);
        XdgAutostart autostart("/opt/a\"b\\c");
        if (!choice.isEmpty())
            QVERIFY(autostart.setEnabled(choice == "on"));
        QCOMPARE(autostart.isEnabled(), starts);
        QCOMPARE(userKind(), userAfter);
        if (choice == "on")
            QVERIFY(readFile(userEntry()).contains("\nExec=\"/opt/a\\\\\"b\\\\\\\\c\"\n"));
    }
};

QTEST_GUILESS_MAIN(TestXdgAutostart)
#include "tst_xdgautostart.moc"
