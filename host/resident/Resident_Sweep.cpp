// The resident host: what it reads of the blade, all at once after a lifecycle call or an order, the rest step by step.
#include "host/resident/Resident.h"

#include "common/veldo_common_protocol.h"
#include "host/output/TextOutput.h"
#include "host/picture/ReadPicture.h"
#include "host/picture/Verdict.h"
#include "host/service/OwnLog.h"
#include "host/session/Rows.h"
#include "host/words/Names.h"

#include <algorithm>
#include <utility>

namespace bmhost {

using namespace BM_ADAPTOR;

namespace {

// Of pictures that show nothing new.
constexpr std::chrono::milliseconds PictureBeat(100);

bool SameRow(const CBMIParams& one, const CBMIParams& other) {
    if (one.GetSize() != other.GetSize()) return false;
    for (int i = 0; i < one.GetSize(); ++i) {
        const CBMIParam& left = *one.Get(i);
        const CBMIParam& right = *other.Get(i);
        if (left.GetId() != right.GetId() || ValueText(left) != ValueText(right)) return false;
    }
    return true;
}

bool SamePorts(const std::vector<PortFacts>& one, const std::vector<PortFacts>& other) {
    return std::equal(one.begin(), one.end(), other.begin(), other.end(), [](const auto& left, const auto& right) {
        return left.m_port == right.m_port && left.m_enabled == right.m_enabled && left.m_linkUp == right.m_linkUp &&
               left.m_name == right.m_name && left.m_note == right.m_note;
    });
}

} // namespace

// What the adaptor tells without asking the controller.
void Resident::ReadBlade() {
    Inventory inventory;
    std::vector<DspFacts> dsps;
    std::vector<PortFacts> ports;
    try {
        inventory = ReadInventory(m_adaptor);
        dsps = ReadDsps(m_adaptor);
        ports = ReadPorts(m_adaptor);
    } catch (const std::exception& error) { // of the adaptor: what could be read is what there is
        LogOwn(error.what());
    }
    std::vector<LedPlace> places;
    for (const LedPlace place : LedPlaces()) {
        bool there = place.m_bay == BaseboardBay;
        for (const CBMIParams& row : inventory.m_modules)
            there = there || IntegerOf(row, BMI_HW_AMC_BAY) == place.m_bay;
        if (there) places.push_back(place);
    }
    m_picture.Change({"inventory", "dsps", "ports"}, [&](Picture& picture) {
        picture.m_inventory = std::move(inventory);
        picture.m_dsps = std::move(dsps);
        picture.m_ports = std::move(ports);
        return true;
    });
    m_upgrades.Inventoried();
    {
        const std::lock_guard lock(m_guard);
        m_controller.Expect(places.size());
        m_sweep.Begin(std::move(places), LedSweep::Clock::now());
        m_portsDue = Lane::Clock::now() + m_settings.m_sweep;
    }
    m_controllerLane.Wake();
    m_portLane.Wake();
}

Lane::Clock::time_point Resident::SweepOn() {
    std::optional<LedPlace> place;
    {
        const std::lock_guard lock(m_guard);
        // Whoever ends the last order wakes the lane.
        if (m_ending || m_orders > 0 || !m_inited) return Lane::Clock::time_point::max();
        place = m_sweep.Due(LedSweep::Clock::now());
        if (!place) return m_sweep.When();
    }
    ReadNextLed(*place);
    const std::lock_guard lock(m_guard);
    return m_sweep.When();
}

void Resident::ReadNextLed(LedPlace place) {
    uint64_t number = 0;
    {
        const std::lock_guard lock(m_guard);
        number = m_controller.Called(ControllerWatch::Moment::Now());
    }
    LedReading reading;
    reading.m_bay = place.m_bay;
    reading.m_led = place.m_led;
    m_picture.Meanwhile(m_controllerLane,
                        "reading LED " + std::to_string(place.m_led) + " of " + LedBayText(place.m_bay));
    try {
        reading = ReadLedOnce(m_adaptor, place);
    } catch (const std::exception& error) { // of the adaptor: this LED cannot be read
        LogOwn(error.what());
    }
    m_picture.Meanwhile(m_controllerLane, "");
    const bool good = reading.m_result == Success;
    const bool exists = reading.m_result != NotFound;
    const auto picture = m_picture.Now();
    const LedReading* const before = FindLed(*picture, place.m_bay, place.m_led);
    {
        const std::lock_guard lock(m_guard);
        const bool quick = m_controller.Returned(number, good, exists, ControllerWatch::Moment::Now());
        m_sweep.Done(exists, good || !exists || quick, LedSweep::Clock::now());
        // One that was good a while ago: the others tell whether the LED fails, or the controller is gone.
        if (quick && before != nullptr && before->m_result == Success) m_sweep.Hurry(LedSweep::Clock::now());
    }
    Put(std::move(reading));
    Judge();
}

// A reading that shows nothing new may wait for the next: each makes a new picture.
void Resident::Put(LedReading reading) {
    const auto before = m_picture.Now();
    const LedReading* const old = FindLed(*before, reading.m_bay, reading.m_led);
    const bool exists = reading.m_result != NotFound;
    const bool same = old != nullptr && exists && old->m_result == reading.m_result &&
                      (!reading.m_state || (old->m_state && SameRow(*old->m_state, *reading.m_state)));
    const bool isNews = !same && (old != nullptr || exists);
    m_unchanged.push_back(std::move(reading));
    const auto now = Lane::Clock::now();
    if (!isNews && now - m_putLast < PictureBeat) return;
    m_putLast = now;
    uint64_t sweeps = 0;
    {
        const std::lock_guard lock(m_guard);
        sweeps = m_sweep.Passes();
    }
    // Should there be no memory for a picture, the LEDs' next readings are as good.
    std::vector<LedReading> readings = std::exchange(m_unchanged, {});
    const auto put = [&](Picture& picture) {
        for (LedReading& each : readings)
            PutLed(std::move(each), picture.m_leds);
        picture.m_controller.m_sweeps = sweeps;
        return true;
    };
    if (isNews) {
        m_picture.Change({"leds"}, put);
    } else {
        m_picture.Change({}, put);
    }
}

// Takes what is known of the controller into the picture.
void Resident::Judge() {
    Controller state;
    {
        const std::lock_guard lock(m_guard);
        m_controller.Look(ControllerWatch::Moment::Now());
        state = m_controller.State();
    }
    if (m_picture.Now()->m_controller.m_state == state.m_state) return;
    m_picture.Change({"controller"}, [&](Picture& picture) {
        if (picture.m_controller.m_state == state.m_state) return false;
        picture.m_controller.m_state = state.m_state;
        picture.m_controller.m_since = state.m_since;
        return true;
    });
}

// The links of the switch's ports come and go; nothing tells.
Lane::Clock::time_point Resident::ReadPortsOn() {
    {
        const std::lock_guard lock(m_guard);
        if (m_ending || Lane::Clock::now() < m_portsDue) return m_portsDue;
    }
    if (m_orders == 0) {
        std::vector<PortFacts> ports = ReadPorts(m_adaptor);
        m_picture.Change({"ports"}, [&](Picture& picture) {
            if (SamePorts(picture.m_ports, ports)) return false;
            picture.m_ports = std::move(ports);
            return true;
        });
    }
    const std::lock_guard lock(m_guard);
    m_portsDue = Lane::Clock::now() + m_settings.m_sweep;
    return m_portsDue;
}

} // namespace bmhost
