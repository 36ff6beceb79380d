#pragma once

#include <QString>

#include <stdexcept>

namespace pexi {

// A vault that cannot be read or written. The message is a sentence fit for the user.
class VaultError : public std::runtime_error
{
public:
    explicit VaultError(const QString &message) : std::runtime_error(message.toStdString()) {}
    QString message() const { return QString::fromStdString(what()); }
};

} // namespace pexi
