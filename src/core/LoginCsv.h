#pragma once

#include <QList>
#include <QString>

#include <optional>
#include <stdexcept>

namespace pexi {

// One login read from a password export.
struct CsvLogin
{
    int row = 0; // 1-based line number in the file, for messages
    QString title;
    QString site;
    QString username;
    QString password;
};

class CsvError : public std::runtime_error
{
    using std::runtime_error::runtime_error;
};

// Reads the CSV that browsers export (Chrome: name,url,username,password[,note];
// Firefox: url,username,password,...) or a plain title,url,username,password file, with or
// without a header. RFC 4180 quoting. Throws CsvError naming the first bad row.
class LoginCsv
{
public:
    static QList<CsvLogin> parse(const QString &text);

private:
    static QList<QStringList> records(const QString &text, QList<int> *rows);
};

} // namespace pexi
