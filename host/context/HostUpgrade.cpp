// A firmware upgrade by the resident host: the image's bytes are sent, and the upgrade is followed to its end.
#include "host/context/HostUpgrade.h"

#include "host/client/ClientSession.h"
#include "host/client/ServerEvents.h"
#include "host/context/Context.h"
#include "host/output/Progress.h"
#include "host/output/Redirect.h"
#include "host/picture/Led.h"
#include "host/picture/StatusNames.h"
#include "host/words/Error.h"
#include "host/words/Situations.h"

#include "bm_dev/UniqueFd.h"

#include <array>
#include <cerrno>
#include <chrono>
#include <csignal>
#include <cstring>
#include <fcntl.h>
#include <filesystem>
#include <string_view>
#include <sys/stat.h>
#include <unistd.h>

namespace bmhost {

namespace {

constexpr std::chrono::seconds LookAgain(1);
constexpr int ErrorLevel = 3;

std::string Escaped(const std::string& text) {
    constexpr std::string_view plain = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789-._~";
    std::string escaped;
    for (const char letter : text) {
        std::array<char, 4> code{};
        snprintf(code.data(), code.size(), "%%%02X", static_cast<unsigned>(static_cast<unsigned char>(letter)));
        escaped += plain.find(letter) != std::string_view::npos ? std::string(1, letter) : code.data();
    }
    return escaped;
}

/// Lines on a terminal only: the command's own are its outcome.
class SentShown {
public:
    SentShown(const Context& context, uint64_t size)
        : m_output(context.Output()),
          m_size(size),
          m_shown(!context.Globals().m_json && !context.Globals().m_quiet && isatty(m_output) == 1) {}

    void operator()(uint64_t sent) {
        const uint64_t percent = sent * 100 / m_size;
        if (!m_shown || percent == m_last) return;
        m_last = percent;
        WriteAll(m_output, "\rimage sent: " + std::to_string(percent) + " %" + (sent == m_size ? "\r\033[K" : ""));
    }

private:
    int m_output;
    uint64_t m_size;
    bool m_shown;
    uint64_t m_last = 101;
};

/// Whoever interrupts this command does not end the upgrade, and is told so. A signal that was ignored stays ignored.
class TellsThatItGoesOn {
public:
    TellsThatItGoesOn() {
        for (std::size_t i = 0; i < Signals.size(); ++i) {
            sigaction(Signals[i], nullptr, &m_before[i]);
            if (m_before[i].sa_handler != SIG_IGN) signal(Signals[i], Tell);
        }
    }
    TellsThatItGoesOn(const TellsThatItGoesOn&) = delete;
    TellsThatItGoesOn& operator=(const TellsThatItGoesOn&) = delete;
    ~TellsThatItGoesOn() {
        for (std::size_t i = 0; i < Signals.size(); ++i)
            sigaction(Signals[i], &m_before[i], nullptr);
    }

private:
    static constexpr std::array Signals = {SIGINT, SIGTERM, SIGHUP};

    static void Tell(int number) {
        constexpr std::string_view text =
            "\nbmhost: the resident host goes on with the upgrade; `bmhost firmware show` tells how it ends\n";
        const std::string_view told = text.substr(isatty(STDERR_FILENO) == 1 ? 0 : 1); // the terminal is within a line
        [[maybe_unused]] const ssize_t written = write(STDERR_FILENO, told.data(), told.size());
        signal(number, SIG_DFL);
        raise(number); // once this has returned
    }

