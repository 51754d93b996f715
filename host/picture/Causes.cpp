// What is wrong with a blade, by its picture: each fault and each red LED with its cause, what shows it, and what cures
// it.
#include "host/picture/Causes.h"

#include "common/veldo_common_protocol.h"
#include "host/output/TextOutput.h"
#include "host/picture/Led.h"
#include "host/picture/StatusNames.h"
#include "host/session/Rows.h"
#include "host/session/Session.h"

#include <algorithm>
#include <chrono>

namespace bmhost {

using namespace BM_ADAPTOR;

namespace {

// Every LED is read within 30 s; twice that is not yet a reading that nobody renews.
constexpr std::chrono::seconds OldAfter(90);
// A full blade's inventory takes some ten seconds with a slow controller, any other call less.
constexpr std::chrono::seconds NotReturnedAfter(60);
// The adaptor gives the first DSPs addresses of its own when it is first initialised.
constexpr int32_t DspsWithDefaults = 4;

constexpr const char* ComplaintTitle = "CDataStorage :: ";

Fault FaultOf(const Situation& situation, const std::string& what, std::vector<std::string> evidence) {
    return {std::string(situation.m_place), what, std::string(situation.m_cause), std::move(evidence),
            std::string(situation.m_cure),  what};
}

Fault FaultSince(const Situation& situation, const std::string& what, WallTime since,
                 std::vector<std::string> evidence) {
    Fault fault = FaultOf(situation, what, std::move(evidence));
    fault.m_what += " since " + Rfc3339(since);
    return fault;
}

Fault FaultAt(std::string place, const Situation& situation, const std::string& what,
              std::vector<std::string> evidence) {
    Fault fault = FaultOf(situation, what, std::move(evidence));
    fault.m_place = std::move(place);
    return fault;
}

std::string DspText(const DspFacts& dsp) {
    return "DSP " + std::to_string(dsp.m_number);
}

bool Failed(const std::optional<CallOutcome>& call) {
    return call && call->m_result != Success;
}

std::string OutcomeText(const CallOutcome& call) {
    return call.m_operation + " returned " + ResultText(call.m_result);
}

/// Looks at one part of the picture after the other.
class Search {
public:
    explicit Search(const Picture& picture) : m_picture(picture) {}

    std::vector<Fault> Faults() {
        LookAtSource();
        LookAtController();
        LookAtCallsUnderWay();
        LookAtLifecycle();
        LookAtHealth();
        LookAtInventory();
        LookAtLeds();
        LookAtUpgrades();
        LookAtDsps();
        LookAtPorts();
        return std::move(m_faults);
    }

private:
    void Add(Fault fault) { m_faults.push_back(std::move(fault)); }

    bool IsUnderWay(std::string_view operation) const {
        return std::any_of(m_picture.m_calls.begin(), m_picture.m_calls.end(), [=](const CallInProgress& call) {
            return !call.m_waiting && call.m_operation == operation;
        });
    }

    bool IsStarted() const {
        const auto& start = m_picture.m_host.m_start;
        return start && start->m_result == Success;
    }

    bool IsBeforeStart(WallTime time) const { return IsStarted() && time < m_picture.m_host.m_start->m_time; }

    void LookAtSource() {
        const Source& source = m_picture.m_source;
        if (!source.IsSimulated()) return;
        Sign sign = Sign::SourceMissing;
        if (source.m_kind == Source::Kind::NoPermission) sign = Sign::SourceNoPermission;
        if (source.m_kind == Source::Kind::NoController) sign = Sign::SourceNoController;
        std::vector<std::string> evidence = {source.m_reason};
        if (Failed(m_picture.m_host.m_init)) evidence.push_back(OutcomeText(*m_picture.m_host.m_init));
        Add(FaultOf(SituationOf(sign), "the inventory is simulated", std::move(evidence)));
    }

    void LookAtController() {
        const Controller& controller = m_picture.m_controller;
        if (controller.m_state != Controller::State::Lost) return;
        std::vector<std::string> evidence;
        std::optional<WallTime> oldest;
        for (const LedReading& reading : m_picture.m_leds) {
            if (reading.m_state && (!oldest || reading.m_read < *oldest)) oldest = reading.m_read;
        }
        if (oldest) evidence.push_back("the oldest reading of an LED is of " + Rfc3339(*oldest));
        Add(FaultSince(SituationOf(Sign::ControllerLost), "controller lost", controller.m_since, std::move(evidence)));
    }

    // Start and stop take as long as the board's tools, an upgrade as long as the firmware's. Of a call that waits, the
    // one that comes first is told.
    void LookAtCallsUnderWay() {
        for (const CallInProgress& call : m_picture.m_calls) {
            const auto age = m_picture.m_time - call.m_since;
            const bool mayTakeLong =
                call.m_operation == "start" || call.m_operation == "stop" || call.m_operation.starts_with("firmware");
            if (call.m_waiting || mayTakeLong || age < NotReturnedAfter) continue;
            const Sign sign = call.m_operation == "init" ? Sign::InitNotReturned : Sign::CallNotReturned;
            std::vector<std::string> evidence;
            if (!call.m_asker.empty()) evidence.push_back("asked for by " + call.m_asker);
            Add(FaultSince(SituationOf(sign), call.m_operation + " has not returned", call.m_since,
                           std::move(evidence)));
        }
    }

