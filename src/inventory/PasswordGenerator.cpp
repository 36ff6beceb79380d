#include "inventory/PasswordGenerator.h"

#include <QtGlobal>

#include <sodium.h>

namespace pexi {

QString PasswordGenerator::randomString(int length)
{
    if (length < 0)
        qFatal("PasswordGenerator::randomString: negative length %d", length);
    static const bool initialised = sodium_init() >= 0;
    if (!initialised)
        qFatal("PasswordGenerator: the cryptography library could not be initialised");

    QString password(length, Qt::Uninitialized);
    for (QChar &character : password) {
        // randombytes_uniform rejects the draws that would favour the first characters.
        const auto index = randombytes_uniform(static_cast<std::uint32_t>(alphabet.size()));
        character = QLatin1Char(alphabet[index]);
    }
    return password;
}

} // namespace pexi
