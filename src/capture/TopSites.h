#pragma once

#include <QList>
#include <QString>

namespace pexi {

// A well-known service and the host of its login page.
struct WebsiteInfo
{
    QString title;
    QString urlHost;
};

// Services whose captured logins get the service's own name as title instead of one made up
// from the host. Searched in order; hosts compare exactly.
class TopSites
{
public:
    static const QList<WebsiteInfo> &sites();
};

} // namespace pexi
