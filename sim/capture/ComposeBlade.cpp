// Makes a blade of what a controller has answered: as far as a blade file has words for it, and the very replies for
// the rest.
#include "sim/capture/ComposeBlade.h"

#include "sim/blade/HexText.h"
#include "sim/blade/LedColors.h"
#include "sim/blade/ReplyReader.h"
#include "sim/capture/Requests.h"
#include "sim/module/Responder.h"

#include <algorithm>

namespace bladesim {
namespace {

constexpr uint8_t UsualAddress = 0x20;
constexpr uint8_t UnknownCommand = 0xC1;
constexpr uint8_t UnknownSite = 0xFF;
constexpr uint8_t AllColors = 0x7E;
// The flags of a reply to Get FRU LED State, and where its actions begin.
constexpr uint8_t LocalControlFlag = 1;
constexpr uint8_t OverrideFlag = 2;
constexpr uint8_t LampTestFlag = 4;
constexpr size_t LocalActionPlace = 3;
constexpr size_t OverrideActionPlace = 6;

bool HasColor(const Led& led, uint8_t color) {
    return color >= 1 && color <= 6 && (led.m_colors >> color & 1) != 0;
}

class Composer {
public:
    explicit Composer(const CapturedController& captured) : m_captured(captured) {}

    Blade Compose() const {
        Blade blade;
        blade.m_controller = ComposeController();
        for (unsigned id = 0; id <= m_captured.m_maxFru; ++id) {
            if (id == 0 || Exists(static_cast<uint8_t>(id)))
                blade.m_frus.push_back(ComposeFru(static_cast<uint8_t>(id), blade.m_controller.m_address / 2));
        }
        blade.m_sdrs = m_captured.m_sdrs;
        return blade;
    }

private:
    Bytes ReplyTo(const Bytes& request) const {
        const auto found = m_captured.m_replies.find(request);
        return found == m_captured.m_replies.end() ? Bytes{UnknownCommand} : found->second;
    }

    /// A reply that is too short has zeros instead of what is missing; it is kept as it is besides.
    Controller ComposeController() const {
        Bytes device = ReplyTo(DeviceIdRequest);
        const bool hasAuxiliary = device.size() >= 16;
        device.resize(16);
        Controller controller;
        const Bytes own = ReplyTo(AddressInfoOf(0));
        const bool isAddress = IsGood(own, 4) && own[3] != 0 && own[3] % 2 == 0;
        controller.m_address = isAddress ? own[3] : UsualAddress;
        controller.m_deviceId = device[1];
        controller.m_deviceRevision = device[2] & 0x0F;
        controller.m_firmwareMajor = device[3] & 0x7F;
        controller.m_firmwareMinor = device[4];
        controller.m_manufacturerId = (device[7] | device[8] << 8 | device[9] << 16) & 0xFFFFF;
        controller.m_productId = static_cast<uint16_t>(device[10] | device[11] << 8);
        if (hasAuxiliary) std::copy_n(device.begin() + 12, 4, controller.m_auxiliaryFirmware.emplace().begin());
        controller.m_picmg = ReplyTo(PicmgPropertiesRequest) != Bytes{UnknownCommand};
        return controller;
    }

    /// Whether the controller has anything to say of this FRU.
    bool Exists(uint8_t id) const {
        return ReplyTo(AddressInfoOf(id))[0] == 0 || ReplyTo(LedPropertiesOf(id))[0] == 0 ||
               ReplyTo(AreaInfoOf(id))[0] == 0;
    }

    Fru ComposeFru(uint8_t id, int hardwareAddress) const {
        Fru fru;
        fru.m_id = id;
        Bytes info = ReplyTo(AddressInfoOf(id));
        const bool isGood = IsGood(info, 8);
        info.resize(8);
        fru.m_site = {static_cast<uint8_t>(hardwareAddress),
                      isGood    ? info[7]
                      : id == 0 ? uint8_t{0}
                                : UnknownSite,
                      isGood ? info[6] : uint8_t{0}};
        for (const uint8_t led : LedIds(ReplyTo(LedPropertiesOf(id))))
            fru.m_leds.push_back(ComposeLed(id, led));
        const auto image = m_captured.m_images.find(id);
        if (image != m_captured.m_images.end()) fru.m_inventory.emplace().m_raw = image->second;
        return fru;
    }

