#pragma once

#include "platform/ApplicationLauncher.h"

namespace pexi {

// An application is installed when the XDG application directories hold "<bundle id>.desktop",
// the name a reverse-DNS application is installed under (and Flatpak exports it as). It is
// started from that entry with the parameter as its one argument.
class LinuxApplicationLauncher : public ApplicationLauncher
{
public:
    bool isInstalled(const QString &bundleIdentifier) const override;
    bool launch(const QString &bundleIdentifier, const QString &parameter) override;
};

} // namespace pexi
