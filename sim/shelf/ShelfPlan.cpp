// What a shelf consists of: which blade stands in which slot, by which name and address.
#include "sim/shelf/ShelfPlan.h"

#include <arpa/inet.h>

#include <array>
#include <iterator>

namespace bladesim {
namespace {

// Those that come into service without help, each with other hardware.
constexpr const char* SoundBlades[] = {"typical", "full", "no-rtm", "no-trunks"};

// 192.0.2.0/24, which is for documents and thus nobody's; the blades' own networks are others.
constexpr uint32_t BaseNetwork = 0xC0000200;
constexpr uint32_t BaseNetmask = 0xFFFFFF00;
constexpr uint32_t ShelfHost = 1;
constexpr uint32_t HostBeforeSlots = 10;

} // namespace

std::vector<ShelfPlace> PlanOf(unsigned count) {
    std::vector<ShelfPlace> places;
    for (unsigned slot = 1; slot <= count; ++slot)
        places.push_back({"blade" + std::to_string(slot), slot, SoundBlades[(slot - 1) % std::size(SoundBlades)]});
    return places;
}

in_addr ShelfAddress() {
    return {htonl(BaseNetwork + ShelfHost)};
}

in_addr AddressOf(const ShelfPlace& place) {
    return {htonl(BaseNetwork + HostBeforeSlots + place.m_slot)};
}

in_addr BaseMask() {
    return {htonl(BaseNetmask)};
}

std::string TextOf(in_addr address) {
    std::array<char, INET_ADDRSTRLEN> text{};
    ::inet_ntop(AF_INET, &address, text.data(), text.size());
    return text.data();
}

std::string HostNames(const std::vector<ShelfPlace>& places, const std::string& others) {
    std::string text = "127.0.0.1 localhost\n" + TextOf(ShelfAddress()) + " shelf\n";
    for (const ShelfPlace& place : places)
        text += TextOf(AddressOf(place)) + " " + place.m_name + "\n";
    return text + others;
}

} // namespace bladesim
