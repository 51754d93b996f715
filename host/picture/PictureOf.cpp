// The picture read back from its JSON.
#include "host/picture/PictureJson.h"

#include "common/veldo_common_protocol.h"
#include "host/picture/Led.h"
#include "host/picture/PictureWords.h"
#include "host/picture/RowJson.h"

#include <nlohmann/json.hpp>

#include <limits>
#include <stdexcept>

namespace bmhost {

using namespace BM_ADAPTOR;
using nlohmann::ordered_json;

namespace {

/// A JSON object whose members have to be there, and what it is called in errors.
class Reader {
public:
    Reader(const ordered_json& object, std::string place) : m_object(object), m_place(std::move(place)) {
        if (!object.is_object()) throw Wrong(m_place, "an object");
    }

    int32_t Int(const char* key) const {
        const ordered_json& value = Member(key);
        const bool fits = value.is_number_integer() && value >= std::numeric_limits<int32_t>::min() &&
                          value <= std::numeric_limits<int32_t>::max();
        if (!fits) throw Wrong(PlaceOf(key), "a number of 32 bits");
        return value.get<int32_t>();
    }
    uint64_t Count(const char* key) const {
        const ordered_json& value = Member(key);
        if (!value.is_number_integer() || (!value.is_number_unsigned() && value < 0))
            throw Wrong(PlaceOf(key), "a number from 0");
        return value.get<uint64_t>();
    }
    bool Bool(const char* key) const {
        const ordered_json& value = Member(key);
        if (!value.is_boolean()) throw Wrong(PlaceOf(key), "true or false");
        return value.get<bool>();
    }
    std::string Text(const char* key) const { return TextOf(Member(key), PlaceOf(key)); }
    std::string Bytes(const char* key) const { return BytesOfUtf8(Text(key)); }
    /// Null is no time.
    WallTime Time(const char* key) const { return OptionalTime(key).value_or(WallTime{}); }
    std::optional<WallTime> OptionalTime(const char* key) const {
        const ordered_json& value = Member(key);
        if (value.is_null()) return std::nullopt;
        const auto time = value.is_string() ? WallTimeOf(value.get<std::string>()) : std::nullopt;
        if (!time) throw Wrong(PlaceOf(key), "a time");
        return time;
    }
    std::vector<std::string> Lines(const char* key) const {
        std::vector<std::string> lines;
        Each(key, [&](const ordered_json& item, const std::string& place) {
            lines.push_back(BytesOfUtf8(TextOf(item, place)));
        });
        return lines;
    }
    /// A word that the function knows.
    template <typename Value>
    Value Word(const char* key, std::optional<Value> (*valueOf)(std::string_view)) const {
        const auto value = valueOf(Text(key));
        if (!value) throw Wrong(PlaceOf(key), "a word that this version knows");
        return *value;
    }

    Reader Object(const char* key) const { return {Member(key), PlaceOf(key)}; }
    bool IsNull(const char* key) const { return Member(key).is_null(); }
    bool Has(const char* key) const { return m_object.contains(key); }
    const ordered_json& Member(const char* key) const {
        const auto found = m_object.find(key);
        if (found == m_object.end()) throw std::runtime_error("picture: " + PlaceOf(key) + ": is missing");
        return *found;
    }
    std::string PlaceOf(const std::string& key) const { return m_place.empty() ? key : m_place + "." + key; }

    template <typename Taker>
    void Each(const char* key, const Taker& taker) const {
        const ordered_json& array = Member(key);
        if (!array.is_array()) throw Wrong(PlaceOf(key), "an array");
        for (std::size_t i = 0; i < array.size(); ++i)
            taker(array[i], PlaceOf(key) + "[" + std::to_string(i) + "]");
    }
    template <typename Item>
    std::vector<Item> Items(const char* key, Item (*itemOf)(const Reader&)) const {
        std::vector<Item> items;
        Each(key,
             [&](const ordered_json& item, const std::string& place) { items.push_back(itemOf(Reader(item, place))); });
        return items;
    }
    CBMIParams Row(const char* key, unsigned group) const { return RowIn(Member(key), group, PlaceOf(key)); }
    std::vector<CBMIParams> Rows(const char* key, unsigned group) const {
        std::vector<CBMIParams> rows;
        Each(key,
             [&](const ordered_json& item, const std::string& place) { rows.push_back(RowIn(item, group, place)); });
        return rows;
    }

private:
    static std::runtime_error Wrong(const std::string& place, const std::string& expected) {
        return std::runtime_error("picture: " + place + ": expected " + expected);
    }
    static std::string TextOf(const ordered_json& value, const std::string& place) {
        if (!value.is_string()) throw Wrong(place, "a text");
        return value.get<std::string>();
    }
    static CBMIParams RowIn(const ordered_json& value, unsigned group, const std::string& place) {
        return RowOfJson(value, group, "picture: " + place);
    }

