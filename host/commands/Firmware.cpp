// `bmhost firmware`: an upgrade that is started and followed to its end.
#include "host/commands/Firmware.h"

#include "common/veldo_common_protocol.h"
#include "host/output/Redirect.h"
#include "host/output/TextOutput.h"
#include "host/resident/RunOutput.h"
#include "host/session/Session.h"
#include "host/views/Led.h"
#include "host/words/Error.h"

#include <CLI/CLI.hpp>

#include <algorithm>
#include <cctype>
#include <cerrno>
#include <chrono>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <optional>
#include <unistd.h>

namespace bmhost {

using namespace BM_ADAPTOR;

namespace {

constexpr const char* FirmwareUsage =
    "firmware update --target board|amc|rtm [--bay N] FILE [--dry-run], or firmware show";
constexpr std::chrono::seconds Tick(1);
constexpr int QuietSeconds = 60; // between two lines where there is no terminal

[[noreturn]] void Refuse(const std::string& reason) {
    throw UsageError("firmware update: " + reason);
}

UpgradeRow PlaceOf(const std::string& target, std::optional<int> bay) {
    if (target == "amc") {
        if (!bay) Refuse("expected --bay N with --target amc, N from 1 to 8");
        return {UpgradeOfModule, *bay, UpgradeIsRunning};
    }
    if (bay) Refuse("--bay goes with --target amc only");
    if (target == "rtm") return {UpgradeOfModule, RtmBay, UpgradeIsRunning};
    if (target == "board") return {UpgradeOfBaseboard, BaseboardBay, UpgradeIsRunning};
    Refuse("--target '" + target + "': expected board, amc or rtm");
}

// The firmware tool runs somewhere else: its file is told by an absolute path, which can look like no option either.
std::string CheckedFile(const std::string& file) {
    std::error_code error;
    const auto path = std::filesystem::absolute(file, error);
    const std::string name = PrintableText(path.string());
    if (error || file.empty()) Refuse("FILE '" + PrintableText(file) + "': no path can be made of it");
    std::string text = path.string();
    if (std::any_of(text.begin(), text.end(), [](unsigned char letter) { return iscntrl(letter); }))
        Refuse("FILE '" + name + "': control characters in its path");
    const auto status = std::filesystem::status(path, error);
    if (!std::filesystem::exists(status)) Refuse("FILE " + name + ": " + error.message());
    if (!std::filesystem::is_regular_file(status)) Refuse("FILE " + name + ": no regular file");
    std::ifstream stream(path, std::ios::binary);
    if (!stream) Refuse("FILE " + name + ": " + std::strerror(errno));
    if (stream.peek() == std::ifstream::traits_type::eof()) Refuse("FILE " + name + ": it is empty");
    return text;
}

CBMIParam Unsigned(unsigned id, int value) {
    CBMIParam param(BMI_PARAM_UINT, id, false);
    param.SetInt(value);
    return param;
}

CBMIParams ValuesOf(const FirmwareOrder& order) {
    CBMIParams values;
    values.Add(Unsigned(BMI_FW_UPDATE_TARGET, order.m_place.m_target));
    values.Add(Unsigned(BMI_FW_UPDATE_BAY, order.m_place.m_bay));
    values.Add(Unsigned(BMI_FW_UPDATE_STATE, UpgradeIsRunning));
    CBMIParam stream(BMI_PARAM_STRING, BMI_FW_UPDATE_FILE, false);
    stream.SetString(order.m_file);
    values.Add(stream);
    return values;
}

/// What is shown while the upgrade runs.
class Progress {
public:
    Progress(std::string place, int output)
        : m_place(std::move(place)),
          m_output(output),
          m_terminal(isatty(output) == 1) {}

    void Tick() {
        const auto seconds = Seconds();
        if (m_terminal) {
            WriteAll(m_output, "\r" + m_place + ": upgrade in progress, " + std::to_string(seconds) + " s");
        } else if (seconds >= m_nextLine) {
            m_nextLine = seconds + QuietSeconds;
            WriteAll(m_output, m_place + ": upgrade in progress, " + std::to_string(seconds) + " s\n");
        }
    }
    void Line(const std::string& text) const {
        // The line of the progress is longer: what is left of it goes.
        WriteAll(m_output, (m_terminal ? "\r\033[K" : "") + text + "\n");
    }
    void End(bool good) const {
        Line(m_place + (good ? ": upgraded, " : ": the upgrade failed, ") + std::to_string(Seconds()) + " s");
    }

private:
    int64_t Seconds() const {
        return std::chrono::duration_cast<std::chrono::seconds>(std::chrono::steady_clock::now() - m_begin).count();
    }

