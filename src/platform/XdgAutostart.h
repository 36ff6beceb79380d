#pragma once

#include "platform/StartAtLogin.h"

#include <QString>

namespace pexi {

// Starting at login the freedesktop way: an entry in an autostart directory. The user's entry
// ($XDG_CONFIG_HOME/autostart) overrides one of the same name installed for everybody
// ($XDG_CONFIG_DIRS/autostart), so turning it off while an installed entry exists writes a
// hidden entry rather than removing the user's. The directories are read from the environment at
// every call.
class XdgAutostart : public StartAtLogin
{
public:
    static inline const QString entryName = QStringLiteral("pexi-worker.desktop");

    static XdgAutostart &instance();
    // `executable` is what the entry starts: this program by default.
    explicit XdgAutostart(const QString &executable = {});

    bool isEnabled() const override;
    bool setEnabled(bool enabled) override;

private:
    QString entryText(bool hidden) const;

    QString m_executable;
};

} // namespace pexi
