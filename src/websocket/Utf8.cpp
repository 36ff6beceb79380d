#include "websocket/Utf8.h"

#include <cstring>

namespace pexi {

bool isValidUtf8(QByteArrayView bytes)
{
    const auto *p = reinterpret_cast<const unsigned char *>(bytes.data());
    const auto *end = p + bytes.size();
    while (p < end) {
        // Runs of ASCII, the common case, eight bytes at a time.
        if (end - p >= 8) {
            quint64 word;
            std::memcpy(&word, p, 8);
            if ((word & 0x8080808080808080ULL) == 0) {
                p += 8;
                continue;
            }
        }
        const unsigned char lead = *p;
        if (lead < 0x80) {
            ++p;
            continue;
        }
        // The sequence length, and the range of the second byte that rules out overlong forms,
        // surrogates and code points past U+10FFFF.
        int length;
        unsigned char low = 0x80, high = 0xbf;
        if (lead >= 0xc2 && lead <= 0xdf) {
            length = 2;
        } else if (lead >= 0xe0 && lead <= 0xef) {
            length = 3;
            if (lead == 0xe0)
                low = 0xa0;
            else if (lead == 0xed)
                high = 0x9f;
        } else if (lead >= 0xf0 && lead <= 0xf4) {
            length = 4;
            if (lead == 0xf0)
                low = 0x90;
            else if (lead == 0xf4)
                high = 0x8f;
        } else {
            return false;
        }
        if (end - p < length || p[1] < low || p[1] > high)
            return false;
        for (int i = 2; i < length; ++i) {
            if ((p[i] & 0xc0) != 0x80)
                return false;
        }
        p += length;
    }
    return true;
}

} // namespace pexi
