#pragma once

#include "platform/BrowserLauncher.h"

#include <QString>
#include <QUrl>

#include <optional>

namespace pexi {

// A mail to one of the product's mailboxes, handed to the user's mail program. The subject and
// body are percent-encoded by the caller, so the address is written exactly as given.
class PexiEmail
{
public:
    enum class Address { support, feedback };

    PexiEmail(Address address, QString subject, QString body);

    static QString addressString(Address address);

    // "mailto:" + address + "?subject=" + subject + "&body=" + body.
    QString text() const;
    // Nothing when the text is not a valid address, such as a body that was not encoded.
    std::optional<QUrl> url() const;
    // Opens the mail with the default handler of "mailto:". False when there was nothing to
    // open or no handler took it.
    bool send(BrowserLauncher &launcher = BrowserLauncher::shared()) const;

    Address address;
    QString subject;
    QString body;
};

} // namespace pexi
