#include "support/Files.h"

#include <QElapsedTimer>
#include <QProcess>
#include <QRegularExpression>
#include <QTemporaryDir>
#include <QTest>

#include <unistd.h>

// Drives the real pexi-vault binary on a temporary data directory.
class TestVaultCli : public QObject
{
    Q_OBJECT

    struct Result
    {
        int exitCode = -1;
        QString out;
        QString err;
    };

    std::unique_ptr<QTemporaryDir> m_dir;
    QString m_letters;

    QString dataDir() const { return m_dir->path() + "/data"; }
    QString vaultFile() const { return dataDir() + "/vault.pexi"; }

    // The letters of the vault made by init() unless told otherwise.
    std::unique_ptr<QProcess> start(const QStringList &arguments, const QString &recall,
                                    const QString &directory)
    {
        QProcessEnvironment env = QProcessEnvironment::systemEnvironment();
        env.insert("XDG_CONFIG_HOME", m_dir->path() + "/config");
        env.insert("PEXI_NO_KEYRING", "1");
        env.insert("PEXI_RECALL", recall);
        auto process = std::make_unique<QProcess>();
        process->setProcessEnvironment(env);
        // No controlling terminal, as in CI: the tool must not wait for a prompt.
        process->setChildProcessModifier([] { ::setsid(); });
        process->start(PEXI_BIN_DIR "/pexi-vault",
                       QStringList{"--data-dir", directory.isEmpty() ? dataDir() : directory} +
                           arguments);
        return process;
    }
    Result run(const QStringList &arguments, const QByteArray &input = {},
               const std::optional<QString> &recall = {}, const QString &directory = {})
    {
        const auto process = start(arguments, recall.value_or(m_letters), directory);
        process->write(input);
        process->closeWriteChannel();
        process->waitForFinished(60000);
        return {process->exitCode(), QString::fromUtf8(process->readAllStandardOutput()),
                QString::fromUtf8(process->readAllStandardError())};
    }
    QStringList listed()
    {
        const Result result = run({"list"});
        return result.exitCode == 0 ? result.out.split('\n', Qt::SkipEmptyParts)
                                    : QStringList{"FAILED: " + result.err};
    }
    QByteArray vaultBytes() const { return readFile(vaultFile()) + readFile(vaultFile() + "-wal"); }
    QString written(const QString &name, const QByteArray &content)
    {
        const QString path = m_dir->filePath(name);
        return writeFile(path, content) ? path : QString();
    }

    // A vault from the first nine pictures; the letters printed name them in the grids.
    void makeVault()
    {
        const QStringList names = run({"pictures"}).out.split('\n', Qt::SkipEmptyParts);
        const Result made = run({"init", "--pictures", names.mid(0, 9).join(',')});
        m_letters = QRegularExpression("Unlock with: ([A-O]{3} [A-O]{3} [A-O]{3})")
                        .match(made.out)
                        .captured(1);
        QVERIFY2(!m_letters.isEmpty(), qPrintable(made.out + made.err));
        const QStringList lines = run({"grids"}).out.split('\n', Qt::SkipEmptyParts);
        QCOMPARE(lines.size(), 45);
        for (const QString &line : lines) {
            const QStringList parts = line.split(' ');
            const int grid = parts.value(0).toInt();
            QCOMPARE(m_letters.split(' ').value(grid - 1).contains(parts.value(1)),
                     names.mid((grid - 1) * 3, 3).contains(parts.value(2)));
        }
    }

private Q_SLOTS:
    void init()
    {
        m_dir = std::make_unique<QTemporaryDir>();
        makeVault();
    }