    std::string m_place;
    int m_output;
    bool m_terminal;
    int64_t m_nextLine = 0;
    std::chrono::steady_clock::time_point m_begin = std::chrono::steady_clock::now();
};

// The upgrade's event, or without one what the adaptor's row says: nothing while it is in progress.
std::optional<int> Outcome(Session& session, const Progress& progress) {
    while (const auto event = session.Manager().TakeEvent(Tick)) {
        if (event->m_event == BMI_GROUP_FIRMWARE_UPDATE) return UpgradeOf(event->m_params).m_state;
        progress.Line(EventLine(*event));
    }
    int result = 0;
    const auto row = session.Row(BMI_GROUP_FIRMWARE_UPDATE, {}, result);
    if (row == nullptr) return UpgradeHasFailed;
    const int state = UpgradeOf(*row).m_state;
    if (state == UpgradeIsRunning) return std::nullopt;
    session.Manager().TakeEvent(std::chrono::milliseconds(0)); // it may have come in between
    return state;
}

} // namespace

FirmwareOrder ParseFirmwareOrder(const std::vector<std::string>& words) {
    CLI::App app("", "firmware");
    std::vector<std::string> positional;
    std::string target;
    int bay = 0;
    FirmwareOrder order;
    app.set_help_flag();
    app.add_option("WORDS", positional);
    app.add_option("--target", target);
    app.add_option("--bay", bay)->check(CLI::Range(FirstAmcBay, LastAmcBay));
    app.add_flag("--dry-run", order.m_dryRun);
    try {
        app.parse(std::vector<std::string>(words.rbegin(), words.rend())); // as the library wants them
    } catch (const CLI::ParseError& error) {
        throw UsageError(std::string("firmware: ") + error.what());
    }
    if (positional.size() == 2 && positional[1] == "show" && words.size() == 2) {
        order.m_show = true;
        return order;
    }
    if (positional.size() != 3 || positional[1] != "update" || app.count("--target") == 0)
        throw UsageError(std::string("firmware: expected ") + FirmwareUsage);
    order.m_place = PlaceOf(target, app.count("--bay") > 0 ? std::optional(bay) : std::nullopt);
    order.m_file = CheckedFile(positional[2]);
    return order;
}

std::string FirmwareDryRun(const FirmwareOrder& order) {
    CBMITable table;
    CBMIParams values = ValuesOf(order);
    table.AddRow(values);
    return UpgradeTargetText(order.m_place) + ": nothing is written; an upgrade would write to 0x600\n" +
           AlignedTable(TableLines(table), false);
}

bool ShowFirmware(Session& session, std::string& text) {
    int result = 0;
    const auto row = session.Row(BMI_GROUP_FIRMWARE_UPDATE, {}, result);
    if (result != Success || row == nullptr) {
        text += "the state of firmware upgrades cannot be read: " + ResultText(result) + "\n";
        return false;
    }
    const UpgradeRow upgrade = UpgradeOf(*row);
    text += UpgradeTargetText(upgrade) + ": " + std::string(UpgradeStateName(upgrade.m_state)) + "\n";
    return upgrade.m_state != UpgradeHasFailed;
}

bool UpdateFirmware(Session& session, const FirmwareOrder& order, int output) {
    const std::string place = UpgradeTargetText(order.m_place);
    CBMIKeys keys;
    CBMIParams values = ValuesOf(order);
    fflush(stdout);
    ForgetWithheld(); // what init printed is not the tool's
    if (const int result = session.WriteRow(BMI_GROUP_FIRMWARE_UPDATE, keys, values); result != Success) {
        WriteAll(output, place + ": the adaptor did not begin the upgrade: " + ResultText(result) + "\n");
        return false;
    }
    Progress progress(place, output);
    std::optional<int> state;
    for (progress.Tick(); !(state = Outcome(session, progress));)
        progress.Tick();
    progress.End(state == UpgradeIsDone);
    fflush(stdout);
    if (state != UpgradeIsDone) ShowWithheld(); // the tool's report
    return state == UpgradeIsDone;
}

} // namespace bmhost
