// The blade's network interfaces: ends of virtual cables, whose other ends are hidden from the blade.
#include "sim/life/Ethernet.h"

#include "sim/base/Error.h"
#include "sim/base/Netlink.h"

#include <linux/if_link.h>
#include <linux/netlink.h>
#include <linux/rtnetlink.h>
#include <linux/veth.h>
#include <sched.h>
#include <sys/socket.h>

#include <string>
#include <string_view>

namespace bladesim {
namespace {

/// A cable with one end here and one, of the same name, in the other namespace; both are down.
std::string CableRequest(const EthernetInterface& interface, int farNamespace) {
    NetlinkRequest request(RTM_NEWLINK, NLM_F_REQUEST | NLM_F_CREATE | NLM_F_EXCL | NLM_F_ACK);
    request.AddObject(ifinfomsg{});
    request.AddName(IFLA_IFNAME, interface.m_name);
    request.AddAttribute(IFLA_ADDRESS, {reinterpret_cast<const char*>(interface.m_mac.data()), interface.m_mac.size()});
    const size_t info = request.Begin(IFLA_LINKINFO);
    request.AddAttribute(IFLA_INFO_KIND, "veth");
    const size_t data = request.Begin(IFLA_INFO_DATA);
    const size_t peer = request.Begin(VETH_INFO_PEER);
    request.AddObject(ifinfomsg{});
    request.AddName(IFLA_IFNAME, interface.m_name);
    request.AddNumber(IFLA_NET_NS_FD, farNamespace);
    request.End(peer);
    request.End(data);
    request.End(info);
    return request.Finish();
}

/// A socket in its own network namespace, which exists as long as the socket.
bm_dev::UniqueFd OpenFarSocket(const bm_dev::UniqueFd& here) {
    if (::unshare(CLONE_NEWNET) != 0) ThrowErrno("no network namespace for the other ends of the cables");
    bm_dev::UniqueFd far = OpenNetworkSocket(AF_INET, SOCK_DGRAM, 0);
    if (::setns(here.Get(), CLONE_NEWNET) != 0) ThrowErrno("the network namespace cannot be entered again");
    return far;
}

} // namespace

bm_dev::UniqueFd MakeInterfaces(const std::vector<EthernetInterface>& interfaces) {
    if (interfaces.empty()) return bm_dev::UniqueFd();
    const bm_dev::UniqueFd links = OpenNetworkSocket(AF_NETLINK, SOCK_RAW, NETLINK_ROUTE);
    const bm_dev::UniqueFd here = OpenNetworkSocket(AF_INET, SOCK_DGRAM, 0);
    bm_dev::UniqueFd there = OpenFarSocket(NamespaceOf(here));
    const bm_dev::UniqueFd farNamespace = NamespaceOf(there);
    for (const EthernetInterface& interface : interfaces) {
        const std::string& name = interface.m_name;
        if (!AskKernel(links, CableRequest(interface, farNamespace.Get()))) ThrowErrno(name + ": cannot be made");
        RaiseInterface(there, name);
        RaiseInterface(here, name);
        if (!interface.m_address) continue;
        GiveAddress(here, name, interface.m_address->m_address, interface.m_address->m_mask);
    }
    return there;
}

} // namespace bladesim
