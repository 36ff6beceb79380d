#include "VaultTool.h"

#include <QCoreApplication>

int main(int argc, char *argv[])
{
    QCoreApplication app(argc, argv);
    QCoreApplication::setApplicationName(QStringLiteral("pexi-vault"));
    QTextStream out(stdout);
    QTextStream err(stderr);
    QStringList arguments = QCoreApplication::arguments();
    arguments.removeFirst();
    const int status = pexi::VaultTool(out, err).run(arguments);
    out.flush();
    err.flush();
    return status;
}
