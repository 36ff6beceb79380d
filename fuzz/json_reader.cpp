// JsonReader against QJsonDocument::fromJson: on any valid UTF-8 input both must accept or both
// refuse, and read the same values, keys in the same order. Other input never reaches the
// reader, since the WebSocket endpoint closes on a text frame that is not UTF-8.
#include "support/JsonDifference.h"
#include "websocket/Utf8.h"

#include <cstdint>
#include <cstdio>
#include <cstdlib>

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size)
{
    const QByteArray text(reinterpret_cast<const char *>(data), qsizetype(size));
    if (!pexi::isValidUtf8(text))
        return -1; // kept out of the corpus
    const QString found = disagreement(text);
    if (!found.isEmpty()) {
        std::fprintf(stderr, "fuzz-json-reader: %s\n", qPrintable(found));
        std::abort();
    }
    return 0;
}
