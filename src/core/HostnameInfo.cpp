#include "core/HostnameInfo.h"

#include <QRegularExpression>
#include <QUrl>

#include <libpsl.h>

#include <algorithm>
#include <optional>

namespace pexi {

namespace {

constexpr qsizetype maxHostLength = 253;

// The distribution's list (/usr/share/publicsuffix) is updated with the system, so it is preferred
// over the copy compiled into libpsl; psl_latest falls back to that copy by itself. The context is
// never freed: lookups may still happen while other statics are being destroyed. If no list is
// available at all, psl_registrable_domain returns NULL and every host only matches exactly.
const psl_ctx_t *suffixList()
{
    static const psl_ctx_t *const list = [] {
        const psl_ctx_t *latest = psl_latest(nullptr);
        return latest ? latest : psl_builtin();
    }();
    return list;
}

// QUrl only finds a host behind "//", so bare input is given a scheme.
QUrl toUrl(const QString &text)
{
    static const QRegularExpression scheme(QStringLiteral("^[a-z][a-z0-9+.-]*://"),
                                           QRegularExpression::CaseInsensitiveOption);
    if (scheme.match(text).hasMatch())
        return QUrl(text);
    if (text.startsWith(QLatin1String("//")))
        return QUrl(QLatin1String("http:") + text);
    // host() hands IPv6 literals back without brackets; accept that form so it parses again.
    const bool bareIpv6 = text.count(QLatin1Char(':')) >= 2 && !text.startsWith(QLatin1Char('[')) &&
                          !text.contains(QLatin1Char('/')) && !text.contains(QLatin1Char('@'));
    if (bareIpv6)
        return QUrl(QLatin1String("http://[") + text + QLatin1Char(']'));
    return QUrl(QLatin1String("http://") + text);
}

bool isNumeric(QStringView label)
{
    return !label.isEmpty() && std::all_of(label.begin(), label.end(), [](QChar c) {
        return c >= QLatin1Char('0') && c <= QLatin1Char('9');
    });
}

bool isLetterOrDigit(QChar c)
{
    const char16_t u = c.unicode();
    return (u >= 'a' && u <= 'z') || (u >= 'A' && u <= 'Z') || (u >= '0' && u <= '9');
}

// The host of the plain forms nearly every saved site has ("https://www.example.com/login",
// "example.com:8080"), read without QUrl, which costs most of an item's unlock. Anything else
// (user info, escapes, IDN, addresses, ports out of range) is left to QUrl: nullopt.
std::optional<QString> plainHost(QStringView text)
{
    qsizetype at = 0;
    if (const qsizetype scheme = text.indexOf(QLatin1String("://")); scheme > 0) {
        if (!text.front().isLetter() ||
            !std::all_of(text.begin(), text.begin() + scheme, [](QChar c) {
                return isLetterOrDigit(c) || c == u'+' || c == u'.' || c == u'-';
            }))
            return std::nullopt;
        at = scheme + 3;
    }
    const auto endsHost = [](QChar c) { return c == u'/' || c == u'?' || c == u'#' || c == u':'; };
    qsizetype end = at;
    while (end < text.size() && !endsHost(text[end]))
        ++end;
    if (end < text.size() && text[end] == u':') {
        qsizetype port = end + 1;
        while (port < text.size() && text[port].isDigit() && text[port].unicode() < 0x80)
            ++port;
        const bool ends = port == text.size() || (endsHost(text[port]) && text[port] != u':');
        if (!ends || port - end - 1 > 5 || text.sliced(end + 1, port - end - 1).toInt() > 65535)
            return std::nullopt;
    }
    QStringView host = text.sliced(at, end - at);
    if (host.endsWith(u'.'))
        host.chop(1);
    if (host.isEmpty())
        return std::nullopt;
    for (qsizetype start = 0; start <= host.size();) {
        qsizetype stop = host.indexOf(u'.', start);
        if (stop < 0)
            stop = host.size();
        const QStringView label = host.sliced(start, stop - start);
        start = stop + 1;
        const bool plain = !label.isEmpty() && label.size() <= 63 && label.front() != u'-' &&
                           label.back() != u'-' &&
                           !label.startsWith(u"xn--", Qt::CaseInsensitive) &&
                           std::all_of(label.begin(), label.end(),
                                       [](QChar c) { return isLetterOrDigit(c) || c == u'-'; });
        if (!plain)
            return std::nullopt;
    }
    // Numbers at the end may be an address in one of its many spellings: QUrl's to read.
    if (host.back().isDigit())
        return std::nullopt;
    return host.toString().toLower();
}

} // namespace

// Error messages never quote the input: it may be a full URL carrying credentials or tokens.
HostnameInfo HostnameInfo::fromString(const QString &text)
{
    const QString trimmed = text.trimmed();
    if (trimmed.isEmpty())
        throw HostnameError("No host name or URL was given");

    QString decoded;
    const std::optional<QString> plain = plainHost(trimmed);
    if (plain) {
        decoded = *plain;
    } else {
        const QUrl url = toUrl(trimmed);
        if (!url.isValid())
            throw HostnameError("The text is not a valid URL or host name");
        decoded = url.host();
        if (decoded.isEmpty())
            throw HostnameError("The URL does not contain a host name");
    }

    HostnameInfo info;
    if (decoded.contains(QLatin1Char(':'))) {
        // Only IPv6 literals contain colons; QUrl has already validated and compressed them.
        info.m_host = decoded;
        info.m_registrableDomain = info.m_host;
        info.m_mainName = info.m_host;
        info.m_isAddressOrSingleLabel = true;
        return info;
    }

    // QUrl has lower-cased the host and rejected empty or over-long labels; one trailing dot
    // (the DNS root) is all that is left to drop before the ASCII form can be compared.
    if (decoded.endsWith(QLatin1Char('.')))
        decoded.chop(1);
    // A plain host is its own ASCII form already.
    const QByteArray ace = plain ? decoded.toLatin1() : QUrl::toAce(decoded);
    if (ace.isEmpty())
        throw HostnameError("The host name is empty or cannot be converted to ASCII");
    if (ace.size() > maxHostLength)
        throw HostnameError("The host name is longer than 253 characters");
    const QString host = plain ? decoded : QString::fromLatin1(ace);
    const qsizetype lastDot = host.lastIndexOf(QLatin1Char('.'));

    info.m_host = host;
    // A numeric last label means an IPv4 address, or something that is no DNS name under any
    // real top-level domain; the list would wrongly pair 192.168.1.1 with 10.0.1.1 as "1.1".
    info.m_isAddressOrSingleLabel = lastDot < 0 || isNumeric(QStringView(host).sliced(lastDot + 1));
    if (info.m_isAddressOrSingleLabel) {
        info.m_registrableDomain = host;
        info.m_mainName = host;
        return info;
    }

    // The result points into ace, which therefore has to outlive its use.
    const char *registrable = psl_registrable_domain(suffixList(), ace.constData());
    // NULL means the host is itself a public suffix (co.uk, github.io): nothing to share.
    info.m_registrableDomain = registrable ? QString::fromLatin1(registrable) : host;
    info.m_mainName = info.m_registrableDomain.left(info.m_registrableDomain.indexOf(u'.'));
    return info;
}

QStringList HostnameInfo::components() const
{
    QStringList result{m_mainName};
    for (const QString *part : {&m_registrableDomain, &m_host}) {
        if (*part != result.last())
            result.append(*part);
    }
    return result;
}

bool HostnameInfo::matches(const QString &other, bool ignoringSubdomains) const
{
    return matches(fromString(other), ignoringSubdomains);
}

bool HostnameInfo::matches(const HostnameInfo &other, bool ignoringSubdomains) const
{
    if (ignoringSubdomains)
        return m_registrableDomain == other.m_registrableDomain;
    return m_host == other.m_host;
}

} // namespace pexi
