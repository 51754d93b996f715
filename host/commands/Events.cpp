// `bmhost events` and `bmhost log`: what happens at the resident host, and its log.
#include "host/client/ClientSession.h"
#include "host/client/HostClient.h"
#include "host/client/WireRows.h"
#include "host/context/Context.h"
#include "host/output/Redirect.h"
#include "host/views/NewsLine.h"
#include "host/words/Commands.h"
#include "host/words/Error.h"

#include "bm_dev/ByteText.h"

#include <csignal>
#include <cstdint>
#include <cstdio>
#include <limits>
#include <stdexcept>
#include <unistd.h>

namespace bmhost {

namespace {

using nlohmann::ordered_json;

constexpr int LinesByDefault = 50;
constexpr int MostLines = 100000;

HostClient& HostOf(Context& context) {
    HostClient* const host = context.Host();
    if (host == nullptr) throw std::runtime_error("no resident host has the blade: `bmhost run` is one");
    return *host;
}

std::string EventText(const HostClient::ServerEvent& event, bool json) {
    const ordered_json data = JsonOfWire(event.m_data);
    if (!data.is_object()) throw std::runtime_error("the resident host sent an event that is no JSON");
    if (!json) return NewsLine(event.m_kind, data);
    const ordered_json line = {{"op", "events"}, {"id", event.m_id}, {"kind", event.m_kind}, {"data", data}};
    return bm_dev::EscapedJson(line.dump(-1, ' ', false, ordered_json::error_handler_t::replace)) + "\n";
}

bool RunEvents(int after, Context& context) {
    HostClient& host = HostOf(context);
    EndWithGoodStatusAtSignals();
    int32_t process = host.End().m_process;
    const auto show = [&](const HostClient::ServerEvent& event) {
        if (event.m_process != process && !context.Globals().m_quiet)
            fprintf(stderr,
                    "bmhost: another host has the blade: bmhostd, process %d; its "
                    "events begin anew\n",
                    event.m_process);
        process = event.m_process;
        WriteAll(context.Output(), EventText(event, context.Globals().m_json));
        return true;
    };
    host.Events(static_cast<uint64_t>(after), show, context.Output());
    return true;
}

std::string LogLine(const ordered_json& line) {
    const auto text = [&](const char* key) {
        if (!line.is_object() || !line.contains(key)) return std::string("-");
        const ordered_json& value = line.at(key);
        return value.is_string() ? bm_dev::Printable(value.get<std::string>()) : value.dump();
    };
    return text("time") + " <" + text("level") + "> [" + text("component") + "] " + text("text") + "\n";
}

bool RunLog(int lines, Context& context) {
    const std::string path = "/v1/log?lines=" + std::to_string(lines);
    const ordered_json body = GoodBody(HostOf(context).Get(path), "GET /v1/log");
    if (!body.is_object() || !body.contains("lines") || !body.at("lines").is_array())
        throw std::runtime_error("the resident host sent what are no log lines");
    std::string text;
    if (context.Globals().m_json) {
        const ordered_json line = {{"op", "log"}, {"lines", body.at("lines")}};
        text = bm_dev::EscapedJson(line.dump()) + "\n";
    } else {
        for (const ordered_json& line : body.at("lines"))
            text += LogLine(line);
    }
    WriteAll(context.Output(), text);
    return true;
}

} // namespace

// Nothing waits to be written or put back then: each text has been written as a whole.
void EndWithGoodStatusAtSignals() {
    for (const int number : {SIGINT, SIGTERM})
        signal(number, [](int) { _exit(ExitAllOk); });
}

void AddEvents(Commands& commands) {
    Command& events = commands.Add("events", "follow what happens at the resident host", OnCommandLine);
    struct EventWords {
        int m_after = 0;
    };
    const auto words = events.Own<EventWords>();
    events.WithoutTimeLimit()
        .Option({"--after", "ID", "only events after this one"}, words->m_after, {0, std::numeric_limits<int>::max()})
        .Details(
            "The adaptor's events, health, and calls and orders that ended: first the thousand last ones that are kept,\n"
            "then each when it happens, one line each. With --json every line has its id, and the changes of the picture\n"
            "are told too. Goes on where it was when the connection breaks; ends with Ctrl-C, and with status 1 when the\n"
            "resident host ends.\n")
        .Example("bmhost events --json")
        .Run([words](Context& context) { return RunEvents(words->m_after, context); });
    Command& log = commands.Add("log", "show the resident host's log", OnCommandLine);
    struct LogWords {
        int m_lines = LinesByDefault;
    };
    const auto logWords = log.Own<LogWords>();
    log.Option({"-n", "N", "how many of the last lines"}, logWords->m_lines, {1, MostLines})
        .Details("The last lines, the oldest first: time, level, component, text.\n")
        .Example("bmhost log -n 100")
        .Run([logWords](Context& context) { return RunLog(logWords->m_lines, context); });
}

} // namespace bmhost
