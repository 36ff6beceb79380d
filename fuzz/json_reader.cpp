// JsonReader as the server runs it (the fastest kernel this CPU has, on the text where it lies,
// junk in the padding behind it) against simdjson's portable scalar kernel on a copy: on any
// input both must accept or both refuse, and read the same values. Nothing it accepts may be
// invalid UTF-8 by Qt's own check. Every string member, as the events decode it, must come back
// unchanged through JsonWriter.
#include "extension/JsonReader.h"
#include "extension/JsonWriter.h"
#include "extension/MiniAppEvent.h"

#include <cstdint>
#include <cstdio>
#include <cstdlib>

namespace {

void check(bool condition, const char *what)
{
    if (!condition) {
        std::fprintf(stderr, "fuzz-json-reader: %s\n", what);
        std::abort();
    }
}

simdjson::dom::parser &scalarParser()
{
    static simdjson::dom::parser *parser = [] {
        auto &active = simdjson::get_active_implementation();
        const simdjson::implementation *fastest = active;
        active = simdjson::get_available_implementations()["fallback"];
        auto *made = new simdjson::dom::parser;
        check(made->allocate(4096) == simdjson::SUCCESS, "no scalar parser");
        active = fastest;
        return made;
    }();
    return *parser;
}

void writerKeepsStrings(simdjson::dom::element value)
{
    if (value.is_array()) {
        for (const simdjson::dom::element item : value.get_array())
            writerKeepsStrings(item);
        return;
    }
    simdjson::dom::object object;
    if (value.get(object) != simdjson::SUCCESS)
        return;
    for (const simdjson::dom::key_value_pair member : object) {
        writerKeepsStrings(member.value);
        const std::optional<QString> decoded =
            pexi::MiniAppEvent::optionalString(object, member.key);
        if (!decoded)
            continue;
        pexi::JsonWriter json;
        const QByteArray written = json.beginArray().string(*decoded).endArray().take().toUtf8();
        static simdjson::dom::parser parser;
        std::string_view again;
        check(parser.parse(written.constData(), size_t(written.size())).at(0).get(again) ==
                  simdjson::SUCCESS,
              "the writer's text does not read back");
        check(again == std::string_view(object[member.key]), "a string changed on its way through");
    }
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size)
{
    const auto *bytes = reinterpret_cast<const char *>(data);
    if (size > 4096)
        return -1;
    QByteArray text = QByteArray(bytes, qsizetype(size)) +
                      QByteArray(simdjson::SIMDJSON_PADDING, '"'); // junk that looks like JSON
    text.truncate(qsizetype(size));
    static pexi::JsonReader reader;
    simdjson::dom::element mine, judged;
    const auto myError = reader.read(text).get(mine);
    const auto judgedError = scalarParser().parse(bytes, size).get(judged);
    check((myError == simdjson::SUCCESS) == (judgedError == simdjson::SUCCESS),
          "the kernels disagree on whether this is JSON");
    if (myError != simdjson::SUCCESS)
        return 0;
    check(QByteArrayView(text).isValidUtf8(), "accepted text that is not UTF-8");
    check(simdjson::minify(mine) == simdjson::minify(judged), "the kernels read different values");
    writerKeepsStrings(mine);
    return 0;
}
