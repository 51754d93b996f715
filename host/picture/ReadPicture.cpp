// The picture's parts, read from an adaptor: by a command with an adaptor of its own, and by the resident host.
#include "host/picture/ReadPicture.h"

#include "common/veldo_common_protocol.h"
#include "host/picture/StatusNames.h"
#include "host/session/Rows.h"
#include "host/session/Session.h"

#include "bm_dev/HostStorage.h"
#include "bm_dev/UniqueFd.h"

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <fcntl.h>
#include <map>
#include <unistd.h>

namespace bmhost {

using namespace BM_ADAPTOR;

namespace {

constexpr int Enabled = 1;
constexpr int Disabled = 0;
constexpr int LinkDown = 0;
constexpr int LinkUp = 1;

std::vector<CBMIParams> RowsOf(Session& session, unsigned group, int& result) {
    const auto table = session.Table(group, result);
    std::vector<CBMIParams> rows;
    for (int i = 0; table != nullptr && i < table->GetSize(); ++i)
        rows.push_back(*table->Get(i));
    return rows;
}

std::vector<CBMIParams> RowsOf(Session& session, unsigned group) {
    int result = 0;
    return RowsOf(session, group, result);
}

// The adaptor's results do not tell a refusal of the storage from an address that nobody has given: the log does.
void ReadAddress(Session& session, DspFacts& dsp) {
    const std::size_t told = session.Complaints().m_count;
    int result = 0;
    const auto row =
        session.Row(BMI_GROUP_HARDWARE_AMC_DSP_EX_TABLE, KeyOf(BMI_HW_AMC_DSP_EX_NUM, dsp.m_number), result);
    if (result == Success && row != nullptr) {
        dsp.m_ip = TextOf(*row, BMI_HW_AMC_DSP_EX_IP);
    } else if (result == NoRow) {
        dsp.m_read = false;
        dsp.m_note = DspNotInService;
    } else if (const StorageComplaints complaints = session.Complaints(); complaints.m_count != 0) {
        dsp.m_read = complaints.m_count == told; // what was refused before may be why there is none
        dsp.m_note = complaints.m_last;
    }
}

std::vector<DspFacts> DspsOf(Session& session) {
    std::vector<DspFacts> dsps;
    for (const CBMIParams& row : RowsOf(session, BMI_GROUP_HARDWARE_AMC_DSP_TABLE)) {
        dsps.push_back(DspOf(static_cast<int32_t>(dsps.size()) + 1, row));
    }
    return dsps;
}

std::string LeadsTo(int32_t type) {
    if (type == TELQ_EXT_IF_FABRIC) return "fabric";
    return type == TELQ_EXT_IF_RTM ? "RTM" : std::to_string(type);
}

// Any stored number but 1 disables the port, and is kept.
void SetState(PortFacts& port, int32_t admin) {
    port.m_enabled = admin == Enabled;
    if (admin != Enabled && admin != Disabled) port.m_note = "the state is " + std::to_string(admin);
}

/// What a file of the storage holds for each number, and why it cannot be read.
template <typename Value>
struct Stored {
    std::map<int32_t, Value> m_values;
    std::string m_refusal;
};

template <typename Value, typename Reader>
Stored<Value> StoredOf(const std::string& storage, const char* file, unsigned number, const Reader& reader) {
    const bm_dev::StoredRows stored = bm_dev::LookAtStored(storage, file);
    Stored<Value> values{{}, stored.m_refusal};
    for (int i = 0; i < stored.m_rows.GetSize(); ++i) {
        const CBMIParams& row = *stored.m_rows.Get(i);
        values.m_values[IntegerOf(row, number)] = reader(row);
    }
    return values;
}

void AddStoredAddresses(const std::string& storage, std::vector<DspFacts>& dsps) {
    const auto stored = StoredOf<std::string>(storage, DSP_IP_FILE, BMI_HW_AMC_DSP_EX_NUM,
                                              [](const CBMIParams& row) { return TextOf(row, BMI_HW_AMC_DSP_EX_IP); });
    for (DspFacts& dsp : dsps) {
        const auto found = stored.m_values.find(dsp.m_number);
        dsp.m_stored = true;
        dsp.m_read = stored.m_refusal.empty();
        dsp.m_note = stored.m_refusal;
        if (found != stored.m_values.end()) dsp.m_ip = found->second;
    }
}

std::vector<PortFacts> StoredPorts(const std::string& storage) {
    const auto stored =
        StoredOf<int32_t>(storage, SWITCH_PORT_FILE, BMI_HW_AMC_SWITCHPORT_NUM,
                          [](const CBMIParams& row) { return IntegerOf(row, BMI_HW_AMC_SWITCHPORT_ADMIN); });
    std::vector<PortFacts> ports;
    for (const SWITCH_PORT_NAME& name : g_SwitchPortNames) {
        PortFacts& port = ports.emplace_back();
        port.m_port = name.m_Number;
        port.m_name = name.m_Name;
        port.m_leadsTo = LeadsTo(name.m_Type);
        port.m_stored = true;
        port.m_note = stored.m_refusal;
        const auto found = stored.m_values.find(port.m_port);
        if (found != stored.m_values.end()) SetState(port, found->second);
    }
    return ports;
}

} // namespace

Source SourceOfBlade(const char* device) {
    const bm_dev::UniqueFd opened(open(device, O_RDWR | O_CLOEXEC));
    if (opened) return {};
    const int error = errno;
    Source source{Source::Kind::NoController, std::string(device) + ": " + std::strerror(error)};
    if (error == ENOENT) source.m_kind = Source::Kind::Missing;
    if (error == EACCES || error == EPERM) source.m_kind = Source::Kind::NoPermission;
    return source;
}

Inventory ReadInventory(Session& session) {
    Inventory inventory;
    inventory.m_board = RowsOf(session, BMI_GROUP_HARDWARE_BOARD, inventory.m_result);
    inventory.m_modules = RowsOf(session, BMI_GROUP_HARDWARE_AMC_TABLE);
    inventory.m_amcs = RowsOf(session, BMI_GROUP_HARDWARE_AMC_FRU_TABLE);
    inventory.m_rtms = RowsOf(session, BMI_GROUP_HARDWARE_RTM_FRU_TABLE);
    return inventory;
}

std::vector<LedPlace> LedPlaces() {
    std::vector<LedPlace> places;
    for (int bay = BaseboardBay; bay <= RtmBay; ++bay) {
        for (int led = FirstLed; led <= LastLed; ++led)
            places.push_back({bay, led});
    }
    return places;
}

LedReading ReadLedOnce(Session& session, LedPlace place) {
    LedReading reading;
    reading.m_bay = place.m_bay;
    reading.m_led = place.m_led;
    const auto row = session.Row(LedGroupOf(place), LedKeys(place), reading.m_result);
    if (reading.m_result == Success && row != nullptr) {
        reading.m_state = *row;
        reading.m_read = WallNow();
    }
    return reading;
}

void PutLed(LedReading reading, std::vector<LedReading>& leds) {
    const auto place = [](const LedReading& led) { return std::pair(led.m_bay, led.m_led); };
    const auto at = std::ranges::lower_bound(leds, place(reading), {}, place);
    const bool known = at != leds.end() && place(*at) == place(reading);
    if (reading.m_result == NotFound) {
        if (known) leds.erase(at);
    } else if (!known) {
        leds.insert(at, std::move(reading));
    } else if (reading.m_state) {
        *at = std::move(reading);
    } else {
        at->m_result = reading.m_result;
    }
}

void ReadLedInto(Session& session, LedPlace place, std::vector<LedReading>& leds) {
    PutLed(ReadLedOnce(session, place), leds);
}

std::vector<LedReading> ReadLeds(Session& session) {
    std::vector<LedReading> leds;
    for (const LedPlace place : LedPlaces())
        ReadLedInto(session, place, leds);
    return leds;
}

DspFacts DspOf(int32_t number, const CBMIParams& row) {
    DspFacts dsp;
    dsp.m_number = number;
    dsp.m_bay = IntegerOf(row, BMI_HW_AMC_DSP_BAY);
    dsp.m_dspOfAmc = IntegerOf(row, BMI_HW_AMC_DSP_NUM);
    dsp.m_mac = TextOf(row, BMI_HW_AMC_DSP_MAC);
    return dsp;
}

PortFacts PortOf(const CBMIParams& row) {
    PortFacts port;
    port.m_port = IntegerOf(row, BMI_HW_AMC_SWITCHPORT_NUM);
    port.m_name = TextOf(row, BMI_HW_AMC_SWITCHPORT_NAME);
    port.m_leadsTo = LeadsTo(IntegerOf(row, BMI_HW_AMC_SWITCHPORT_TYPE));
    SetState(port, IntegerOf(row, BMI_HW_AMC_SWITCHPORT_ADMIN));
    const int32_t link = IntegerOf(row, BMI_HW_AMC_SWITCHPORT_OPER);
    if (link == LinkUp || link == LinkDown) port.m_linkUp = link == LinkUp;
    return port;
}

std::vector<DspFacts> ReadDsps(Session& session) {
    std::vector<DspFacts> dsps = DspsOf(session);
    for (DspFacts& dsp : dsps)
        ReadAddress(session, dsp);
    return dsps;
}

std::vector<PortFacts> ReadPorts(Session& session) {
    std::vector<PortFacts> ports;
    for (const CBMIParams& row : RowsOf(session, BMI_GROUP_HARDWARE_AMC_SWITCHPORT_TABLE))
        ports.push_back(PortOf(row));
    return ports;
}

// A blade without DSPs serves no ports, whatever the storage holds.
void AddStored(const std::string& storage, std::vector<DspFacts>& dsps, std::vector<PortFacts>& ports) {
    AddStoredAddresses(storage, dsps);
    ports = dsps.empty() ? std::vector<PortFacts>() : StoredPorts(storage);
}

std::vector<UpgradeFacts> ReadUpgrade(Session& session) {
    int result = 0;
    const auto row = session.Row(BMI_GROUP_FIRMWARE_UPDATE, {}, result);
    if (result != Success || row == nullptr || !session.HasUpgraded()) return {};
    const UpgradeRow upgrade = UpgradeOf(*row);
    UpgradeFacts facts;
    facts.m_target = upgrade.m_target;
    facts.m_bay = upgrade.m_bay;
    facts.m_state = upgrade.m_state;
    return {facts};
}

Picture ReadPicture(Session& session, int mode, const std::string& storage) {
    Picture picture;
    picture.m_source = SourceOfBlade();
    picture.m_host.m_process = getpid();
    picture.m_host.m_mode = mode;
    picture.m_inventory = ReadInventory(session);
    picture.m_leds = ReadLeds(session);
    if (mode == HOST_MODE_LOOK_ONLY) {
        picture.m_dsps = DspsOf(session);
        AddStored(storage, picture.m_dsps, picture.m_ports);
    } else {
        picture.m_dsps = ReadDsps(session);
        picture.m_ports = ReadPorts(session);
    }
    picture.m_upgrades = ReadUpgrade(session);
    picture.m_time = WallNow();
    return picture;
}

} // namespace bmhost
