// What the plug-in finds on the machine besides the controller.
#include "sim/capture/LocalBoard.h"

#include "sim/base/Error.h"

#include <ifaddrs.h>
#include <linux/if_packet.h>
#include <sys/stat.h>

#include <algorithm>
#include <memory>
#include <string_view>

namespace bladesim {
namespace {

// The names that the plug-in uses.
constexpr std::string_view HostInterface = "eth6";
constexpr uint8_t GroupBit = 1;
constexpr char DriverFileName[] = "/proc/mavkpcidrv/pstn.cfg";

void TakeAddress(EthernetInterface& interface, const ifaddrs& entry) {
    if (entry.ifa_addr->sa_family == AF_PACKET) {
        const auto* const link = reinterpret_cast<const sockaddr_ll*>(entry.ifa_addr);
        std::copy_n(link->sll_addr, interface.m_mac.size(), interface.m_mac.begin());
    }
    if (entry.ifa_addr->sa_family != AF_INET || entry.ifa_netmask == nullptr || interface.m_address) return;
    interface.m_address = {reinterpret_cast<const sockaddr_in*>(entry.ifa_addr)->sin_addr,
                           reinterpret_cast<const sockaddr_in*>(entry.ifa_netmask)->sin_addr};
}

} // namespace

Board ReadLocalBoard() {
    Board board;
    ifaddrs* first = nullptr;
    if (::getifaddrs(&first) != 0) ThrowErrno("the network interfaces cannot be listed");
    const std::unique_ptr<ifaddrs, decltype(&::freeifaddrs)> list(first, ::freeifaddrs);
    for (const ifaddrs* entry = first; entry != nullptr; entry = entry->ifa_next) {
        if (entry->ifa_addr == nullptr || entry->ifa_name != HostInterface) continue;
        if (board.m_interfaces.empty()) board.m_interfaces.push_back({std::string(HostInterface), {}, {}});
        TakeAddress(board.m_interfaces.front(), *entry);
    }
    // A blade file has no words for an interface that is none of Ethernet's.
    std::erase_if(board.m_interfaces, [](const EthernetInterface& interface) {
        return interface.m_mac == MacAddress{} || (interface.m_mac[0] & GroupBit) != 0;
    });
    struct stat status {};
    if (::stat(DriverFileName, &status) == 0) board.m_driverFile.emplace();
    return board;
}

} // namespace bladesim