    void AddCall(const CallOutcome& call, Sign withoutLine) {
        const Situation* situation = SituationOf(call.m_reasons);
        std::vector<std::string> evidence = TellingLines(call.m_reasons);
        evidence.push_back(OutcomeText(call) + ", " + Rfc3339(call.m_time));
        Add(FaultOf(situation != nullptr ? *situation : SituationOf(withoutLine), OutcomeText(call),
                    std::move(evidence)));
    }

    // With a simulated inventory, init fails for no other reason than that.
    void LookAtLifecycle() {
        const HostFacts& host = m_picture.m_host;
        if (Failed(host.m_init) && !m_picture.m_source.IsSimulated()) AddCall(*host.m_init, Sign::InitWithoutLine);
        if (Failed(host.m_start)) AddCall(*host.m_start, Sign::StartWithoutLine);
        if (Failed(host.m_stop)) AddCall(*host.m_stop, Sign::StopWithoutLine);
    }

    void LookAtHealth() {
        const Health& health = m_picture.m_health;
        // The monitor that a start begins tells of itself a moment after the start has returned.
        const bool started = IsStarted() && !IsBeforeStart(health.m_since);
        const bool ended = health.m_state == HealthState::Ended && started && !IsUnderWay("stop");
        if (health.m_state != HealthState::Fault && !ended) return;
        const Situation* situation = SituationOf(health.m_reasons);
        if (situation == nullptr) situation = &SituationOf(Sign::MonitorEnded);
        std::vector<std::string> evidence = TellingLines(health.m_reasons);
        evidence.push_back("monitoring ended " + Rfc3339(health.m_since));
        Add(FaultOf(*situation, ended ? "no longer monitored" : "health: fault", std::move(evidence)));
    }

    void LookAtInventory() {
        const Inventory& inventory = m_picture.m_inventory;
        const bool isThere = m_picture.m_host.m_init.has_value() && !IsUnderWay("init");
        if (isThere && inventory.m_result != Success) {
            Add(FaultOf(SituationOf(Sign::InventoryNotRead), "the board's table cannot be read",
                        {"reading 0x30000 gave " + ResultText(inventory.m_result)}));
        }
        for (const CBMIParams& row : inventory.m_modules) {
            if (IntegerOf(row, BMI_HW_AMC_RUN_STATUS) != RUN_STATUS_FAILED) continue;
            const auto& start = m_picture.m_host.m_start;
            const Situation* const ofStart = Failed(start) ? SituationOf(start->m_reasons) : nullptr;
            Fault fault = FaultAt(LedBayText(IntegerOf(row, BMI_HW_AMC_BAY)), SituationOf(Sign::RunStatusFailed),
                                  "run status " + RunStatusText(RUN_STATUS_FAILED),
                                  {"0x30208 of the bay is " + std::to_string(RUN_STATUS_FAILED)});
            if (Failed(start)) fault.m_evidence.push_back(OutcomeText(*start) + ", " + Rfc3339(start->m_time));
            if (ofStart != nullptr) {
                fault.m_cause = "the start failed, and the adaptor then calls every module failed: " +
                                std::string(ofStart->m_cause);
                fault.m_cure = ofStart->m_cure;
            }
            Add(std::move(fault));
        }
    }

    // While a start is under way, out-of-service LEDs blink.
    static bool IsRedOrOutOfService(const LedReading& reading, const LedRow& row, bool starting) {
        if (!IsLit(row)) return false;
        if (reading.m_led == HOST_LED_OUT_OF_SERVICE) return !starting;
        return row.m_color == INTERNAL_LED_RED;
    }

    bool IsOld(const LedReading& reading) const {
        if (reading.m_result != Success) return true;
        const bool paused =
            std::any_of(m_picture.m_calls.begin(), m_picture.m_calls.end(),
                        [](const CallInProgress& call) { return !call.m_waiting; }) ||
            std::any_of(m_picture.m_upgrades.begin(), m_picture.m_upgrades.end(),
                        [](const UpgradeFacts& upgrade) { return upgrade.m_state == UpgradeIsRunning; });
        return m_picture.m_host.m_resident && !paused && m_picture.m_time - reading.m_read > OldAfter;
    }

