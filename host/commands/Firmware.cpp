// `bmhost firmware`: an upgrade that is started and followed to its end.
#include "host/commands/Firmware.h"

#include "bm_dev/Nearest.h"
#include "common/veldo_common_protocol.h"
#include "host/context/Context.h"
#include "host/context/GiveOrder.h"
#include "host/orders/FirmwareFile.h"
#include "host/orders/OrderKinds.h"
#include "host/orders/UpgradeHistory.h"
#include "host/output/Redirect.h"
#include "host/output/TextOutput.h"
#include "host/picture/Led.h"
#include "host/views/LookJson.h"
#include "host/views/Views.h"
#include "host/words/Commands.h"
#include "host/words/Error.h"

#include <algorithm>
#include <cctype>
#include <cerrno>
#include <cstdio>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <optional>

namespace bmhost {

namespace {

constexpr const char* Targets[] = {"board", "amc", "rtm"};
constexpr Command::Range AmcBays = {FirstAmcBay, LastAmcBay};

[[noreturn]] void Refuse(const std::string& reason) {
    throw UsageError("firmware update: " + reason);
}

UpgradeRow PlaceOf(const std::string& target, std::optional<int> bay) {
    if (target == "amc") {
        if (!bay) Refuse("expected --bay N with --target amc, N from 1 to 8");
        return {UpgradeOfModule, *bay, UpgradeIsRunning};
    }
    if (std::find(std::begin(Targets), std::end(Targets), target) == std::end(Targets))
        Refuse("--target '" + target + "': expected board, amc or rtm" +
               bm_dev::DidYouMean(target, {std::begin(Targets), std::end(Targets)}));
    if (bay) Refuse("--bay goes with --target amc only");
    if (target == "rtm") return {UpgradeOfModule, RtmBay, UpgradeIsRunning};
    return {UpgradeOfBaseboard, BaseboardBay, UpgradeIsRunning};
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

std::string PlaceText(const UpgradeFacts& upgrade) {
    return UpgradeTargetText({upgrade.m_target, upgrade.m_bay, upgrade.m_state});
}

// The end of one whose host has ended first is not known; a resident host waits for the end of its own.
std::string StateText(const UpgradeFacts& upgrade, bool followed) {
    if (upgrade.m_ended) return std::string(UpgradeStateName(upgrade.m_state));
    return followed && upgrade.m_state == UpgradeIsRunning ? "in progress" : "begun, no end seen";
}

std::string VersionText(const std::string& version) {
    return version == BM_ADAPTOR::UNKNOWN_FW_VERSION ? "unknown" : PrintableText(version);
}

} // namespace

FirmwareOrder FirmwareOrderOf(const FirmwareWords& words) {
    return {PlaceOf(words.m_target, words.m_bay), CheckedFile(words.m_file)};
}

Order OrderOf(const FirmwareWords& words) {
    const FirmwareOrder checked = FirmwareOrderOf(words);
    nlohmann::json values = {{"target", words.m_target},
                             {"path", checked.m_file},
                             {"name", PrintableText(words.m_file)},
                             {"dry_run", words.m_dryRun}};
    if (words.m_bay) values["bay"] = *words.m_bay;
    return {"firmware-update", values};
}

std::string HistoryText(const std::vector<UpgradeFacts>& upgrades, bool followed) {
    if (upgrades.empty()) return "no upgrade yet\n";
    const UpgradeFacts& last = upgrades.back();
    std::vector<std::vector<std::string>> lines = {{"begun", "place", "state", "file", "firmware before", "SHA-256"}};
    for (const UpgradeFacts& each : upgrades)
        lines.push_back({Rfc3339(each.m_begun), PlaceText(each), StateText(each, followed), PrintableText(each.m_file),
                         VersionText(each.m_versionBefore), each.m_sha256});
    return PlaceText(last) + ": " + StateText(last, followed) + "\n\n" + AlignedTable(lines, false);
}

namespace {

bool RunUpdate(const FirmwareWords& words, Context& context) {
    const Order order = OrderOf(words);
    const std::string place = UpgradeTargetText(FirmwareOrderOf(words).m_place);
    const std::string question = "bmhost: " + place + " gets new firmware from " + PrintableText(words.m_file) +
                                 "; it cannot be stopped halfway: begin?";
    if (words.m_dryRun) return ShowOutcome(context, "firmware update", DryUpgrade({order.m_name, order.m_values}));
    return GiveConfirmed(context, "firmware update", order, question, words.m_yes);
}

// The resident host knows of what it has made; without one there is the history on disk.
bool RunShow(Context& context) {
    std::vector<std::string> remarks;
    const bool asks = context.Host() != nullptr;
    Picture picture;
    if (asks) {
        picture = context.Look();
    } else {
        picture.m_time = WallNow();
        picture.m_source = context.SourceNow();
        picture.m_upgrades = UpgradeHistory(StateFolder()).Read(remarks);
    }
    const auto& upgrades = picture.m_upgrades;
    const bool good = upgrades.empty() || upgrades.back().m_state != UpgradeHasFailed;
    WriteAll(context.Output(),
             context.Globals().m_json ? LookJson("firmware show", good, picture) : HistoryText(upgrades, asks));
    for (const std::string& remark : remarks)
        fprintf(stderr, "bmhost: %s\n", remark.c_str());
    return good;
}

} // namespace

void AddFirmware(Commands& commands) {
    Command& family = commands.Add("firmware", "upgrade firmware", OnCommandLine | InShell);
    Command& update = family.Add("update", "upgrade firmware and follow it");
    const auto words = update.Own<FirmwareWords>();
    update.WithoutTimeLimit()
        .Option({"--target", "T", "board, amc (with --bay) or rtm", {Targets[0], Targets[1], Targets[2]}, true},
                words->m_target)
        .Option({"--bay", "N", "the bay of the AMC, 1 to 8"}, words->m_bay, AmcBays)
        .Word("FILE", words->m_file, Choices::Kind::File)
        .Flag({"--dry-run", "", "check the words and the file, and show what would be written"}, words->m_dryRun)
        .Flag({"--yes", "", "do not ask"}, words->m_yes)
        .Details(
            "FILE has to be a regular file that is not empty; the tool gets a private copy of it. Asks first where there is a\n"
            "terminal; elsewhere it needs --yes. Follows the upgrade to its end and shows for how long it runs. When it fails,\n"
            "standard error has what the firmware tool said. Status 0 when it passed.\n"
            "On the command line no Ctrl-C and no hangup reaches the tool, and it ends its work when bmhost is ended: the third\n"
            "signal does that. In a shell, bmhost and the tool ignore them meanwhile.\n")
        .Example("bmhost firmware update --target amc --bay 3 --yes image.bin")
        .Example("bmhost firmware update --target rtm image.bin --dry-run")
        .Run([words](Context& context) { return RunUpdate(*words, context); });
    family.Add("show", "show the firmware upgrades that there were")
        .Details(
            "The last one, and the history of all that were given as orders, with file and SHA-256. Needs no adaptor.\n"
            "Status 1 when the last one failed.\n")
        .Example("bmhost firmware show")
        .Run(RunShow);
}

} // namespace bmhost