    const ordered_json& m_object;
    std::string m_place;
};

std::optional<CallOutcome> CallOf(const Reader& host, const char* key) {
    if (host.IsNull(key)) return std::nullopt;
    const Reader call = host.Object(key);
    return CallOutcome{call.Text("operation"), call.Int("result"), call.Time("time"), call.Lines("reasons")};
}

Source SourceOf(const Reader& source) {
    return {source.Word("kind", SourceOfWord), source.Text("reason")};
}

HostFacts HostOf(const Reader& host) {
    return {host.Int("process"),  host.Time("started"),
            host.Text("version"), host.Text("adaptor"),
            host.Int("mode"),     host.Bool("resident"),
            CallOf(host, "init"), CallOf(host, "start"),
            CallOf(host, "stop"), host.Has("storage") ? host.Text("storage") : ""};
}

Inventory InventoryOf(const Reader& inventory) {
    return {inventory.Int("result"), inventory.Rows("board", BMI_GROUP_HARDWARE_BOARD),
            inventory.Rows("modules", BMI_GROUP_HARDWARE_AMC_TABLE),
            inventory.Rows("amcs", BMI_GROUP_HARDWARE_AMC_FRU_TABLE),
            inventory.Rows("rtms", BMI_GROUP_HARDWARE_RTM_FRU_TABLE)};
}

LedReading LedOf(const Reader& led) {
    LedReading reading;
    reading.m_bay = led.Int("bay");
    reading.m_led = led.Int("led");
    reading.m_result = led.Int("result");
    if (led.Has("row")) {
        reading.m_state = led.Row("row", LedGroupOf({reading.m_bay, reading.m_led}));
        reading.m_read = led.Time("read_at");
    }
    return reading;
}

DspFacts DspIn(const Reader& dsp) {
    return {dsp.Int("dsp"), dsp.Int("bay"),   dsp.Int("dsp_of_amc"), dsp.Text("mac"),
            dsp.Text("ip"), dsp.Bool("read"), dsp.Bool("stored"),    dsp.Text("note")};
}

std::optional<std::optional<bool>> LinkOfWord(std::string_view word) {
    for (const std::optional<bool> link : {std::optional<bool>(), std::optional(false), std::optional(true)}) {
        if (LinkWord(link) == word) return link;
    }
    return std::nullopt;
}

PortFacts PortIn(const Reader& port) {
    return {port.Int("port"),
            port.Text("name"),
            port.Text("leads_to"),
            port.IsNull("enabled") ? std::nullopt : std::optional(port.Bool("enabled")),
            port.Word("link", LinkOfWord),
            port.Bool("stored"),
            port.Text("note")};
}

Health HealthOf(const Reader& health) {
    return {health.Word("state", HealthOfWord), health.Time("since"), health.Lines("reasons")};
}

Controller ControllerOf(const Reader& controller) {
    return {controller.Word("state", ControllerOfWord), controller.Time("since"), controller.Count("sweeps")};
}

UpgradeFacts UpgradeFactsOf(const Reader& upgrade) {
    return {upgrade.Int("target"),
            upgrade.Int("bay"),
            upgrade.Int("state"),
            upgrade.Time("begun"),
            upgrade.OptionalTime("ended"),
            upgrade.Text("file"),
            upgrade.Text("sha256"),
            upgrade.Bytes("version_before"),
            upgrade.IsNull("version_after") ? "" : upgrade.Bytes("version_after"),
            upgrade.Text("asker")};
}

CallInProgress UnderWayOf(const Reader& call) {
    return {call.Text("operation"), call.Time("since"), call.Text("asker"), call.Bool("waiting"),
            call.Text("waits_for")};
}

Fault FaultOf(const Reader& fault) {
    return {fault.Text("place"),     fault.Text("what"), fault.Text("cause"),
            fault.Lines("evidence"), fault.Text("cure"), fault.Text("kind")};
}

} // namespace

Picture PictureOf(const ordered_json& picture) {
    const Reader root(picture, "");
    Picture read;
    read.m_revision = root.Count("revision");
    read.m_time = root.Time("time");
    read.m_source = SourceOf(root.Object("source"));
    read.m_host = HostOf(root.Object("host"));
    read.m_inventory = InventoryOf(root.Object("inventory"));
    read.m_leds = root.Items("leds", LedOf);
    read.m_dsps = root.Items("dsps", DspIn);
    read.m_ports = root.Items("ports", PortIn);
    read.m_health = HealthOf(root.Object("health"));
    read.m_controller = ControllerOf(root.Object("controller"));
    read.m_upgrades = root.Items("upgrades", UpgradeFactsOf);
    read.m_calls = root.Items("calls", UnderWayOf);
    read.m_faults = root.Items("faults", FaultOf);
    return read;
}

} // namespace bmhost
