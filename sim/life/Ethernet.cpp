// The blade's network interfaces: ends of virtual cables, whose other ends nobody in the blade sees.
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

namespace BLADESIM {
namespace {

/// A netlink message that grows; attributes may have further ones in them.
class NETLINK_REQUEST {
public:
    NETLINK_REQUEST(uint16_t a_Type, uint16_t a_Flags) {
        nlmsghdr l_Header{};
        l_Header.nlmsg_type = a_Type;
        l_Header.nlmsg_flags = a_Flags;
        AddObject(l_Header);
    }

    template <typename OBJECT>
    void AddObject(const OBJECT& a_Object) {
        AddBytes({reinterpret_cast<const char*>(&a_Object), sizeof(a_Object)});
    }

    void AddAttribute(uint16_t a_Type, std::string_view a_Value) {
        const size_t l_Begin = Begin(a_Type);
        AddBytes(a_Value);
        End(l_Begin);
    }

    /// Up to End everything that is added is in this attribute.
    size_t Begin(uint16_t a_Type) {
        const size_t l_Begin = m_Bytes.size();
        rtattr l_Attribute{};
        l_Attribute.rta_type = a_Type;
        AddObject(l_Attribute);
        return l_Begin;
    }

    /// The length of an attribute is that without the padding behind its value.
    void End(size_t a_Begin) {
        const auto l_Length = static_cast<uint16_t>(m_Unpadded - a_Begin);
        std::memcpy(m_Bytes.data() + a_Begin + offsetof(rtattr, rta_len), &l_Length, sizeof(l_Length));
    }

    const std::string& Finish() {
        const auto l_Length = static_cast<uint32_t>(m_Bytes.size());
        std::memcpy(m_Bytes.data() + offsetof(nlmsghdr, nlmsg_len), &l_Length, sizeof(l_Length));
        return m_Bytes;
    }

private:
    void AddBytes(std::string_view a_Bytes) {
        m_Bytes += a_Bytes;
        m_Unpadded = m_Bytes.size();
        m_Bytes.resize(RTA_ALIGN(m_Bytes.size()));
    }

