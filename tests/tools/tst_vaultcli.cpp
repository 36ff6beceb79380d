#include <QElapsedTimer>
#include <QProcess>
#include <QRandomGenerator>
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

    QProcess *start(const QStringList &arguments, const QString &recall,
                    const QString &directory = {})
    {
        QProcessEnvironment env = QProcessEnvironment::systemEnvironment();
        env.insert("XDG_CONFIG_HOME", m_dir->path() + "/config");
        env.insert("PEXI_NO_KEYRING", "1");
        env.remove("PEXI_RECALL");
        if (!recall.isEmpty())
            env.insert("PEXI_RECALL", recall);
        auto *process = new QProcess(this);
        process->setProcessEnvironment(env);
        // No controlling terminal, as in CI: the tool must not wait for a prompt.
        process->setChildProcessModifier([] { ::setsid(); });
        process->start(PEXI_BIN_DIR "/pexi-vault",
                       QStringList{"--data-dir", directory.isEmpty() ? dataDir() : directory} +
                           arguments);
        return process;
    }

    // "<right>" stands for the letters of the vault made by init().
    Result run(const QStringList &arguments, const QByteArray &input = {},
               const QString &recall = QStringLiteral("<right>"), const QString &directory = {})
    {
        QProcess *process = start(arguments, recall == "<right>" ? m_letters : recall, directory);
        process->write(input);
        process->closeWriteChannel();
        process->waitForFinished(60000);
        Result result{process->exitCode(), QString::fromUtf8(process->readAllStandardOutput()),
                      QString::fromUtf8(process->readAllStandardError())};
        delete process;
        return result;
    }

    // The right letters with the first grid's three replaced by three others.
    QString wrongLetters() const
    {
        QString first;
        for (char c = 'A'; first.size() < 3; ++c) {
            if (!m_letters.left(3).contains(QChar(c)))
                first.append(QChar(c));
        }
        return first + m_letters.mid(3);
    }

    QString dataDir() const { return m_dir->path() + "/data"; }
    QString vaultFile() const { return dataDir() + "/vault.pexi"; }

    QStringList listed()
    {
        const Result result = run({"list"});
        if (result.exitCode != 0)
            return {"FAILED: " + result.err};
        return result.out.split('\n', Qt::SkipEmptyParts);
    }

    QByteArray vaultBytes() const
    {
        QByteArray bytes;
        for (const char *suffix : {"", "-wal"}) {
            QFile file(vaultFile() + suffix);
            if (file.open(QIODevice::ReadOnly))
                bytes += file.readAll();
        }
        return bytes;
    }

    QString writeFile(const QString &name, const QByteArray &content)
    {
        QFile file(m_dir->path() + "/" + name);
        file.open(QIODevice::WriteOnly);
        file.write(content);
        return file.fileName();
    }

    void makeVault()
    {
        const QStringList names = run({"pictures"}).out.split('\n', Qt::SkipEmptyParts);
        QVERIFY(names.size() >= 150);
        const Result made = run({"init", "--pictures", names.mid(0, 9).join(',')});
        QCOMPARE(made.exitCode, 0);
        const QRegularExpressionMatch unlock =
            QRegularExpression("Unlock with: ([A-O]{3} [A-O]{3} [A-O]{3})").match(made.out);
        QVERIFY2(unlock.hasMatch(), qPrintable(made.out));
        m_letters = unlock.captured(1);

        // The letters printed at init name the chosen pictures in the grids.
        const Result grids = run({"grids"});
        QCOMPARE(grids.exitCode, 0);
        const QStringList lines = grids.out.split('\n', Qt::SkipEmptyParts);
        QCOMPARE(lines.size(), 45);
        const QStringList groups = m_letters.split(' ');
        for (const QString &line : lines) {
            const QStringList parts = line.split(' ');
            QCOMPARE(parts.size(), 3);
            const int grid = parts[0].toInt();
            const bool chosen = groups.value(grid - 1).contains(parts[1]);
            QCOMPARE(chosen, names.mid((grid - 1) * 3, 3).contains(parts[2]));
        }
    }