    void import_data()
    {
        QTest::addColumn<QByteArray>("csv");
        QTest::addColumn<QString>("summary");
        QTest::addColumn<QStringList>("expected");
        QTest::newRow("chrome export")
            << QByteArray("name,url,username,password,note\n"
                          "Shop,https://shop.example.com/login,ann,\"pa,ss\"\"word\",\n"
                          "Shop,https://shop.example.com/login,ann,\"pa,ss\"\"word\",\n"
                          "\"Multi\nline\",https://m.example.org,bob,pw2,note\n")
            << "Added 2, skipped 1 (duplicates)"
            << QStringList{"Multi line\tbob\thttps://m.example.org",
                           "Shop\tann\thttps://shop.example.com/login"};
        QTest::newRow("firefox export")
            << QByteArray("\"url\",\"username\",\"password\",\"httpRealm\",\"guid\"\r\n"
                          "\"https://accounts.example.net\",\"cat\",\"pw\",,\"{x}\"\r\n")
            << "Added 1, skipped 0 (duplicates)"
            << QStringList{"Example\tcat\thttps://accounts.example.net"};
        QTest::newRow("plain, no header")
            << QByteArray("Forum,forum.example,dan,pw\nblog,blog.example,,pw\n")
            << "Added 2, skipped 0 (duplicates)"
            << QStringList{"blog\t\tblog.example", "Forum\tdan\tforum.example"};
    }
    void import()
    {
        QFETCH(QByteArray, csv);
        QFETCH(QString, summary);
        QFETCH(QStringList, expected);
        const QString file = written("export.csv", csv);
        const Result first = run({"import", file});
        QVERIFY2(first.exitCode == 0 && first.out.startsWith(summary), qPrintable(first.out));
        QCOMPARE(listed(), expected);
        // Importing the same file again adds nothing and says why for every row.
        const Result again = run({"import", file});
        const int rows = int(expected.size() + first.out.count("repeats"));
        QCOMPARE(again.out.count("already saved"), rows);
        QVERIFY2(again.out.startsWith(QString("Added 0, skipped %1").arg(rows)),
                 qPrintable(again.out));
        QCOMPARE(listed(), expected);
    }

    // Every refusal is one line on stderr, a non-zero exit, and an untouched vault.
    void refusals_data()
    {
        QTest::addColumn<QString>("arguments");
        QTest::addColumn<QByteArray>("input");
        QTest::addColumn<QString>("recall");
        QTest::addColumn<int>("exitCode");
        QTest::addColumn<QString>("message");
        const auto row = [](const char *name, const char *arguments, const QByteArray &input,
                            const char *recall, int exitCode, const char *message) {
            QTest::newRow(name) << QString(arguments) << input << QString(recall) << exitCode
                                << QString(message);
        };
        row("wrong pictures", "list", {}, "<wrong>", 1, "wrong pictures");
        row("malformed letters", "list", {}, "ABZ CDE FGH", 1, "A to O");
        row("two groups", "list", {}, "ABC DEF", 1, "three groups");
        row("no terminal, no PEXI_RECALL", "list", {}, "", 1, "PEXI_RECALL");
        row("add without password", "add --title X", "\n", "<right>", 1, "password");
        row("add without title", "add --site x.example", "pw\n", "<right>", 1, "title");
        row("malformed csv row", "import <bad.csv>", {}, "<right>", 1, "row 3");
        row("csv file missing", "import /nonexistent/x.csv", {}, "<right>", 1, "cannot read");
        row("init over a vault", "init", {}, "<right>", 1, "already exists");
        row("unknown command", "frobnicate", {}, "<right>", 2, "unknown command");
        row("stray argument", "list extra", {}, "<right>", 2, "unexpected");
        row("bad device key", "import-device-key", "not a key\n", "<right>", 1, "device key");
        row("random device key", "import-device-key",
            "AAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAA=\n", "<right>", 1, "not the vault's");
    }
    void refusals()
    {
        QFETCH(QString, arguments);
        QFETCH(QByteArray, input);
        QFETCH(QString, recall);
        QFETCH(int, exitCode);
        QFETCH(QString, message);
        // Titles, user names and sites are stored trimmed; "list" prints them tab-separated.
        QCOMPARE(run({"add", "--title", " Existing ", "--username", " ann "}, "pw\r\n").exitCode,
                 0);
        arguments.replace("<bad.csv>", written("bad.csv", "title,url,username,password\n"
                                                          "ok,ok.example,u,p\n"
                                                          "broken,\"unterminated,u,p\n"));
        if (recall == "<wrong>") // every letter one place along
            for (QChar &c : recall = m_letters)
                c = c == ' ' ? c : QChar(c.unicode() == 'O' ? 'A' : c.unicode() + 1);
        const QByteArray before = vaultBytes();
        const Result result =
            run(arguments.split(' '), input, recall == "<right>" ? m_letters : recall);
        QCOMPARE(result.exitCode, exitCode);
        QVERIFY2(result.err.contains(message), qPrintable(result.err));
        if (exitCode == 1)
            QCOMPARE(result.err.count('\n'), 1);
        QCOMPARE(vaultBytes(), before);
        QCOMPARE(listed(), QStringList{"Existing\tann\t"});
    }

