// `bmhost watch`: the picture of the blade, live.
#include "host/commands/Watch.h"

#include "host/client/ClientSession.h"
#include "host/client/HostClient.h"
#include "host/client/HostSocket.h"
#include "host/client/ServerEvents.h"
#include "host/connect/Elsewhere.h"
#include "host/context/Context.h"
#include "host/output/Redirect.h"
#include "host/output/TextOutput.h"
#include "host/picture/PictureJson.h"
#include "host/views/Views.h"
#include "host/words/Commands.h"
#include "host/words/Error.h"

#include "bm_dev/ByteText.h"

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <sstream>
#include <stdexcept>
#include <string>
#include <unistd.h>
#include <vector>

namespace bmhost {

namespace {

using namespace std::chrono_literals;
using nlohmann::ordered_json;

constexpr auto RetryPause = 500ms;
constexpr auto LongestQuiet = 10min; // news wake it up before
constexpr auto MinimumPause = 100ms; // between two pictures

std::vector<std::string> LinesOf(const std::string& text) {
    std::istringstream stream(text);
    std::vector<std::string> lines;
    for (std::string line; std::getline(stream, line);)
        lines.push_back(line);
    return lines;
}

/// What is shown of one picture after the other.
class Watched {
public:
    Watched(int output, bool json) : m_output(output), m_json(json), m_terminal(isatty(output) == 1) {}

    void Show(const ordered_json& picture, const std::string& text) {
        if (m_json) {
            ordered_json line = {{"op", "watch"}};
            line.update(picture);
            WriteAll(m_output, bm_dev::EscapedJson(line.dump()) + "\n");
        } else if (m_terminal) {
            WriteAll(m_output, "\033[H\033[J" + text);
        } else {
            ShowChanged(LinesOf(text));
        }
    }

private:
    void ShowChanged(std::vector<std::string> lines) {
        std::string changed;
        for (const std::string& line : lines) {
            if (std::find(m_lines.begin(), m_lines.end(), line) == m_lines.end()) changed += line + "\n";
        }
        m_lines = std::move(lines);
        WriteAll(m_output, changed);
    }

    int m_output;
    bool m_json;
    bool m_terminal;
    std::vector<std::string> m_lines;
};

// Shows the picture and waits for news, until the host has gone: that ends it with an exception.
void Follow(HostClient& host, Watched& watched, const Style& style, int output) {
    EventStream news(host.End().m_place, 0, output);
    for (uint64_t shown = 0;;) {
        const ordered_json json = GoodBody(host.Get("/v1/blade"), "GET /v1/blade");
        const Picture picture = PictureOf(json);
        if (shown == 0 || picture.m_revision != shown) watched.Show(json, WatchText(picture, style));
        shown = std::max<uint64_t>(1, picture.m_revision);
        if (!news.Next(LongestQuiet)) continue;
        // What comes together is shown together.
        const auto end = std::chrono::steady_clock::now() + MinimumPause;
        while (news.Next(std::chrono::ceil<std::chrono::milliseconds>(
            std::max(end - std::chrono::steady_clock::now(), std::chrono::steady_clock::duration::zero())))) {
        }
    }
}

void Remark(const Context& context, const std::string& text) {
    if (!context.Globals().m_quiet) fprintf(stderr, "bmhost: %s\n", bm_dev::Printable(text).c_str());
}

bool RunWatch(Context& context) {
    EndWithGoodStatusAtSignals();
    Watched watched(context.Output(), context.Globals().m_json);
    constexpr bool limited = true;
    GlobalOptions options = context.Globals();
    options.m_lasts = false; // each answer has its time, though the command has none
    for (bool told = false;; WaitWhileRead(context.Output(), RetryPause)) {
        std::string reason = "no resident host has the blade";
        try {
            const auto host = HostClient::ConnectAt(PlaceOf(options), TimeLimit(options, limited));
            if (host != nullptr) {
                told = false;
                Follow(*host, watched, StyleOf(context.Output(), context.Globals().m_wide), context.Output());
            }
        } catch (const std::system_error&) { // nobody reads the output any more
            throw;
        } catch (const NotAdmitted&) { // asking again and again would keep others out, too
            throw;
        } catch (const UsageError&) {
            throw;
        } catch (const std::runtime_error& error) {
            reason = error.what();
        }
        if (!told) Remark(context, reason + "; waiting for one");
        told = true;
    }
}

} // namespace

std::string WatchText(const Picture& picture, const Style& style) {
    std::string text = StatusText(picture, style);
    if (picture.m_source.IsSimulated()) text += PrintableText(SourceText(picture.m_source)) + "\n";
    return text;
}

void AddWatch(Commands& commands) {
    commands.Add("watch", "show the blade's picture, live", OnCommandLine)
        .WithoutTimeLimit()
        .Details(
            "Asks the resident host, and shows what it knows whenever that changes: redrawn on a terminal, the changed\n"
            "lines otherwise, and with --json the whole picture as one line. Says so when the host has gone, and waits\n"
            "for the next one. Ends with Ctrl-C, status 0.\n")
        .Example("bmhost watch")
        .Run(RunWatch);
}

} // namespace bmhost
