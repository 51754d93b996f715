// A slow reader of the probe's talk with the controller; see the header.
#include "readers/ProbeReader.h"

#include <algorithm>

namespace fuzzing {

namespace {

bool IsGood(const Message& reply, std::size_t size) {
    return reply.size() >= size && reply[0] == 0;
}

constexpr int Baseboard = 160;
constexpr int Amc = 161;
constexpr int Rtm = 162;
constexpr int NoKnownSite = 255;
constexpr int RtmBay = 9;
constexpr unsigned ColorBits = 0x7E;
constexpr std::size_t ChunkSize = 16;

} // namespace

void ProbeReader::Hear(const Message& request, const Message& reply) {
    const auto at = [&](std::size_t place) { return place < request.size() ? request[place] : 0; };
    switch (at(0) << 8 | at(1)) {
    case 0x2C00:
        return HearProperties(reply);
    case 0x2C01:
        return HearAddress(reply);
    case 0x0601:
        return HearDevice(reply);
    case 0x2C05:
        return HearLeds(at(3), reply);
    case 0x2C06:
        return HearColors(at(3), at(4), reply);
    case 0x0A10:
        return HearSize(at(2), reply);
    case 0x0A11:
        return HearChunk(at(2), static_cast<std::size_t>(at(3) | at(4) << 8), reply);
    default:
        return;
    }
}

void ProbeReader::HearProperties(const Message& reply) {
    if (!IsGood(reply, 4)) return;
    for (int fru = 0; fru <= reply[3]; ++fru)
        m_frus[fru] = {};
    m_frus[0].m_entityId = Baseboard;
}

void ProbeReader::HearAddress(const Message& reply) {
    if (!IsGood(reply, 8)) return;
    SeenFru& fru = m_frus[reply[5]]; // the reply's FRU, whichever was asked for
    fru.m_ipmb0 = reply[3];
    fru.m_bay = reply[6];
    switch (reply[7]) {
    case 0:
        fru.m_entityId = Baseboard;
        break;
    case 7:
        fru.m_entityId = Amc;
        fru.m_site = fru.m_bay;
        break;
    case 9:
        fru.m_entityId = Rtm;
        fru.m_site = fru.m_bay = RtmBay;
        break;
    default:
        fru.m_entityId = NoKnownSite;
    }
}

void ProbeReader::HearDevice(const Message& reply) {
    const auto found = m_frus.find(0);
    if (!IsGood(reply, 5) || found == m_frus.end()) return;
    std::string device = std::to_string(reply[3] & 0x7F) + '.' + std::to_string(reply[4]) + ':';
    if (reply.size() >= 16) {
        for (std::size_t i = 12; i < 16; ++i)
            device += (i == 12 ? "" : " ") + std::to_string(reply[i]);
    }
    found->second.m_device = device;
}

void ProbeReader::HearLeds(int fru, const Message& reply) {
    const auto found = m_frus.find(fru);
    if (!IsGood(reply, 3) || found == m_frus.end()) return;
    const unsigned mask = reply[2] & 0x0FU;
    std::size_t count = 0;
    while ((mask >> count & 1) != 0)
        ++count;
    if (mask >> count != 0) return; // a mask with a gap counts as none
    auto& colors = found->second.m_ledColors;
    colors.resize(std::max(count, colors.size()));
}

void ProbeReader::HearColors(int fru, unsigned led, const Message& reply) {
    const auto found = m_frus.find(fru);
    if (found == m_frus.end() || led >= found->second.m_ledColors.size()) return;
    found->second.m_ledColors[led] = IsGood(reply, 3) ? reply[2] & ColorBits : 0;
}

void ProbeReader::HearSize(int fru, const Message& reply) {
    const auto size = IsGood(reply, 3) ? static_cast<std::size_t>(reply[1] | reply[2] << 8) : 0;
    if (size == 0) return;
    m_areas[fru].assign(size, 0xFF);
    if (m_frus.contains(fru)) m_read.try_emplace(fru);
}

void ProbeReader::HearChunk(int fru, std::size_t offset, const Message& reply) {
    const auto area = m_areas.find(fru);
    if (!IsGood(reply, 2) || area == m_areas.end()) return;
    for (std::size_t i = 0; i < reply[1] && 2 + i < reply.size() && offset + i < area->second.size(); ++i)
        area->second[offset + i] = reply[2 + i];
    const auto read = m_read.find(fru);
    if (offset + ChunkSize != area->second.size() || read == m_read.end() || !m_frus.contains(fru)) return;
    // What is refused leaves the record of an earlier read in its place.
    if (ReadFru(area->second, read->second) == 0) m_frus[fru].m_texts = read->second;
}

std::optional<SeenLed> LedOf(const Message& reply) {
    if (!IsGood(reply, 3)) return std::nullopt;
    const unsigned state = reply[2];
    if ((state & 4) != 0) {
        if (reply.size() < 10) return std::nullopt;
        return SeenLed{0, 0, 0, 0, reply[9]};
    }
    const bool overridden = (state & 2) != 0;
    const std::size_t at = overridden ? 6 : 3;
    if (reply.size() < at + 3) return std::nullopt;
    SeenLed led;
    led.m_localControl = overridden ? 0 : 1;
    const int function = reply[at];
    led.m_onTime = function == 0xFF ? 1 : function == 0 ? 0 : reply[at + 1];
    led.m_offTime = function == 0xFF ? 0 : function == 0 ? 1 : function;
    constexpr int openIpmi[] = {0, 4, 2, 3, 5, 6, 1}; // black, blue, red, green, yellow, orange, white
    led.m_color = function == 0 ? 0 : openIpmi[std::min<int>(reply[at + 2], 6)];
    return led;
}

Message LedSetting(int localControl, int onTime, int offTime, int color) {
    constexpr uint8_t picmg[] = {2, 6, 2, 3, 1, 4, 5}; // of black, white, red, green, blue, yellow, orange
    const uint8_t code = color >= 0 && color <= 6 ? picmg[color] : 2;
    const auto tens = [](int milliseconds) { return static_cast<uint8_t>(std::clamp(milliseconds / 10, 10, 250)); };
    if (localControl != 0) return {0xFC, 0, code};
    if (onTime == 1 && offTime == 0) return {0xFF, 0, code};
    if (onTime > 1 && offTime > 1) return {tens(offTime), tens(onTime), code};
    return {0, 0, code}; // off, as are times that make no sense
}

} // namespace fuzzing
