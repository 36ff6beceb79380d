#include "platform/LinuxApplicationLauncher.h"
#include "support/Files.h"

#include <QFile>
#include <QTemporaryDir>
#include <QTest>

using pexi::LinuxApplicationLauncher;

namespace {
const QString bundleId = QStringLiteral("com.pexi.Password");
const QString parameter = QStringLiteral("open_safari_preferences");
} // namespace

// The desktop entries live in a temporary XDG data directory; the program they start is a script
// that writes the startup token it was given and its arguments, one per line.
class TestLinuxApplicationLauncher : public QObject
{
    Q_OBJECT

    QTemporaryDir m_home;
    QTemporaryDir m_data;
    QString m_script;
    QString m_output;

    void writeEntry(const QString &lines)
    {
        QVERIFY(writeFile(m_data.filePath("applications/" + bundleId + ".desktop"),
                          ("[Desktop Entry]\nType=Application\nName=Pexi\nIcon=pexi\n" +
                           QString(lines).replace("$SCRIPT", m_script))
                              .toUtf8()));
    }

private slots:
    void initTestCase()
    {
        QVERIFY(m_data.isValid() && m_home.isValid());
        QVERIFY(QDir(m_data.path()).mkpath("applications"));
        qputenv("XDG_DATA_HOME", m_home.path().toUtf8());
        qputenv("XDG_DATA_DIRS", m_data.path().toUtf8());
        // A token the desktop would hand the launched application to give it the focus.
        qputenv("DESKTOP_STARTUP_ID", "worker-token");
        m_script = m_data.filePath("main-app");
        m_output = m_data.filePath("launched");
        const QByteArray output = m_output.toUtf8();
        QVERIFY(writeFile(m_script, "#!/bin/sh\n{ echo \"${DESKTOP_STARTUP_ID:-no token}\"; "
                                    "printf '%s\\n' \"$@\"; } > " +
                                        output + ".part\nmv " + output + ".part " + output + "\n"));
        QVERIFY(QFile::setPermissions(m_script, QFile::ReadOwner | QFile::ExeOwner));
    }
    void cleanup() { QFile::remove(m_output); }

    // Lines of the entry after its name, and the arguments the application was started with (none
    // when the entry does not count as installed). The desktop's token is not handed on.
    void launch_data()
    {
        QTest::addColumn<QString>("entry");
        QTest::addColumn<QStringList>("started");
        const auto row = [](const char *name, const char *entry, const QStringList &started) {
            QTest::newRow(name) << QString(entry) << started;
        };
        row("URL field code", "Exec=$SCRIPT %U", {parameter});
        row("no field code: appended", "Exec=$SCRIPT --background", {"--background", parameter});
        row("code inside an argument", "Exec=$SCRIPT --uri=%u", {"--uri=" + parameter});
        row("quoted, icon, name, percent", "Exec=\"$SCRIPT\" \"a %u b\" %i %c 100%% %f",
            {"a %u b", "--icon", "pexi", "Pexi", "100%", parameter});
        // A string escape comes before the Exec quoting, so \s separates arguments.
        row("escaped space", "Exec=$SCRIPT two\\sparts %F", {"two", "parts", parameter});
        row("hidden", "Exec=$SCRIPT %U\nHidden=true", {});
        row("TryExec missing", "Exec=$SCRIPT %U\nTryExec=/nonexistent/main-app", {});
        row("unclosed quote", "Exec=\"$SCRIPT %U", {});
    }
    void launch()
    {
        QFETCH(QString, entry);
        QFETCH(QStringList, started);
        const bool installed = !started.isEmpty();
        writeEntry(entry);
        LinuxApplicationLauncher launcher;
        QCOMPARE(launcher.isInstalled(bundleId), installed);
        QCOMPARE(launcher.isInstalled(QStringLiteral("com.pexi.Other")), false);
        QCOMPARE(launcher.launch(bundleId, parameter), installed);
        if (!installed)
            return;
        QTRY_VERIFY(QFile::exists(m_output));
        QCOMPARE(QString::fromUtf8(readFile(m_output)).split('\n', Qt::SkipEmptyParts),
                 QStringList{"no token"} + started);
    }
};

QTEST_GUILESS_MAIN(TestLinuxApplicationLauncher)
#include "tst_linuxapplicationlauncher.moc"
