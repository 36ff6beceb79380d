#pragma once

#include <QString>
#include <QStringList>

#include <stdexcept>

namespace pexi {

class HostnameError : public std::runtime_error
{
public:
    using std::runtime_error::runtime_error;
};

// The host of a URL or bare host name, normalised once so that comparing two sites is cheap.
//
// Hosts are kept as lower-case ASCII (IDN labels in punycode), without port or trailing dot.
// Two ordinary hosts "match" when they share a registrable domain under the public suffix list,
// so private suffixes such as github.io keep their users apart. IP literals, single-label hosts
// (localhost included) and hosts that are themselves public suffixes only match exactly: there is
// no registrable part that two of them could legitimately share.
class HostnameInfo
{
public:
    // Accepts a URL ("https://Accounts.Google.com:443/x?y") or a bare host ("www.bbc.co.uk",
    // "bbc.co.uk:8080", "[::1]:80", "::1", "bücher.de"). Throws HostnameError when the text holds
    // no usable host name.
    static HostnameInfo fromString(const QString &text);

    // "accounts.google.com", "xn--bcher-kva.de", "192.168.1.1" or "::1".
    const QString &host() const { return m_host; }
    // "google.com" for accounts.google.com; the host itself for hosts that only match exactly.
    const QString &registrableDomain() const { return m_registrableDomain; }
    // The main name, the registrable domain and the host, most general first, without repeats:
    // {"google", "google.com", "accounts.google.com"}, {"google", "google.com"}, {"::1"}.
    QStringList components() const;
    // First label of the registrable domain ("google", "bbc" for www.bbc.co.uk), or the whole
    // host for IP literals.
    const QString &mainName() const { return m_mainName; }
    // IP literal, single label such as "localhost", or a name ending in a numeric label.
    bool isAddressOrSingleLabel() const { return m_isAddressOrSingleLabel; }
    // Equal for two hosts exactly when they match with ignoringSubdomains = true.
    const QString &matchKey() const { return m_registrableDomain; }

    // Throws HostnameError when `other` holds no usable host.
    bool matches(const QString &other, bool ignoringSubdomains = true) const;
    bool matches(const HostnameInfo &other, bool ignoringSubdomains = true) const;

private:
    HostnameInfo() = default;

    QString m_host;
    QString m_registrableDomain;
    QString m_mainName;
    bool m_isAddressOrSingleLabel = false;
};

} // namespace pexi
