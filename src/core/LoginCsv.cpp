#include "core/LoginCsv.h"

#include "core/HostnameInfo.h"

namespace pexi {

namespace {

struct Columns
{
    int title = -1;
    int site = -1;
    int username = -1;
    int password = -1;
};

std::optional<Columns> columnsFromHeader(const QStringList &header)
{
    Columns columns;
    for (int i = 0; i < header.size(); ++i) {
        const QString name = header.at(i).trimmed().toLower();
        if (name == QLatin1String("name") || name == QLatin1String("title"))
            columns.title = i;
        else if (name == QLatin1String("url") || name == QLatin1String("site") ||
                 name == QLatin1String("website"))
            columns.site = i;
        else if (name == QLatin1String("username") || name == QLatin1String("login"))
            columns.username = i;
        else if (name == QLatin1String("password"))
            columns.password = i;
    }
    if (columns.password < 0 || (columns.site < 0 && columns.title < 0))
        return std::nullopt;
    return columns;
}

// Exports without a name column get the site's main name, as captured logins do.
QString titleForSite(const QString &site)
{
    try {
        QString name = HostnameInfo::fromString(site).mainName();
        if (!name.isEmpty())
            name[0] = name[0].toUpper();
        return name;
    } catch (const HostnameError &) {
        return site.trimmed();
    }
}

QString field(const QStringList &record, int column)
{
    return column >= 0 && column < record.size() ? record.at(column) : QString();
}

} // namespace

QList<QStringList> LoginCsv::records(const QString &text, QList<int> *rows)
{
    QList<QStringList> result;
    QStringList record;
    QString value;
    bool quoted = false;
    bool afterQuote = false; // a closing quote was read; only a separator may follow
    int line = 1;
    int recordLine = 1;
    const auto endValue = [&] {
        record.append(value);
        value.clear();
        afterQuote = false;
    };
    const auto endRecord = [&] {
        endValue();
        if (!(record.size() == 1 && record.first().isEmpty())) { // skip blank lines
            result.append(record);
            rows->append(recordLine);
        }
        record.clear();
    };

    for (qsizetype i = 0; i < text.size(); ++i) {
        const QChar c = text.at(i);
        if (quoted) {
            if (c == QLatin1Char('"')) {
                if (i + 1 < text.size() && text.at(i + 1) == QLatin1Char('"')) {
                    value.append(c);
                    ++i;
                } else {
                    quoted = false;
                    afterQuote = true;
                }
            } else {
                if (c == QLatin1Char('\n'))
                    ++line;
                value.append(c);
            }
            continue;
        }
        if (c == QLatin1Char(',')) {
            endValue();
        } else if (c == QLatin1Char('\n') || c == QLatin1Char('\r')) {
            if (c == QLatin1Char('\r') && i + 1 < text.size() &&
                text.at(i + 1) == QLatin1Char('\n'))
                ++i;
            endRecord();
            recordLine = ++line;
        } else if (c == QLatin1Char('"') && value.isEmpty() && !afterQuote) {
            quoted = true;
        } else if (afterQuote) {
            throw CsvError(QStringLiteral("row %1: unexpected text after a closing quote")
                               .arg(recordLine)
                               .toStdString());
        } else {
            value.append(c);
        }
    }
    if (quoted)
        throw CsvError(
            QStringLiteral("row %1: a quoted value is never closed").arg(recordLine).toStdString());
    if (!value.isEmpty() || !record.isEmpty() || afterQuote)
        endRecord();
    return result;
}

QList<CsvLogin> LoginCsv::parse(const QString &text)
{
    QList<int> rows;
    QList<QStringList> all = records(text, &rows);
    if (all.isEmpty())
        return {};

    Columns columns{0, 1, 2, 3};
    int first = 0;
    int width = 4;
    if (const auto fromHeader = columnsFromHeader(all.first())) {
        columns = *fromHeader;
        width = int(all.first().size());
        first = 1;
    }

    QList<CsvLogin> logins;
    for (int i = first; i < all.size(); ++i) {
        const QStringList &record = all.at(i);
        const int row = rows.at(i);
        if (record.size() != width)
            throw CsvError(QStringLiteral("row %1: expected %2 values, found %3")
                               .arg(row)
                               .arg(width)
                               .arg(record.size())
                               .toStdString());
        CsvLogin login;
        login.row = row;
        login.site = field(record, columns.site).trimmed();
        login.username = field(record, columns.username).trimmed();
        login.password = field(record, columns.password); // exactly as exported
        login.title = field(record, columns.title).trimmed();
        if (login.title.isEmpty())
            login.title = titleForSite(login.site);
        if (login.password.isEmpty())
            throw CsvError(QStringLiteral("row %1: the password is empty").arg(row).toStdString());
        if (login.title.isEmpty())
            throw CsvError(
                QStringLiteral("row %1: neither a title nor a site").arg(row).toStdString());
        logins.append(login);
    }
    return logins;
}

} // namespace pexi
