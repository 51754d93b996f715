// Which addresses a DSP can have.
#include "host/orders/DspAddresses.h"

#include <arpa/inet.h>
#include <array>
#include <cstring>
#include <ifaddrs.h>
#include <memory>
#include <netinet/in.h>

namespace bmhost {

namespace {

// Start-up's, whatever mask the interface has.
constexpr uint32_t StartMask = 0xFFFFFF00;

} // namespace

std::optional<uint32_t> Ipv4Of(const std::string& text) {
    in_addr address{};
    if (inet_pton(AF_INET, text.c_str(), &address) != 1) return std::nullopt;
    return ntohl(address.s_addr);
}

std::string Ipv4Text(uint32_t address) {
    const in_addr network{htonl(address)};
    std::array<char, INET_ADDRSTRLEN> text{};
    return inet_ntop(AF_INET, &network, text.data(), text.size());
}

std::optional<uint32_t> AddressOfInterface(const char* name) {
    ifaddrs* list = nullptr;
    if (getifaddrs(&list) != 0) return std::nullopt;
    const std::unique_ptr<ifaddrs, decltype(&freeifaddrs)> guard(list, freeifaddrs);
    for (const ifaddrs* each = list; each != nullptr; each = each->ifa_next) {
        if (each->ifa_addr == nullptr || each->ifa_addr->sa_family != AF_INET) continue;
        if (std::strcmp(each->ifa_name, name) != 0) continue;
        sockaddr_in address{};
        std::memcpy(&address, each->ifa_addr, sizeof address);
        return ntohl(address.sin_addr.s_addr);
    }
    return std::nullopt;
}

std::string ComplaintOfAddress(uint32_t address, std::optional<uint32_t> own,
                               const std::map<int, std::string>& others) {
    for (const auto& [dsp, other] : others) {
        if (Ipv4Of(other) == address) return "DSP " + std::to_string(dsp) + " has this address";
    }
    if (!own) return "";
    const std::string interface =
        std::string(DspInterface) + " (" + Ipv4Text(*own) + ", mask " + Ipv4Text(StartMask) + ")";
    if (address == *own) return "it is the address of " + std::string(DspInterface) + " itself";
    if ((address & StartMask) != (*own & StartMask))
        return "it is not in the network of " + interface + ", and no start takes a DSP from elsewhere";
    if ((address & ~StartMask) == 0) return "it is the network's own address";
    if ((address & ~StartMask) == ~StartMask) return "it is the network's broadcast address";
    return "";
}

} // namespace bmhost
