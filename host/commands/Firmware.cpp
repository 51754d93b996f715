// `bmhost firmware`: an upgrade that is started and followed to its end.
#include "host/commands/Firmware.h"

#include "common/veldo_common_protocol.h"
#include "host/commands/Context.h"
#include "host/output/Redirect.h"
#include "host/output/TextOutput.h"
#include "host/picture/Led.h"
#include "host/resident/RunOutput.h"
#include "host/resident/Signals.h"
#include "host/session/Session.h"
#include "host/words/Commands.h"
#include "host/words/Error.h"
#include "host/words/Nearest.h"

#include <algorithm>
#include <cctype>
#include <cerrno>
#include <chrono>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <optional>
#include <unistd.h>

namespace bmhost {

using namespace BM_ADAPTOR;

namespace {

constexpr const char* Targets[] = {"board", "amc", "rtm"};
constexpr Command::Range AmcBays = {FirstAmcBay, LastAmcBay};
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
    Refuse("--target '" + target + "': expected board, amc or rtm" +
           DidYouMean(target, {std::begin(Targets), std::end(Targets)}));
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
    while (const auto event = session.TakeEvent(Tick)) {
        if (event->m_event == BMI_GROUP_FIRMWARE_UPDATE) return UpgradeOf(event->m_params).m_state;
        progress.Line(EventLine(*event));
    }
    int result = 0;
    const auto row = session.Row(BMI_GROUP_FIRMWARE_UPDATE, {}, result);
    if (row == nullptr) return UpgradeHasFailed;
    const int state = UpgradeOf(*row).m_state;
    if (state == UpgradeIsRunning) return std::nullopt;
    session.TakeEvent(std::chrono::milliseconds(0)); // it may have come in between
    return state;
}

} // namespace

FirmwareOrder FirmwareOrderOf(const FirmwareWords& words) {
    return {PlaceOf(words.m_target, words.m_bay), CheckedFile(words.m_file)};
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

namespace {

bool RunUpdate(const FirmwareWords& words, Context& context) {
    const FirmwareOrder order = FirmwareOrderOf(words);
    if (words.m_dryRun) {
        WriteAll(context.Output(), FirmwareDryRun(order));
        return true;
    }
    const auto update = [&] {
        return context.WithSession(
            [&](Session& session, int output) { return UpdateFirmware(session, order, output); });
    };
    if (!context.TakesSignals()) return update();
    StopRequest notGranted;
    return WithSignals(notGranted, "waiting for the end of the upgrade", update);
}

bool RunShow(Context& context) {
    return RunForPeople(
        context, [](Session& session, bool, std::string& text, std::string&) { return ShowFirmware(session, text); });
}

} // namespace

void AddFirmware(Commands& commands) {
    Command& family = commands.Add("firmware", "upgrade firmware", OnCommandLine | InShell);
    Command& update = family.Add("update", "upgrade firmware and follow it");
    const auto words = update.Own<FirmwareWords>();
    update.ForPeople()
        .WithoutTimeLimit()
        .Option({"--target", "T", "board, amc (with --bay) or rtm", {Targets[0], Targets[1], Targets[2]}, true},
                words->m_target)
        .Option({"--bay", "N", "the bay of the AMC, 1 to 8"}, words->m_bay, AmcBays)
        .Word("FILE", words->m_file, Choices::Kind::File)
        .Flag({"--dry-run", "", "check the words and the file, and show what would be written"}, words->m_dryRun)
        .Details(
            "FILE has to be a regular file that is not empty; the adaptor is given its absolute path. Follows the upgrade "
            "to its\nend and shows for how long it runs. When it fails, standard error has what the firmware tool said. "
            "Status 0 when\nit passed. A signal does not end bmhost before the tool has ended; the third one does, and "
            "leaves the tool alone.\nCtrl-C and the hangup of the terminal reach the tool as well.\n")
        .Example("bmhost firmware update --target amc --bay 3 image.bin")
        .Example("bmhost firmware update --target rtm image.bin --dry-run")
        .Run([words](Context& context) { return RunUpdate(*words, context); });
    family.Add("show", "show the state of the last upgrade")
        .ForPeople()
        .Details("Target and state of the last upgrade of this process's adaptor.\n")
        .Example("bmhost firmware show")
        .Run(RunShow);
}

} // namespace bmhost
