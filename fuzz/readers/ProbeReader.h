// A slow reader of the probe's talk with the controller, to compare the model with: it hears every request and every
// reply that counts, keeps all of it by FRU, and knows nothing of cursors, states and order.
#pragma once

#include "readers/FruArea.h"
#include "readers/FruReader.h"

#include <cstdint>
#include <map>
#include <optional>
#include <string>
#include <vector>

namespace fuzzing {

/// Network function, command, data of a request; completion code and data of a reply.
using Message = std::vector<uint8_t>;

/// One FRU as the model shows it.
struct SeenFru {
    int m_entityId = 0;
    int m_bay = 0;
    int m_site = 0;
    int m_ipmb0 = 0;
    std::vector<unsigned> m_ledColors;   ///< of each LED, PICMG's bits
    std::optional<std::string> m_device; ///< firmware revision and auxiliary revision
    std::optional<FruTexts> m_texts;

    bool operator==(const SeenFru&) const = default;
};

using SeenFrus = std::map<int, SeenFru>;

class ProbeReader {
public:
    /// A reply that counts. Requests that are none of the inventory's change nothing.
    void Hear(const Message& request, const Message& reply);

    const SeenFrus& Frus() const { return m_frus; }

private:
    void HearProperties(const Message& reply);
    void HearAddress(const Message& reply);
    void HearDevice(const Message& reply);
    void HearLeds(int fru, const Message& reply);
    void HearColors(int fru, unsigned led, const Message& reply);
    void HearSize(int fru, const Message& reply);
    void HearChunk(int fru, std::size_t offset, const Message& reply);

    SeenFrus m_frus;
    std::map<int, Area> m_areas;    ///< of the size last told, 0xFF where nothing was read
    std::map<int, FruTexts> m_read; ///< of FRUs whose size was told
};

/// What an LED shows, by the reply to Get FRU LED State.
struct SeenLed {
    int m_localControl = 0;
    int m_onTime = 0;
    int m_offTime = 0;
    int m_color = 0; ///< OpenIPMI's; that of a lamp test is not told
    int m_lampTest = 0;
};

/// Nothing when the reply is a refusal or too short.
std::optional<SeenLed> LedOf(const Message& reply);

/// The data of Set FRU LED State: function, on-duration and colour.
Message LedSetting(int localControl, int onTime, int offTime, int color);

} // namespace fuzzing
