// A firmware upgrade by an adaptor of this process, followed to its end.
#include "host/orders/OwnUpgrade.h"

#include "common/veldo_common_protocol.h"
#include "host/orders/FirmwareFile.h"
#include "host/orders/UpgradeHistory.h"
#include "host/orders/UpgradeLock.h"
#include "host/output/Progress.h"
#include "host/output/Redirect.h"
#include "host/output/TextOutput.h"
#include "host/picture/StatusNames.h"
#include "host/session/Session.h"

#include <chrono>
#include <cstdio>
#include <optional>
#include <unistd.h>

namespace bmhost {

using namespace BM_ADAPTOR;

namespace {

constexpr std::chrono::seconds Tick(1);

// The upgrade's event, or without one what the adaptor's row says: nothing while it is in progress.
std::optional<int> Outcome(Session& session) {
    while (const auto event = session.TakeEvent(Tick)) { // others do not concern it
        if (event->m_event == BMI_GROUP_FIRMWARE_UPDATE) return UpgradeOf(event->m_params).m_state;
    }
    int result = 0;
    const auto row = session.Row(BMI_GROUP_FIRMWARE_UPDATE, {}, result);
    if (row == nullptr) return UpgradeHasFailed;
    const int state = UpgradeOf(*row).m_state;
    if (state == UpgradeIsRunning) return std::nullopt;
    session.TakeEvent(std::chrono::milliseconds(0)); // it may have come in between
    return state;
}

UpgradeFacts FactsOf(const OrderOutcome& begun) {
    UpgradeFacts facts;
    begun.m_values.at("target").get_to(facts.m_target);
    begun.m_values.at("bay").get_to(facts.m_bay);
    begun.m_values.at("file").get_to(facts.m_file);
    begun.m_values.at("sha256").get_to(facts.m_sha256);
    begun.m_values.at("version_before").get_to(facts.m_versionBefore);
    facts.m_state = UpgradeIsRunning;
    facts.m_begun = WallNow();
    facts.m_asker = "uid " + std::to_string(getuid()) + ", process " + std::to_string(getpid());
    return facts;
}

// An upgrade is not given up because its history cannot be written.
void Keep(const UpgradeFacts& facts, OrderOutcome& outcome) {
    try {
        UpgradeHistory(StateFolder()).Keep(facts);
    } catch (const std::exception& error) {
        if (outcome.m_remarks.empty()) outcome.m_remarks.emplace_back(error.what());
    }
}

std::string TextOfEnd(const UpgradeFacts& facts) {
    std::string text = "file " + PrintableText(facts.m_file) + ", SHA-256 " + facts.m_sha256 + "\n";
    constexpr std::string_view noController = "UnKn";
    if (!facts.m_versionBefore.empty())
        text += "firmware before " +
                (facts.m_versionBefore == noController ? "unknown" : PrintableText(facts.m_versionBefore)) +
                "; the adaptor does not read it again before another process's init\n";
    return text;
}

} // namespace

OrderOutcome UpgradeToTheEnd(const Order& order, Session& session, const Picture& picture, int output, bool progress) {
    const UpgradeLock lock(StateFolder() + "/firmware");
    FirmwareFile image = CopiedImage(StateFolder() + "/firmware", order.m_values.at("path").get<std::string>());
    Order own = order;
    own.m_values["path"] = image.Path();
    own.m_values["sha256"] = image.Sha256();
    fflush(stdout);
    ForgetWithheld(); // what init printed is not the tool's
    OrderOutcome outcome = CarryOut(own, session, picture);
    if (!outcome.m_good) return outcome;
    UpgradeFacts facts = FactsOf(outcome);
    Keep(facts, outcome);
    const std::string place = UpgradeTargetText({facts.m_target, facts.m_bay, facts.m_state});
    Progress shown(place + ": upgrade in progress", output, progress);
    std::optional<int> state;
    for (shown.Tick(); !(state = Outcome(session));)
        shown.Tick();
    facts.m_state = *state;
    facts.m_ended = WallNow();
    Keep(facts, outcome);
    outcome.m_good = state == UpgradeIsDone;
    shown.Line(place + (outcome.m_good ? ": upgraded, " : ": the upgrade failed, ") + std::to_string(shown.Seconds()) +
               " s");
    outcome.m_text = TextOfEnd(facts);
    outcome.m_values["state"] = facts.m_state;
    outcome.m_values["state_name"] = UpgradeStateName(facts.m_state);
    outcome.m_values["begun"] = Rfc3339(facts.m_begun);
    outcome.m_values["ended"] = Rfc3339(*facts.m_ended);
    outcome.m_values["version_after"] = nullptr; // the adaptor takes the inventory once
    fflush(stdout);
    if (!outcome.m_good) ShowWithheld(); // the tool's report
    return outcome;
}

} // namespace bmhost