private Q_SLOTS:
    // Each test starts from a fresh vault made from the first nine pictures.
    void init()
    {
        m_dir = std::make_unique<QTemporaryDir>();
        makeVault();
    }

    void addAndList()
    {
        QCOMPARE(run({"add", "--title", " Zebra mail ", "--username", "zed"}, "  spaced pass \n")
                     .exitCode,
                 0);
        QCOMPARE(run({"add", "--title", "apple", "--site", "apple.example"}, "p\r\nsecond line\n")
                     .exitCode,
                 0);
        QCOMPARE(listed(), (QStringList{"apple\t\tapple.example", "Zebra mail\tzed\t"}));
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
            << QByteArray(
                   "\"url\",\"username\",\"password\",\"httpRealm\",\"formActionOrigin\",\"guid\","
                   "\"timeCreated\",\"timeLastUsed\",\"timePasswordChanged\"\r\n"
                   "\"https://"
                   "accounts.example.net\",\"cat\",\"pw\",,\"\",\"{x}\",\"1\",\"2\",\"3\"\r\n")
            << "Added 1, skipped 0 (duplicates)"
            << QStringList{"Example\tcat\thttps://accounts.example.net"};
        QTest::newRow("plain, no header")
            << QByteArray("Forum,forum.example,dan,pw\nBlog,blog.example,,pw\n")
            << "Added 2, skipped 0 (duplicates)"
            << QStringList{"Blog\t\tblog.example", "Forum\tdan\tforum.example"};
    }

    void import()
    {
        QFETCH(QByteArray, csv);
        QFETCH(QString, summary);
        QFETCH(QStringList, expected);
        const Result first = run({"import", writeFile("export.csv", csv)});
        QCOMPARE(first.exitCode, 0);
        QVERIFY2(first.out.startsWith(summary), qPrintable(first.out));
        QCOMPARE(listed(), expected);
        // Importing the same file again adds nothing and says why for every row.
        const Result again = run({"import", writeFile("export.csv", csv)});
        QCOMPARE(again.exitCode, 0);
        QVERIFY2(
            again.out.startsWith(
                QString("Added 0, skipped %1").arg(expected.size() + first.out.count("repeats"))),
            qPrintable(again.out));
        QVERIFY(again.out.contains("already saved"));
        QCOMPARE(listed(), expected);
    }

    // Every refusal is one line on stderr, a non-zero exit, and an untouched vault.
    void refusals_data()
    {
        QTest::addColumn<QStringList>("arguments");
        QTest::addColumn<QByteArray>("input");
        QTest::addColumn<QString>("recall");
        QTest::addColumn<int>("exitCode");
        QTest::addColumn<QString>("message");
        const auto row = [](const char *name, const QString &arguments, const QByteArray &input,
                            const char *recall, int exitCode, const char *message) {
            QTest::newRow(name) << arguments.split(u' ') << input << QString(recall) << exitCode
                                << QString(message);
        };
        row("wrong pictures", "list", {}, "<wrong>", 1, "wrong pictures");
        row("malformed letters", "list", {}, "ABZ CDE FGH", 1, "A to O");
        row("two groups", "list", {}, "ABC DEF", 1, "three groups");
        row("no terminal, no PEXI_RECALL", "list", {}, "", 1, "PEXI_RECALL");
        row("add with wrong pictures", "add --title X", "pw\n", "<wrong>", 1, "wrong pictures");
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
        QFETCH(QStringList, arguments);
        QFETCH(QByteArray, input);
        QFETCH(QString, recall);
        QFETCH(int, exitCode);
        QFETCH(QString, message);
        QCOMPARE(run({"add", "--title", "Existing"}, "pw\n").exitCode, 0);
        arguments.replaceInStrings("<bad.csv>",
                                   writeFile("bad.csv", "title,url,username,password\n"
                                                        "ok,ok.example,u,p\n"
                                                        "broken,\"unterminated,u,p\n"));
        if (recall == "<wrong>")
            recall = wrongLetters();
        const QByteArray before = vaultBytes();
        const Result result = run(arguments, input, recall);
        QCOMPARE(result.exitCode, exitCode);
        QVERIFY2(result.err.contains(message), qPrintable(result.err));
        if (exitCode == 1)
            QCOMPARE(result.err.count('\n'), 1);
        QCOMPARE(vaultBytes(), before);
        QCOMPARE(listed(), QStringList{"Existing\t\t"});
    }

    // Without a vault every command but init refuses and makes nothing; init without pictures
    // draws them at random.
    void directoryWithoutAVault()
    {
        const QString other = m_dir->path() + "/other";
        for (const char *command : {"list", "grids", "export-device-key"}) {
            const Result result = run({command}, {}, QStringLiteral("<right>"), other);
            QCOMPARE(result.exitCode, 1);
            QVERIFY2(result.err.contains("no vault"), qPrintable(result.err));
            QVERIFY(!QFileInfo::exists(other));
        }
        const Result made = run({"init"}, {}, {}, other);
        QCOMPARE(made.exitCode, 0);
        QCOMPARE(made.out.count(QRegularExpression("^[1-3] [A-O] [a-z-]+$",
                                                   QRegularExpression::MultilineOption)),
                 9);
        const QString letters = QRegularExpression("Unlock with: (.*)").match(made.out).captured(1);
        QCOMPARE(run({"list"}, {}, letters, other).exitCode, 0);
    }

    void deviceKeyMovesBetweenDevices()
    {
        const Result exported = run({"export-device-key"});
        QCOMPARE(exported.exitCode, 0);
        QCOMPARE(exported.out.trimmed().size(), 44);

        QVERIFY(QDir(m_dir->path() + "/config").removeRecursively()); // a new device: no key
        const Result without = run({"list"});
        QCOMPARE(without.exitCode, 1);
        QVERIFY2(without.err.contains("no key"), qPrintable(without.err));

        const Result imported = run({"import-device-key"}, exported.out.toUtf8());
        QCOMPARE(imported.exitCode, 0);
        QCOMPARE(run({"list"}).exitCode, 0);
    }

    // A writer killed at any moment leaves the old or the new state: never half an import.
    void killedWriterLeavesOldOrNewState()
    {
        QByteArray csv = "title,url,username,password\n";
        const int rows = 20000;
        for (int i = 0; i < rows; ++i)
            csv += QByteArray("Site ") + QByteArray::number(i) + ",site" + QByteArray::number(i) +
                   ".example,user,pw" + QByteArray::number(i) + "\n";
        const QString file = writeFile("big.csv", csv);

        // One uninterrupted import tells how long the whole run takes on this machine; the kills
        // then land at evenly spread moments across it, key derivation and writing alike.
        QElapsedTimer timer;
        timer.start();
        QCOMPARE(run({"import", file}).exitCode, 0);
        const qint64 duration = timer.elapsed();
        const auto startOver = [this] {
            QVERIFY(QFile::remove(vaultFile()));
            QFile::remove(vaultFile() + "-wal");
            QFile::remove(vaultFile() + "-shm");
            makeVault();
        };
        startOver();

        const int attempts = 8;
        for (int attempt = 1; attempt <= attempts; ++attempt) {
            QProcess *writer = start({"import", file}, m_letters);
            QVERIFY(writer->waitForStarted());
            QTest::qWait(int(duration * attempt / (attempts + 1)));
            writer->kill();
            writer->waitForFinished(10000);
            delete writer;
            const QStringList items = listed();
            QVERIFY2(!items.value(0).startsWith("FAILED"), qPrintable(items.value(0)));
            QVERIFY2(items.isEmpty() || items.size() == rows,
                     qPrintable(QString("%1 items after a kill, expected 0 or %2")
                                    .arg(items.size())
                                    .arg(rows)));
            if (items.size() == rows) {
                startOver();
            }
        }
    }
};

QTEST_GUILESS_MAIN(TestVaultCli)
#include "tst_vaultcli.moc"