    // Without a vault every command but init refuses and makes nothing; init without pictures
    // draws them at random.
    void directoryWithoutAVault()
    {
        const QString other = m_dir->path() + "/other";
        for (const char *command : {"list", "grids", "export-device-key"}) {
            const Result result = run({command}, {}, {}, other);
            QVERIFY2(result.exitCode == 1 && result.err.contains("no vault"),
                     qPrintable(result.err));
            QVERIFY(!QFileInfo::exists(other));
        }
        const Result made = run({"init"}, {}, {}, other);
        QCOMPARE(made.out.count(QRegularExpression("^[1-3] [A-O] [a-z-]+$",
                                                   QRegularExpression::MultilineOption)),
                 9);
        const QString letters = QRegularExpression("Unlock with: (.*)").match(made.out).captured(1);
        QCOMPARE(run({"list"}, {}, letters, other).exitCode, 0);
    }

    void deviceKeyMovesBetweenDevices()
    {
        const Result exported = run({"export-device-key"});
        QCOMPARE(exported.out.trimmed().size(), 44);
        QVERIFY(QDir(m_dir->path() + "/config").removeRecursively()); // a new device: no key
        QVERIFY(run({"list"}).err.contains("no key"));
        QCOMPARE(run({"import-device-key"}, exported.out.toUtf8()).exitCode, 0);
        QCOMPARE(run({"list"}).exitCode, 0);
    }

    // A writer killed at any moment leaves the old or the new state: never half an import.
    void killedWriterLeavesOldOrNewState()
    {
        QByteArray csv = "title,url,username,password\n";
        const int rows = 20000;
        for (int i = 0; i < rows; ++i)
            csv += QStringLiteral("Site %1,site%1.example,user,pw%1\n").arg(i).toUtf8();
        const QString file = written("big.csv", csv);
        const auto startOver = [this] {
            for (const char *suffix : {"", "-wal", "-shm"})
                QFile::remove(vaultFile() + suffix);
            makeVault();
        };
        // One uninterrupted import tells how long the whole run takes on this machine; the kills
        // then land at evenly spread moments across it, key derivation and writing alike.
        QElapsedTimer timer;
        timer.start();
        QCOMPARE(run({"import", file}).exitCode, 0);
        const qint64 duration = timer.elapsed();
        startOver();
        const int attempts = 8;
        for (int attempt = 1; attempt <= attempts; ++attempt) {
            const auto writer = start({"import", file}, m_letters, {});
            QVERIFY(writer->waitForStarted());
            QTest::qWait(int(duration * attempt / (attempts + 1)));
            writer->kill();
            writer->waitForFinished(10000);
            const QStringList items = listed();
            QVERIFY2(items.isEmpty() || items.size() == rows, qPrintable(items.value(0)));
            if (!items.isEmpty())
                startOver();
        }
    }
};

QTEST_GUILESS_MAIN(TestVaultCli)
#include "tst_vaultcli.moc"
