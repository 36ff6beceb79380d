#pragma once

#include <QString>
#include <QStringList>

#include <optional>

namespace pexi {

// An application's desktop entry (the freedesktop.org format): how the desktop starts it.
class DesktopEntry
{
public:
    struct Command
    {
        QString program;
        QStringList arguments;
        // The entry's Path key; empty for the caller's own.
        QString workingDirectory;
    };

    // The entry of that file name in the XDG application directories, the user's first; nothing
    // when there is none, it cannot be read or it is hidden (how a user deletes a system entry).
    static std::optional<DesktopEntry> locate(const QString &fileName);
    static std::optional<DesktopEntry> read(const QString &path);

    // The Exec line split by its own quoting, with the field codes filled in: a file or URL code
    // takes `argument` (or nothing when it is empty), which otherwise goes last. Nothing when the
    // program (or the TryExec one) is not installed or the line cannot be read.
    std::optional<Command> command(const QString &argument = {}) const;

private:
    QStringList expandFieldCodes(const QString &token, const QString &argument,
                                 bool &usedArgument) const;

    QString m_path;
    QString m_exec;
    QString m_tryExec;
    QString m_icon;
    QString m_name;
    QString m_workingDirectory;
    bool m_hidden = false;
};

} // namespace pexi