    void LookAtLeds() {
        const bool lost = m_picture.m_controller.m_state == Controller::State::Lost;
        for (const LedReading& reading : m_picture.m_leds) {
            const std::string led = "LED " + LedText(reading.m_led);
            if (reading.m_state) {
                const LedRow row = LedRowOf(*reading.m_state, reading.m_bay);
                // A good start sets the LEDs, which are read again then.
                if (!IsBeforeStart(reading.m_read) && IsRedOrOutOfService(reading, row, IsUnderWay("start"))) {
                    Add(FaultAt(LedBayText(reading.m_bay),
                                SituationOf(row.m_local != 0 ? Sign::LedOfModule : Sign::LedOfAdaptor),
                                led + " is " + LedShows(row),
                                {LedShows(row) + ", under " + (row.m_local != 0 ? "local control" : "override") +
                                 ", read " + Rfc3339(reading.m_read)}));
                }
            }
            if (lost || !IsOld(reading)) continue;
            std::vector<std::string> evidence;
            if (reading.m_result != Success) evidence.push_back("the last try gave " + ResultText(reading.m_result));
            evidence.push_back(reading.m_state ? "last read " + Rfc3339(reading.m_read) + ": " +
                                                     LedShows(LedRowOf(*reading.m_state, reading.m_bay))
                                               : "never read");
            Add(FaultAt(LedBayText(reading.m_bay), SituationOf(Sign::OldReading), led + " is not read any more",
                        std::move(evidence)));
        }
    }

    // Of each target only the latest counts.
    void LookAtUpgrades() {
        const auto& upgrades = m_picture.m_upgrades;
        const auto target = [](const UpgradeFacts& upgrade) {
            return UpgradeTargetText({upgrade.m_target, upgrade.m_bay, upgrade.m_state});
        };
        for (auto upgrade = upgrades.begin(); upgrade != upgrades.end(); ++upgrade) {
            const bool isLatest = std::none_of(upgrade + 1, upgrades.end(), [&](const UpgradeFacts& later) {
                return target(later) == target(*upgrade);
            });
            if (!isLatest || upgrade->m_state != UpgradeHasFailed) continue;
            std::vector<std::string> evidence;
            if (upgrade->m_begun != WallTime{}) evidence.push_back("begun " + Rfc3339(upgrade->m_begun));
            if (upgrade->m_ended) evidence.push_back("failed " + Rfc3339(*upgrade->m_ended));
            if (!upgrade->m_file.empty()) evidence.push_back("image " + upgrade->m_file);
            if (!upgrade->m_sha256.empty()) evidence.push_back("SHA-256 " + upgrade->m_sha256);
            if (!upgrade->m_asker.empty()) evidence.push_back("asked for by " + upgrade->m_asker);
            if (evidence.empty()) evidence.push_back("0x602 is " + std::to_string(UpgradeHasFailed));
            Add(FaultAt(target(*upgrade), SituationOf(Sign::UpgradeFailed), "the last firmware upgrade failed",
                        std::move(evidence)));
        }
    }

    // A refusal of the storage is explained by its own words.
    void AddNotRead(const std::string& place, const std::string& what, const std::string& note) {
        const Situation* const told = note.empty() ? nullptr : SituationOf({note, ComplaintTitle + note});
        const Situation& situation = told != nullptr ? *told : SituationOf(Sign::NotReadFromStorage);
        Add(FaultAt(place, situation, what, {note.empty() ? "the adaptor gave none" : note}));
    }

    // All in one, with a line for each bay.
    void LookAtDsps() {
        std::vector<const DspFacts*> without;
        for (const DspFacts& dsp : m_picture.m_dsps) {
            // Before the first init with the board, the storage does not hold the defaults yet.
            const bool comesByItself = dsp.m_stored && dsp.m_number <= DspsWithDefaults;
            if (!dsp.m_read) {
                AddNotRead(DspText(dsp), "its address could not be read", dsp.m_note);
            } else if (dsp.m_ip.empty() && !comesByItself) {
                without.push_back(&dsp);
            }
        }
        if (without.empty()) return;
        std::vector<std::string> evidence;
        int32_t bay = -1;
        for (const DspFacts* const dsp : without) {
            if (dsp->m_bay != bay) {
                evidence.push_back(LedBayText(dsp->m_bay) + ": " + DspText(*dsp));
            } else {
                evidence.back() += ", " + std::to_string(dsp->m_number);
            }
            bay = dsp->m_bay;
        }
        const std::string place =
            without.size() == 1 ? DspText(*without.front()) : std::to_string(without.size()) + " DSPs";
        Add(FaultAt(place, SituationOf(Sign::DspWithoutAddress), "without an IP address", std::move(evidence)));
    }

    void LookAtPorts() {
        for (const PortFacts& port : m_picture.m_ports) {
            const bool comesByItself = port.m_stored && port.m_note.empty(); // with the first init with the board
            if (!port.m_enabled && !comesByItself)
                AddNotRead("switch port " + std::to_string(port.m_port), "it could not be read", port.m_note);
        }
    }

    const Picture& m_picture;
    std::vector<Fault> m_faults;
};

} // namespace

std::vector<Fault> FaultsOf(const Picture& picture) {
    return Search(picture).Faults();
}

} // namespace bmhost
