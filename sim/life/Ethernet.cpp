// The blade's network interfaces: ends of virtual cables, whose other ends are hidden from the blade.
#include "sim/life/Ethernet.h"

#include "sim/base/Error.h"

#include <linux/if_link.h>
#include <linux/netlink.h>
#include <linux/rtnetlink.h>
#include <linux/sockios.h>
#include <linux/veth.h>
#include <net/if.h>
#include <sched.h>
#include <sys/ioctl.h>
#include <sys/socket.h>

#include <array>
#include <cerrno>
#include <cstddef>
#include <cstring>
#include <string>
#include <string_view>

namespace bladesim {
namespace {

/// A netlink message under construction; attributes may contain attributes.
class NetlinkRequest {
public:
    NetlinkRequest(uint16_t type, uint16_t flags) {
        nlmsghdr header{};
        header.nlmsg_type = type;
        header.nlmsg_flags = flags;
        AddObject(header);
    }

    template <typename Object>
    void AddObject(const Object& object) {
        AddBytes({reinterpret_cast<const char*>(&object), sizeof(object)});
    }

    void AddAttribute(uint16_t type, std::string_view value) {
        const size_t begin = Begin(type);
        AddBytes(value);
        End(begin);
    }

    /// Everything added before End is part of this attribute.
    size_t Begin(uint16_t type) {
        const size_t begin = m_bytes.size();
        rtattr attribute{};
        attribute.rta_type = type;
        AddObject(attribute);
        return begin;
    }

    /// The length of an attribute does not include the padding after its value.
    void End(size_t begin) {
        const auto length = static_cast<uint16_t>(m_unpadded - begin);
        std::memcpy(m_bytes.data() + begin + offsetof(rtattr, rta_len), &length, sizeof(length));
    }

    const std::string& Finish() {
        const auto length = static_cast<uint32_t>(m_bytes.size());
        std::memcpy(m_bytes.data() + offsetof(nlmsghdr, nlmsg_len), &length, sizeof(length));
        return m_bytes;
    }

private:
    void AddBytes(std::string_view bytes) {
        m_bytes += bytes;
        m_unpadded = m_bytes.size();
        m_bytes.resize(RTA_ALIGN(m_bytes.size()));
    }

    std::string m_bytes;
    size_t m_unpadded = 0;
};

/// The name with its terminating zero, which the kernel wants.
std::string_view WithEnd(const std::string& name) {
    return {name.c_str(), name.size() + 1};
}

/// A cable with one end here and one, of the same name, in the other namespace; both are down.
std::string CableRequest(const EthernetInterface& interface, int farNamespace) {
    NetlinkRequest request(RTM_NEWLINK, NLM_F_REQUEST | NLM_F_CREATE | NLM_F_EXCL | NLM_F_ACK);
    request.AddObject(ifinfomsg{});
    request.AddAttribute(IFLA_IFNAME, WithEnd(interface.m_name));
    request.AddAttribute(IFLA_ADDRESS, {reinterpret_cast<const char*>(interface.m_mac.data()), interface.m_mac.size()});
    const size_t info = request.Begin(IFLA_LINKINFO);
    request.AddAttribute(IFLA_INFO_KIND, "veth");
    const size_t data = request.Begin(IFLA_INFO_DATA);
    const size_t peer = request.Begin(VETH_INFO_PEER);
    request.AddObject(ifinfomsg{});
    request.AddAttribute(IFLA_IFNAME, WithEnd(interface.m_name));
    request.AddAttribute(IFLA_NET_NS_FD, {reinterpret_cast<const char*>(&farNamespace), sizeof(farNamespace)});
    request.End(peer);
    request.End(data);
    request.End(info);
    return request.Finish();
}

/// Sends a request and reads the kernel's verdict; false with errno when it was refused.
bool Ask(const bm_dev::UniqueFd& socket, const std::string& request) {
    struct {
        nlmsghdr m_header;
        nlmsgerr m_error;
        std::array<char, 1024> m_rest; // the kernel's copy of the request
    } answer{};
    if (::send(socket.Get(), request.data(), request.size(), 0) < 0) return false;
    const ssize_t size = ::recv(socket.Get(), &answer, sizeof(answer), 0);
    if (size < 0) return false;
    const bool isAnswer = static_cast<size_t>(size) >= sizeof(answer.m_header) + sizeof(answer.m_error.error) &&
                          answer.m_header.nlmsg_type == NLMSG_ERROR;
    errno = isAnswer ? -answer.m_error.error : EPROTO;
    return errno == 0;
}

/// One of the calls for interfaces, in the namespace of the socket.
void Call(const bm_dev::UniqueFd& socket, unsigned long call, const std::string& name, ifreq request) {
    name.copy(request.ifr_name, sizeof(request.ifr_name) - 1);
    if (::ioctl(socket.Get(), call, &request) != 0) ThrowErrno(name + ": cannot be set up");
}

ifreq Up() {
    ifreq request{};
    request.ifr_flags = IFF_UP;
    return request;
}

ifreq Address(in_addr address) {
    sockaddr_in socketAddress{};
    socketAddress.sin_family = AF_INET;
    socketAddress.sin_addr = address;
    ifreq request{};
    std::memcpy(&request.ifr_addr, &socketAddress, sizeof(socketAddress));
    return request;
}

bm_dev::UniqueFd OpenSocket(int domain, int type, int protocol) {
    bm_dev::UniqueFd socket(::socket(domain, type | SOCK_CLOEXEC, protocol));
    if (!socket) ThrowErrno("no socket for the network interfaces");
    return socket;
}

/// A socket gives the answer even where there is no /proc.
bm_dev::UniqueFd NamespaceOf(const bm_dev::UniqueFd& socket) {
    bm_dev::UniqueFd networkNamespace(::ioctl(socket.Get(), SIOCGSKNS));
    if (!networkNamespace) ThrowErrno("the network namespace cannot be opened");
    return networkNamespace;
}

/// A socket in its own network namespace, which exists as long as the socket.
bm_dev::UniqueFd OpenFarSocket(const bm_dev::UniqueFd& here) {
    if (::unshare(CLONE_NEWNET) != 0) ThrowErrno("no network namespace for the other ends of the cables");
    bm_dev::UniqueFd far = OpenSocket(AF_INET, SOCK_DGRAM, 0);
    if (::setns(here.Get(), CLONE_NEWNET) != 0) ThrowErrno("the network namespace cannot be entered again");
    return far;
}

} // namespace

bm_dev::UniqueFd MakeInterfaces(const std::vector<EthernetInterface>& interfaces) {
    if (interfaces.empty()) return bm_dev::UniqueFd();
    const bm_dev::UniqueFd links = OpenSocket(AF_NETLINK, SOCK_RAW, NETLINK_ROUTE);
    const bm_dev::UniqueFd here = OpenSocket(AF_INET, SOCK_DGRAM, 0);
    bm_dev::UniqueFd there = OpenFarSocket(NamespaceOf(here));
    const bm_dev::UniqueFd farNamespace = NamespaceOf(there);
    for (const EthernetInterface& interface : interfaces) {
        const std::string& name = interface.m_name;
        if (!Ask(links, CableRequest(interface, farNamespace.Get()))) ThrowErrno(name + ": cannot be made");
        Call(there, SIOCSIFFLAGS, name, Up());
        Call(here, SIOCSIFFLAGS, name, Up());
        if (!interface.m_address) continue;
        Call(here, SIOCSIFADDR, name, Address(interface.m_address->m_address));
        Call(here, SIOCSIFNETMASK, name, Address(interface.m_address->m_mask));
    }
    return there;
}

} // namespace bladesim
