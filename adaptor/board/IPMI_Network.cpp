// What the kernel says of this machine's network interfaces, asked by ioctl on a datagram socket.
#include "adaptor/board/IPMI_Network.h"

#include "common/veldo_common_descriptor.h"

#include <algorithm>
#include <array>
#include <cstring>
#include <string_view>

#include <arpa/inet.h>
#include <net/if.h>
#include <netinet/in.h>
#include <sys/ioctl.h>
#include <sys/socket.h>

namespace BM_ADAPTOR {

namespace {

constexpr std::size_t LIST_SIZE = 8192;

class SOCKET : public DESCRIPTOR {
public:
    SOCKET() : DESCRIPTOR(socket(AF_INET, SOCK_DGRAM | SOCK_CLOEXEC, 0)) {}

    template <typename ARGUMENT>
    bool Ask(unsigned long a_Request, ARGUMENT& a_Argument) const {
        return ioctl(Get(), a_Request, &a_Argument) == 0;
    }
};

// A name that fills its field has no NUL after it.
std::string_view NameIn(const ifreq& a_Entry) {
    return {a_Entry.ifr_name, strnlen(a_Entry.ifr_name, sizeof(a_Entry.ifr_name))};
}

// The interface's entry in the kernel's list of those with an IPv4 address. How long an entry is depends on the
// machine.
std::optional<ifreq> FindInterface(const SOCKET& a_Socket, std::string_view a_Name) {
    std::array<char, LIST_SIZE> l_List{};
    ifconf l_Request{};
    l_Request.ifc_len = static_cast<int>(l_List.size());
    l_Request.ifc_buf = l_List.data();
    if (!a_Socket || !a_Socket.Ask(SIOCGIFCONF, l_Request)) return std::nullopt;
    const std::size_t l_Length = std::min(static_cast<std::size_t>(std::max(l_Request.ifc_len, 0)), l_List.size());
    for (std::size_t l_Offset = 0; l_Offset + sizeof(ifreq) <= l_Length; l_Offset += sizeof(ifreq)) {
        ifreq l_Entry;
        std::memcpy(&l_Entry, l_List.data() + l_Offset, sizeof(l_Entry));
        if (l_Entry.ifr_addr.sa_family == AF_INET && NameIn(l_Entry) == a_Name) return l_Entry;
    }
    return std::nullopt;
}

} // namespace

std::optional<MAC_ADDRESS> HardwareAddressOf(const std::string& a_Interface) {
    const SOCKET l_Socket;
    auto l_Entry = FindInterface(l_Socket, a_Interface);
    if (!l_Entry || !l_Socket.Ask(SIOCGIFHWADDR, *l_Entry)) return std::nullopt;
    MAC_ADDRESS l_Address;
    std::memcpy(l_Address.m_Bytes.data(), l_Entry->ifr_hwaddr.sa_data, l_Address.m_Bytes.size());
    return l_Address;
}

std::optional<std::string> IPv4AddressOf(const std::string& a_Interface) {
    const SOCKET l_Socket;
    ifreq l_Entry{};
    if (!l_Socket || a_Interface.size() >= sizeof(l_Entry.ifr_name)) return std::nullopt;
    a_Interface.copy(l_Entry.ifr_name, sizeof(l_Entry.ifr_name) - 1);
    l_Entry.ifr_addr.sa_family = AF_INET;
    if (!l_Socket.Ask(SIOCGIFADDR, l_Entry)) return std::nullopt;
    sockaddr_in l_Address{};
    std::memcpy(&l_Address, &l_Entry.ifr_addr, sizeof(l_Address));
    std::array<char, INET_ADDRSTRLEN> l_Text{};
    if (inet_ntop(AF_INET, &l_Address.sin_addr, l_Text.data(), l_Text.size()) == nullptr) return std::nullopt;
    return l_Text.data();
}

} // namespace BM_ADAPTOR
