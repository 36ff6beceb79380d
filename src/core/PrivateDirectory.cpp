#include "core/PrivateDirectory.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>

#include <sys/stat.h>

namespace pexi {

bool makePrivateDirectory(const QString &path)
{
    const QString absolute = QDir::cleanPath(QFileInfo(path).absoluteFilePath());
    const QString parent = QFileInfo(absolute).path();
    if (!QFileInfo(absolute).isDir()) {
        if (parent != absolute && !QFileInfo(parent).isDir() && !makePrivateDirectory(parent))
            return false;
        if (::mkdir(QFile::encodeName(absolute).constData(), S_IRWXU) != 0 && errno != EEXIST)
            return false;
    }
    // mkdir's mode passes through the umask, which may take the owner's bits too.
    return ::chmod(QFile::encodeName(absolute).constData(), S_IRWXU) == 0;
}

} // namespace pexi