    std::array<struct sigaction, Signals.size()> m_before{};
};

// The upgrade that was begun is the last one of the history.
UpgradeFacts Followed(HostClient& host, Context& context, const std::string& place) {
    const TellsThatItGoesOn tells;
    const GlobalOptions& globals = context.Globals();
    Progress shown(place + ": upgrade in progress", context.Output(), !globals.m_json && !globals.m_quiet);
    shown.Tick(); // however soon it ends
    EventStream news(host.End().m_place, 0);
    for (;;) {
        const Picture picture = context.Look();
        if (!picture.m_upgrades.empty() && picture.m_upgrades.back().m_ended) {
            shown.Clear();
            return picture.m_upgrades.back();
        }
        news.Next(LookAgain);
        shown.Tick();
    }
}

// The place that the order names, as it is told.
std::string PlaceOf(const Order& order) {
    const std::string target = order.m_values.at("target").get<std::string>();
    if (target == "board") return UpgradeTargetText({UpgradeOfBaseboard, BaseboardBay, UpgradeIsRunning});
    const int bay = target == "rtm" ? RtmBay : order.m_values.at("bay").get<int>();
    return UpgradeTargetText({UpgradeOfModule, bay, UpgradeIsRunning});
}

// How the upgrade has ended is known, even when the host has gone since.
std::vector<std::string> ReasonsByHost(HostClient& host, const UpgradeFacts& upgrade) {
    try {
        return TellingLines(ReasonsOfUpgrade(host.Get("/v1/log?lines=1000").m_body, upgrade));
    } catch (const std::runtime_error&) {
        return {};
    }
}

} // namespace

std::vector<std::string> ReasonsOfUpgrade(const nlohmann::ordered_json& log, const UpgradeFacts& upgrade) {
    std::vector<std::string> reasons;
    const auto lines = log.is_object() ? log.find("lines") : log.end();
    if (lines == log.end() || !lines->is_array()) return reasons;
    const std::string begun = Rfc3339(upgrade.m_begun);
    const std::string ended = Rfc3339(upgrade.m_ended.value_or(WallNow()));
    for (const auto& line : *lines) {
        if (!line.is_object() || line.value("level", 0) != ErrorLevel) continue;
        const std::string time = line.value("time", "");
        if (time >= begun && time <= ended) reasons.push_back(line.value("text", ""));
    }
    return reasons;
}

std::string PathOfUpgrade(const Order& order) {
    std::string path = "/v1/firmware?target=" + Escaped(order.m_values.at("target").get<std::string>());
    if (order.m_values.contains("bay")) path += "&bay=" + std::to_string(order.m_values.at("bay").get<int>());
    if (order.m_values.contains(OrderTakesSimulated)) path += "&simulated=true";
    // The image goes as bytes: where its file is concerns nobody but this command.
    const std::filesystem::path file = order.m_values.at("name").get<std::string>();
    return path + "&name=" + Escaped(file.filename().string());
}

OrderOutcome UpgradeByHost(HostClient& host, Context& context, const Order& order) {
    const std::string file = order.m_values.at("path").get<std::string>();
    const bm_dev::UniqueFd image(open(file.c_str(), O_RDONLY | O_CLOEXEC));
    struct stat state {};
    if (!image || fstat(image.Get(), &state) != 0)
        throw UsageError("firmware update: " + file + ": " + strerror(errno));
    const auto size = static_cast<uint64_t>(state.st_size);
    const HostAnswer answer = host.PostFile(PathOfUpgrade(order), image.Get(), size, SentShown(context, size));
    OrderOutcome outcome = OrderOutcomeOf(GoodBody(answer, "firmware-update"));
    if (!outcome.m_good) return outcome;
    const UpgradeFacts facts = Followed(host, context, PlaceOf(order));
    outcome.m_good = facts.m_state == UpgradeIsDone;
    const auto seconds = std::chrono::duration_cast<std::chrono::seconds>(*facts.m_ended - facts.m_begun).count();
    outcome.m_text = UpgradeTargetText({facts.m_target, facts.m_bay, facts.m_state}) +
                     (outcome.m_good ? ": upgraded, " : ": the upgrade failed, ") + std::to_string(seconds) + " s\n";
    if (!outcome.m_good) {
        outcome.m_reasons = ReasonsByHost(host, facts);
        outcome.m_cure = CureOf(outcome.m_reasons);
    }
    outcome.m_values["state"] = facts.m_state;
    outcome.m_values["state_name"] = UpgradeStateName(facts.m_state);
    outcome.m_values["begun"] = Rfc3339(facts.m_begun);
    outcome.m_values["ended"] = Rfc3339(*facts.m_ended);
    return outcome;
}

} // namespace bmhost
