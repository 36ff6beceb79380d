#pragma once

#include <QString>

#include <string_view>

namespace pexi {

// Random passwords. Each character is its own unbiased draw from the operating system's
// cryptographic generator, over a fixed alphabet that every site's password rules accept: no
// guaranteed mix of classes, no retries, so the strength is the length alone.
class PasswordGenerator
{
public:
    static constexpr std::string_view alphabet =
        "abcdefghijklmnopqrstuvwxyzABCDEFGHIJKLMNOPQRSTUVWXYZ0123456789!@#$%^&";

    // `length` must not be negative.
    static QString randomString(int length);
};

} // namespace pexi
