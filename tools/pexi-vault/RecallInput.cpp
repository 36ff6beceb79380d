#include "RecallInput.h"

#include "core/Constants.h"

#include <QRegularExpression>

#include <cstdio>
#include <termios.h>
#include <unistd.h>

namespace pexi {

QList<QList<int>> RecallInput::parse(const QString &letters)
{
    static const QRegularExpression separators(QStringLiteral("[\\s,]+"));
    const QStringList groups = letters.trimmed().split(separators, Qt::SkipEmptyParts);
    if (groups.size() != 3)
        throw RecallInputError(
            "expected three groups of letters, one per grid, like \"ACE BDF GHK\"");
    QList<QList<int>> picked;
    for (const QString &group : groups) {
        QList<int> indices;
        for (const QChar c : group.toUpper()) {
            const int index = c.unicode() - u'A';
            if (index < 0 || index >= ImageGrid::PictureCount)
                throw RecallInputError("letters name grid positions and run from A to O");
            if (indices.contains(index))
                throw RecallInputError("a letter appears twice in one grid");
            indices.append(index);
        }
        if (indices.size() != Constants::ImageConstants::DEFAULT_NUM_TARGETS)
            throw RecallInputError("pick exactly three pictures in each grid");
        std::sort(indices.begin(), indices.end());
        picked.append(indices);
    }
    return picked;
}

QString RecallInput::read(const QList<ImageGrid> &grids)
{
    const QString fromEnvironment = qEnvironmentVariable("PEXI_RECALL");
    if (!fromEnvironment.isEmpty())
        return fromEnvironment;

    FILE *tty = std::fopen("/dev/tty", "r+");
    if (!tty)
        throw RecallInputError("no terminal to ask for the pictures on; set PEXI_RECALL");
    for (int grid = 0; grid < grids.size(); ++grid) {
        std::fprintf(tty, "Grid %d:", grid + 1);
        for (int index = 0; index < ImageGrid::PictureCount; ++index)
            std::fprintf(tty, "%s %c %s", index % 5 == 0 ? "\n " : "  ",
                         char(letterFor(index).unicode()),
                         qPrintable(grids.at(grid).pictureName(index)));
        std::fprintf(tty, "\n");
    }
    std::fprintf(tty, "Your pictures, one group of letters per grid: ");
    std::fflush(tty);

    termios saved{};
    const int fd = fileno(tty);
    const bool canHide = tcgetattr(fd, &saved) == 0;
    if (canHide) {
        termios hidden = saved;
        hidden.c_lflag &= ~tcflag_t(ECHO);
        tcsetattr(fd, TCSAFLUSH, &hidden);
    }
    char line[256] = {};
    const bool gotLine = std::fgets(line, sizeof line, tty) != nullptr;
    if (canHide)
        tcsetattr(fd, TCSAFLUSH, &saved);
    std::fprintf(tty, "\n");
    std::fclose(tty);
    if (!gotLine)
        throw RecallInputError("no pictures were entered");
    return QString::fromUtf8(line).trimmed();
}

} // namespace pexi
