// Writing the outgoing events: a lock state (the answer to every lock check) and a suggestion of
// ten logins, each against two figures of the same run: the floor, a copy of the finished text
// into a new string (no writer can do less), and the same object written by QJsonDocument, the
// way the events were once written. Then reading a lock check, the message extensions send most,
// with the lookups the server makes in it, by JsonReader (simdjson, in place as the frame reader
// leaves a message) and by QJsonDocument; its floor is decoding the text into one string. Prints
// NAME VALUE UNIT lines.
#include "extension/JsonReader.h"
#include "extension/LockStateEvent.h"
#include "extension/SuggestEvent.h"
#include "websocket/WebSocketFrameReader.h"

#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QStringDecoder>

#include <algorithm>
#include <array>
#include <chrono>
#include <cstdio>
#include <vector>

using namespace pexi;

namespace {

constexpr int callsPerRun = 20000;
constexpr int runs = 15;

qsizetype sink = 0;

void print(const char *name, double value, const char *unit)
{
    std::printf("%s %.*f %s\n", name, value < 10 ? 3 : 1, value, unit);
    std::fflush(stdout);
}

// Nanoseconds per call, the median of the runs.
template <typename Write> double nsPerCall(Write write)
{
    std::vector<double> perCall;
    for (int run = 0; run <= runs; ++run) {
        const auto start = std::chrono::steady_clock::now();
        for (int i = 0; i < callsPerRun; ++i)
            sink += write().size();
        const std::chrono::duration<double, std::nano> elapsed =
            std::chrono::steady_clock::now() - start;
        if (run > 0) // the first one warms caches and the allocator
            perCall.push_back(elapsed.count() / callsPerRun);
    }
    std::sort(perCall.begin(), perCall.end());
    return perCall.at(perCall.size() / 2);
}

QString viaQJsonDocument(const QJsonObject &object)
{
    const QByteArray bytes = QJsonDocument(object).toJson(QJsonDocument::Compact);
    QStringDecoder decoder(QStringDecoder::Utf8, QStringDecoder::Flag::Stateless);
    return decoder.decode(bytes);
}

template <typename Write, typename Reference>
void compare(const char *name, Write write, Reference reference)
{
    const QString text = write();
    // The same values; the order of members is the writer's own.
    const auto read = [](const QString &json) { return QJsonDocument::fromJson(json.toUtf8()); };
    if (read(text) != read(reference()) || read(text).isNull())
        std::fprintf(stderr, "bench-events: %s says other things than QJsonDocument\n", name);
    const double event = nsPerCall(write);
    const double floor = nsPerCall([&] { return QString(text.constData(), text.size()); });
    const double qt = nsPerCall(reference);
    const QByteArray prefix(name);
    print(prefix + "_to_json", event, "ns");
    print(prefix + "_copy_floor", floor, "ns");
    print(prefix + "_qjsondocument", qt, "ns");
    print(prefix + "_to_json_vs_floor", event / floor, "ratio");
    print(prefix + "_to_json_vs_qjsondocument", event / qt, "ratio");
}

// What the server looks up in a message: the command and session in its data, and who sent it.
struct Lookups
{
    std::array<QString, 4> strings;
    qsizetype size() const
    {
        qsizetype total = 0;
        for (const QString &string : strings)
            total += string.size();
        return total;
    }
    bool operator==(const Lookups &) const = default;
};

Lookups lookUp(const QJsonObject &envelope)
{
    const QJsonObject data = envelope.value(QLatin1StringView("data")).toObject();
    return {{data.value(QLatin1StringView("command")).toString(),
             data.value(QLatin1StringView("session")).toString(),
             envelope.value(QLatin1StringView("sender")).toString(),
             envelope.value(QLatin1StringView("build")).toString()}};
}

Lookups lookUp(simdjson::dom::object envelope)
{
    const auto string = [](simdjson::simdjson_result<simdjson::dom::element> value) {
        std::string_view text;
        return value.get(text) ? QString() : QString::fromUtf8(text.data(), qsizetype(text.size()));
    };
    return {{string(envelope["data"]["command"]), string(envelope["data"]["session"]),
             string(envelope["sender"]), string(envelope["build"])}};
}

void compareReading(const char *name, const QByteArray &message)
{
    // With the room behind it that the frame reader leaves.
    QByteArray text = message + QByteArray(WebSocketFrameReader::payloadPadding, ' ');
    text.truncate(message.size());
    JsonReader jsonReader;
    const auto reader = [&] { return lookUp(jsonReader.read(text).get_object().value()); };
    const auto qt = [&] { return lookUp(QJsonDocument::fromJson(text).object()); };
    if (!(reader() == qt()) || reader().size() == 0)
        std::fprintf(stderr, "bench-events: %s reads differently from QJsonDocument\n", name);
    const double read = nsPerCall(reader);
    const double floor = nsPerCall([&] { return QString::fromUtf8(text); });
    const double qtRead = nsPerCall(qt);
    const QByteArray prefix(name);
    print(prefix + "_read", read, "ns");
    print(prefix + "_decode_floor", floor, "ns");
    print(prefix + "_read_qjsondocument", qtRead, "ns");
    print(prefix + "_read_vs_floor", read / floor, "ratio");
    print(prefix + "_read_vs_qjsondocument", read / qtRead, "ratio");
}

} // namespace

int main()
{
    const QString session = QStringLiteral("5f0c7a52-2d6e-4a4b-9a49-1c3f0e8b7d21");
    const auto locked = [] { return LockState::locked; };
    compare(
        "lock_state", [&] { return LockStateEvent(session, true).toJson(locked); },
        [&] {
            return viaQJsonDocument({{"command", "pexi_lock_state"},
                                     {"session", session},
                                     {"locked", locked() == LockState::locked}});
        });

    QList<PartialCredential> found;
    for (int i = 0; i < 10; ++i) {
        const QString n = QString::number(i);
        found.append(
            {"user" + n + "@mail.example",
             QStringLiteral("0e6b1a8c-3f57-4d7e-8b1d-9c2a4f6e80%1").arg(i, 2, 10, QChar(u'0')),
             "Account " + n, "https://login.site7.com/"});
    }
    const SuggestEvent suggest(session, found);
    compare(
        "suggest_10", [&] { return suggest.toJson(); },
        [&] {
            QJsonArray credentials;
            for (const PartialCredential &c : found)
                credentials.append(QJsonObject{{"uuid", c.uuid},
                                               {"title", c.title},
                                               {"username", *c.username},
                                               {"site", *c.site}});
            return viaQJsonDocument({{"command", "credentials_suggest"},
                                     {"session", session},
                                     {"credentials", credentials}});
        });

    compareReading("lock_check",
                   "{\"data\":{\"command\":\"pexi_lock_check\",\"session\":\"bench\"},"
                   "\"sender\":\"chrome\",\"build\":\"bench\"}");
    return sink > 0 ? 0 : 1;
}
