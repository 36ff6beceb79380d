#include "platform/LinuxBrowserLauncher.h"

#include <QDesktopServices>
#include <QFile>
#include <QFileInfo>
#include <QHash>
#include <QProcess>
#include <QStandardPaths>
#include <QTextStream>

#include <utility>

namespace pexi {

using namespace Qt::StringLiterals;

namespace {

struct Install
{
    QStringList desktopEntries;
    QStringList executables;
};

// Chromium is in the list because Linux distributions ship it instead of Chrome and it runs the
// same extension. The reverse-DNS names are the Flatpak exports.
const QHash<QString, Install> &installs()
{
    static const QHash<QString, Install> table{
        {u"com.google.Chrome"_s,
         {{u"google-chrome.desktop"_s, u"com.google.Chrome.desktop"_s, u"chromium.desktop"_s,
           u"org.chromium.Chromium.desktop"_s, u"chromium-browser.desktop"_s},
          {u"google-chrome"_s, u"google-chrome-stable"_s, u"chromium"_s, u"chromium-browser"_s}}},
    };
    return table;
}

struct DesktopEntry
{
    QString path;
    QString exec;
    QString tryExec;
    QString icon;
    QString name;
    bool hidden = false;
};

// The general escapes of desktop entry string values.
QString unescapeValue(QStringView value)
{
    QString result;
    result.reserve(value.size());
    for (qsizetype i = 0; i < value.size(); ++i) {
        if (value[i] != u'\\' || i + 1 == value.size()) {
            result += value[i];
            continue;
        }
        const QChar next = value[++i];
        switch (next.unicode()) {
        case u's':
            result += u' ';
            break;
        case u'n':
            result += u'\n';
            break;
        case u't':
            result += u'\t';
            break;
        case u'r':
            result += u'\r';
            break;
        case u'\\':
            result += u'\\';
            break;
        default:
            // Not a string escape; it belongs to the Exec quoting, which comes next.
            result += u'\\';
            result += next;
        }
    }
    return result;
}

std::optional<DesktopEntry> readDesktopEntry(const QString &path)
{
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly | QIODevice::Text))
        return std::nullopt;
    DesktopEntry entry;
    entry.path = path;
    bool inMainGroup = false;
    QTextStream stream(&file);
    while (!stream.atEnd()) {
        const QString line = stream.readLine().trimmed();
        if (line.isEmpty() || line.startsWith(u'#'))
            continue;
        if (line.startsWith(u'[')) {
            inMainGroup = line == "[Desktop Entry]"_L1;
            continue;
        }
        const qsizetype equals = line.indexOf(u'=');
        if (!inMainGroup || equals < 0)
            continue;
        const QString key = line.left(equals).trimmed();
        const QString value = unescapeValue(QStringView(line).mid(equals + 1).trimmed());
        if (key == "Exec"_L1)
            entry.exec = value;
        else if (key == "TryExec"_L1)
            entry.tryExec = value;
        else if (key == "Icon"_L1)
            entry.icon = value;
        else if (key == "Name"_L1)
            entry.name = value;
        else if (key == "Hidden"_L1)
            entry.hidden = value == "true"_L1;
    }
    if (entry.exec.isEmpty())
        return std::nullopt;
    return entry;
}

struct ExecToken
{
    QString text;
    bool quoted = false;
};

// The Exec key's own quoting: double quotes group, and inside them a backslash escapes
// '"', '`', '$' and '\'.
std::optional<QList<ExecToken>> splitExec(const QString &exec)
{
    QList<ExecToken> tokens;
    ExecToken current;
    bool inToken = false;
    bool inQuotes = false;
    for (qsizetype i = 0; i < exec.size(); ++i) {
        const QChar c = exec[i];
        if (inQuotes) {
            if (c == u'"') {
                inQuotes = false;
            } else if (c == u'\\' && i + 1 < exec.size() &&
                       QStringView(u"\"`$\\").contains(exec[i + 1])) {
                current.text += exec[++i];
            } else {
                current.text += c;
            }
        } else if (c == u' ' || c == u'\t') {
            if (inToken)
                tokens.append(std::exchange(current, {}));
            inToken = false;
        } else {
            inToken = true;
            if (c == u'"') {
                inQuotes = true;
                current.quoted = true;
            } else {
                current.text += c;
            }
        }
    }
    if (inQuotes)
        return std::nullopt;
    if (inToken)
        tokens.append(current);
    return tokens;
}