    std::string m_Bytes;
    size_t m_Unpadded = 0;
};

/// The name with its end, as the kernel wants it.
std::string_view WithEnd(const std::string& a_Name) {
    return {a_Name.c_str(), a_Name.size() + 1};
}

/// A cable with one end here and one, of the same name, in the other namespace; both are down.
std::string CableRequest(const ETHERNET_INTERFACE& a_Interface, int a_FarNamespace) {
    NETLINK_REQUEST l_Request(RTM_NEWLINK, NLM_F_REQUEST | NLM_F_CREATE | NLM_F_EXCL | NLM_F_ACK);
    l_Request.AddObject(ifinfomsg{});
    l_Request.AddAttribute(IFLA_IFNAME, WithEnd(a_Interface.m_Name));
    l_Request.AddAttribute(IFLA_ADDRESS,
                           {reinterpret_cast<const char*>(a_Interface.m_Mac.data()), a_Interface.m_Mac.size()});
    const size_t l_Info = l_Request.Begin(IFLA_LINKINFO);
    l_Request.AddAttribute(IFLA_INFO_KIND, "veth");
    const size_t l_Data = l_Request.Begin(IFLA_INFO_DATA);
    const size_t l_Peer = l_Request.Begin(VETH_INFO_PEER);
    l_Request.AddObject(ifinfomsg{});
    l_Request.AddAttribute(IFLA_IFNAME, WithEnd(a_Interface.m_Name));
    l_Request.AddAttribute(IFLA_NET_NS_FD, {reinterpret_cast<const char*>(&a_FarNamespace), sizeof(a_FarNamespace)});
    l_Request.End(l_Peer);
    l_Request.End(l_Data);
    l_Request.End(l_Info);
    return l_Request.Finish();
}

/// Sends a request and takes the kernel's word for it; false with errno when it was refused.
bool Ask(const UNIQUE_FD& a_Socket, const std::string& a_Request) {
    struct {
        nlmsghdr m_Header;
        nlmsgerr m_Error;
        std::array<char, 1024> m_Rest; // the request once more
    } l_Answer{};
    if (::send(a_Socket.Get(), a_Request.data(), a_Request.size(), 0) < 0) return false;
    const ssize_t l_Size = ::recv(a_Socket.Get(), &l_Answer, sizeof(l_Answer), 0);
    if (l_Size < 0) return false;
    const bool l_IsAnswer = static_cast<size_t>(l_Size) >= sizeof(l_Answer.m_Header) + sizeof(l_Answer.m_Error.error) &&
                            l_Answer.m_Header.nlmsg_type == NLMSG_ERROR;
    errno = l_IsAnswer ? -l_Answer.m_Error.error : EPROTO;
    return errno == 0;
}

/// One of the calls for interfaces, in the namespace of the socket.
void Call(const UNIQUE_FD& a_Socket, unsigned long a_Call, const std::string& a_Name, ifreq a_Request) {
    a_Name.copy(a_Request.ifr_name, sizeof(a_Request.ifr_name) - 1);
    if (::ioctl(a_Socket.Get(), a_Call, &a_Request) != 0) ThrowErrno(a_Name + ": cannot be set up");
}

ifreq Up() {
    ifreq l_Request{};
    l_Request.ifr_flags = IFF_UP;
    return l_Request;
}

ifreq Address(in_addr a_Address) {
    sockaddr_in l_Address{};
    l_Address.sin_family = AF_INET;
    l_Address.sin_addr = a_Address;
    ifreq l_Request{};
    std::memcpy(&l_Request.ifr_addr, &l_Address, sizeof(l_Address));
    return l_Request;
}

UNIQUE_FD OpenSocket(int a_Domain, int a_Type, int a_Protocol) {
    UNIQUE_FD l_Socket(::socket(a_Domain, a_Type | SOCK_CLOEXEC, a_Protocol));
    if (!l_Socket) ThrowErrno("no socket for the network interfaces");
    return l_Socket;
}

/// Unlike /proc a socket tells it everywhere.
UNIQUE_FD NamespaceOf(const UNIQUE_FD& a_Socket) {
    UNIQUE_FD l_Namespace(::ioctl(a_Socket.Get(), SIOCGSKNS));
    if (!l_Namespace) ThrowErrno("the network namespace cannot be opened");
    return l_Namespace;
}

/// A socket in a network namespace of its own, which is there for as long as the socket.
UNIQUE_FD OpenFarSocket(const UNIQUE_FD& a_Here) {
    if (::unshare(CLONE_NEWNET) != 0) ThrowErrno("no network namespace for the other ends of the cables");
    UNIQUE_FD l_Far = OpenSocket(AF_INET, SOCK_DGRAM, 0);
    if (::setns(a_Here.Get(), CLONE_NEWNET) != 0) ThrowErrno("the network namespace cannot be entered again");
    return l_Far;
}

} // namespace

UNIQUE_FD MakeInterfaces(const std::vector<ETHERNET_INTERFACE>& a_Interfaces) {
    if (a_Interfaces.empty()) return UNIQUE_FD();
    const UNIQUE_FD l_Links = OpenSocket(AF_NETLINK, SOCK_RAW, NETLINK_ROUTE);
    const UNIQUE_FD l_Here = OpenSocket(AF_INET, SOCK_DGRAM, 0);
    UNIQUE_FD l_There = OpenFarSocket(NamespaceOf(l_Here));
    const UNIQUE_FD l_FarNamespace = NamespaceOf(l_There);
    for (const ETHERNET_INTERFACE& l_Interface : a_Interfaces) {
        const std::string& l_Name = l_Interface.m_Name;
        if (!Ask(l_Links, CableRequest(l_Interface, l_FarNamespace.Get()))) ThrowErrno(l_Name + ": cannot be made");
        Call(l_There, SIOCSIFFLAGS, l_Name, Up());
        Call(l_Here, SIOCSIFFLAGS, l_Name, Up());
        if (!l_Interface.m_Address) continue;
        Call(l_Here, SIOCSIFADDR, l_Name, Address(l_Interface.m_Address->m_Address));
        Call(l_Here, SIOCSIFNETMASK, l_Name, Address(l_Interface.m_Address->m_Mask));
    }
    return l_There;
}

} // namespace BLADESIM
