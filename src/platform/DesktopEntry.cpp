#include "platform/DesktopEntry.h"

#include <QFile>
#include <QFileInfo>
#include <QStandardPaths>
#include <QTextStream>

#include <utility>

namespace pexi {

using namespace Qt::StringLiterals;

namespace {

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

std::optional<DesktopEntry> DesktopEntry::locate(const QString &fileName)
{
    const QString path = QStandardPaths::locate(QStandardPaths::ApplicationsLocation, fileName);
    if (path.isEmpty())
        return std::nullopt;
    std::optional<DesktopEntry> entry = read(path);
    if (!entry || entry->m_hidden)
        return std::nullopt;
    return entry;
}

std::optional<DesktopEntry> DesktopEntry::read(const QString &path)
{
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly | QIODevice::Text))
        return std::nullopt;
    DesktopEntry entry;
    entry.m_path = path;
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
            entry.m_exec = value;
        else if (key == "TryExec"_L1)
            entry.m_tryExec = value;
        else if (key == "Icon"_L1)
            entry.m_icon = value;
        else if (key == "Name"_L1)
            entry.m_name = value;
        else if (key == "Path"_L1)
            entry.m_workingDirectory = value;
        else if (key == "Hidden"_L1)
            entry.m_hidden = value == "true"_L1;
    }
    if (entry.m_exec.isEmpty())
        return std::nullopt;
    return entry;
}

std::optional<DesktopEntry::Command> DesktopEntry::command(const QString &argument) const
{
    if (!m_tryExec.isEmpty() && resolveProgram(m_tryExec).isEmpty())
        return std::nullopt;
    const std::optional<QList<ExecToken>> tokens = splitExec(m_exec);
    if (!tokens || tokens->isEmpty())
        return std::nullopt;
    Command command{resolveProgram(tokens->first().text), {}, m_workingDirectory};
    if (command.program.isEmpty())
        return std::nullopt;
    bool usedArgument = false;
    for (qsizetype i = 1; i < tokens->size(); ++i) {
        const ExecToken &token = tokens->at(i);
        if (token.quoted)
            command.arguments.append(token.text);
        else
            command.arguments.append(expandFieldCodes(token.text, argument, usedArgument));
    }
    if (!usedArgument && !argument.isEmpty())
        command.arguments.append(argument);
    return command;
}

QStringList DesktopEntry::expandFieldCodes(const QString &token, const QString &argument,
                                           bool &usedArgument) const
{
    if (token == "%U"_L1 || token == "%u"_L1 || token == "%F"_L1 || token == "%f"_L1) {
        usedArgument = true;
        return argument.isEmpty() ? QStringList() : QStringList{argument};
    }
    if (token == "%i"_L1)
        return m_icon.isEmpty() ? QStringList() : QStringList{u"--icon"_s, m_icon};
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
            usedArgument = true;
            expanded += argument;
        } else if (code == u'c') {
            expanded += m_name;
        } else if (code == u'k') {
            expanded += m_path;
        }
        // Everything else is deprecated or meaningless for a single argument and expands to
        // nothing.
    }
    if (hadCode && expanded.isEmpty())
        return {};
    return {expanded};
}

} // namespace pexi
