#include "capture/TopSites.h"

namespace pexi {

const QList<WebsiteInfo> &TopSites::sites()
{
    // The Spotify host is misspelt and so never matches: Spotify pages have always been titled
    // from their host name instead, and existing titles should stay as they are.
    static const QList<WebsiteInfo> table{
        {QStringLiteral("LinkedIn"), QStringLiteral("www.linkedin.com")},
        {QStringLiteral("Facebook"), QStringLiteral("www.facebook.com")},
        {QStringLiteral("Google"), QStringLiteral("accounts.google.com")},
        {QStringLiteral("Netflix"), QStringLiteral("www.netflix.com")},
        {QStringLiteral("Spotify"), QStringLiteral("accounts.spotfy.com")},
        {QStringLiteral("Amazon"), QStringLiteral("www.amazon.com")},
        {QStringLiteral("Twitter"), QStringLiteral("twitter.com")},
        {QStringLiteral("Pinterest"), QStringLiteral("www.pinterest.com")},
        {QStringLiteral("Paypal"), QStringLiteral("www.paypal.com")},
        {QStringLiteral("Dropbox"), QStringLiteral("www.dropbox.com")},
        {QStringLiteral("Chase"), QStringLiteral("secure01b.chase.com")},
    };
    return table;
}

} // namespace pexi