    Led ComposeLed(uint8_t fru, uint8_t id) const {
        Led led;
        led.m_id = id;
        const Bytes colors = ReplyTo(LedColorsOf(fru, id));
        const LedColor usual = id < std::size(UsualLedColors) ? UsualLedColors[id] : LedColor::Green;
        if (IsGood(colors, 3)) led.m_colors = colors[2] & AllColors;
        if (led.m_colors == 0) led.m_colors = static_cast<uint8_t>(1U << static_cast<unsigned>(usual));
        const LedColor first = FirstColor(led);
        led.m_defaultLocalColor = IsGood(colors, 4) && HasColor(led, colors[3]) ? LedColor{colors[3]} : first;
        led.m_defaultOverrideColor = IsGood(colors, 5) && HasColor(led, colors[4]) ? LedColor{colors[4]} : first;
        TakeState(led, ReplyTo(LedStateOf(fru, id)));
        return led;
    }

    static LedColor FirstColor(const Led& led) {
        for (const LedColorText& color : LedColors) {
            if (HasColor(led, static_cast<uint8_t>(color.m_color))) return color.m_color;
        }
        return LedColor::Blue;
    }

    static LedAction ActionAt(const Bytes& state, size_t place, const Led& led, LedColor fallback) {
        const uint8_t color = state[place + 2];
        return {state[place], state[place + 1], HasColor(led, color) ? LedColor{color} : fallback};
    }

    static void TakeState(Led& led, const Bytes& state) {
        if (!IsGood(state, LocalActionPlace + 3)) return;
        led.m_localControl = (state[2] & LocalControlFlag) != 0;
        const LedAction local = ActionAt(state, LocalActionPlace, led, led.m_defaultLocalColor);
        const bool isUsual =
            local.m_function == LedOff && local.m_onDuration == 0 && local.m_color == led.m_defaultLocalColor;
        if (!isUsual) led.m_local = local;
        if ((state[2] & OverrideFlag) != 0 && state.size() >= OverrideActionPlace + 3)
            led.m_override = ActionAt(state, OverrideActionPlace, led, led.m_defaultOverrideColor);
    }

    const CapturedController& m_captured;
};

bool IsLampTest(const Bytes& request, const Bytes& reply) {
    return request[0] == PicmgNetFn && request[1] == GetLedStateCommand && IsGood(reply, 3) &&
           (reply[2] & LampTestFlag) != 0;
}

/// Whether a fault loses every reply to the request.
bool NeverComes(const Bytes& request, const std::vector<Fault>& faults) {
    return std::ranges::any_of(
        faults, [&](const Fault& fault) { return fault.m_count == 0 && std::ranges::equal(fault.m_request, request); });
}

} // namespace

std::map<Bytes, Bytes> DifferentReplies(const Blade& blade, const std::map<Bytes, Bytes>& replies) {
    Responder simulated(blade);
    std::map<Bytes, Bytes> different;
    for (const auto& [request, reply] : replies) {
        const Request data = Request(request).subspan(2);
        if (simulated.Answer(request[0], request[1], data, LedClock::now()) == reply || IsLampTest(request, reply))
            continue;
        different.emplace(request, reply);
    }
    return different;
}

Blade ComposeBlade(const CapturedController& captured, const Tell& tell) {
    Blade blade = Composer(captured).Compose();
    blade.m_faults = captured.m_faults;
    blade.m_replies = DifferentReplies(blade, captured.m_replies);
    std::erase_if(blade.m_replies, [&](const auto& reply) { return NeverComes(reply.first, blade.m_faults); });
    for (auto& [request, reply] : blade.m_replies) {
        if (reply.size() <= MaxKeptReply) continue;
        tell("the reply to " + HexText(request) + " is cut to " + std::to_string(MaxKeptReply) + " bytes");
        reply.resize(MaxKeptReply);
    }
    return blade;
}

} // namespace bladesim