QString urlArgument(const QUrl &url)
{
    return url.isLocalFile() ? url.toLocalFile() : url.toString(QUrl::FullyEncoded);
}

// Expands the field codes of one unquoted argument; `usedUrl` tells whether the URL went in.
QStringList expandFieldCodes(const QString &token, const DesktopEntry &entry, const QUrl &url,
                             bool &usedUrl)
{
    if (token == "%U"_L1 || token == "%u"_L1 || token == "%F"_L1 || token == "%f"_L1) {
        usedUrl = true;
        return {urlArgument(url)};
    }
    if (token == "%i"_L1)
        return entry.icon.isEmpty() ? QStringList() : QStringList{u"--icon"_s, entry.icon};
    QString expanded;
    bool hadCode = false;
    for (qsizetype i = 0; i < token.size(); ++i) {
        if (token[i] != u'%' || i + 1 == token.size()) {
            expanded += token[i];
            continue;
        }
        const QChar code = token[++i];
        if (code == u'%') {
            expanded += u'%';
            continue;
        }
        hadCode = true;
        if (code == u'u' || code == u'f') {
            usedUrl = true;
            expanded += urlArgument(url);
        } else if (code == u'c') {
            expanded += entry.name;
        } else if (code == u'k') {
            expanded += entry.path;
        }
        // Everything else is deprecated or meaningless for a single URL and expands to nothing.
    }
    if (hadCode && expanded.isEmpty())
        return {};
    return {expanded};
}

QString resolveProgram(const QString &program)
{
    if (program.isEmpty())
        return {};
    if (program.contains(u'/')) {
        const QFileInfo info(program);
        return info.isAbsolute() && info.isFile() && info.isExecutable() ? program : QString();
    }
    return QStandardPaths::findExecutable(program);
}

} // namespace

bool LinuxBrowserLauncher::openUrl(const QUrl &url, const QString &bundleIdentifier)
{
    if (bundleIdentifier.isEmpty())
        return openWithDefaultHandler(url);
    const std::optional<Launch> launch = launchFor(bundleIdentifier, url);
    return launch && QProcess::startDetached(launch->program, launch->arguments);
}

bool LinuxBrowserLauncher::openWithDefaultHandler(const QUrl &url)
{
    return QDesktopServices::openUrl(url);
}

bool LinuxBrowserLauncher::isInstalled(const QString &bundleIdentifier) const
{
    return launchFor(bundleIdentifier, QUrl()).has_value();
}

std::optional<LinuxBrowserLauncher::Launch>
LinuxBrowserLauncher::launchFor(const QString &bundleIdentifier, const QUrl &url)
{
    const auto install = installs().constFind(bundleIdentifier);
    if (install == installs().constEnd())
        return std::nullopt;

    for (const QString &name : install->desktopEntries) {
        const QString path = QStandardPaths::locate(QStandardPaths::ApplicationsLocation, name);
        if (path.isEmpty())
            continue;
        const std::optional<DesktopEntry> entry = readDesktopEntry(path);
        // A hidden entry is how a user deletes a system one.
        if (!entry || entry->hidden)
            continue;
        if (!entry->tryExec.isEmpty() && resolveProgram(entry->tryExec).isEmpty())
            continue;
        const std::optional<QList<ExecToken>> tokens = splitExec(entry->exec);
        if (!tokens || tokens->isEmpty())
            continue;
        const QString program = resolveProgram(tokens->first().text);
        if (program.isEmpty())
            continue;
        QStringList arguments;
        bool usedUrl = false;
        for (qsizetype i = 1; i < tokens->size(); ++i) {
            const ExecToken &token = tokens->at(i);
            if (token.quoted)
                arguments.append(token.text);
            else
                arguments.append(expandFieldCodes(token.text, *entry, url, usedUrl));
        }
        if (!usedUrl && !url.isEmpty())
            arguments.append(urlArgument(url));
        return Launch{program, arguments};
    }

    for (const QString &name : install->executables) {
        const QString program = QStandardPaths::findExecutable(name);
        if (!program.isEmpty())
            return Launch{program, url.isEmpty() ? QStringList() : QStringList{urlArgument(url)}};
    }
    return std::nullopt;
}

BrowserLauncher &BrowserLauncher::shared()
{
    static LinuxBrowserLauncher launcher;
    return launcher;
}

} // namespace pexi
