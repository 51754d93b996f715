// The shelf's base interface: a bridge, with a cable to each blade that is plugged in.
#include "sim/shelf/Backplane.h"

#include "sim/base/Error.h"
#include "sim/base/Netlink.h"
#include "sim/blade/MacText.h"

#include <fcntl.h>
#include <linux/if_link.h>
#include <linux/netlink.h>
#include <linux/rtnetlink.h>
#include <linux/veth.h>
#include <net/if.h>
#include <sched.h>
#include <sys/socket.h>
#include <sys/syscall.h>
#include <unistd.h>

namespace bladesim {
namespace {

constexpr char Bridge[] = "base";
constexpr char InterfaceInBlade[] = "base0";
constexpr uint16_t ToMake = NLM_F_REQUEST | NLM_F_CREATE | NLM_F_EXCL | NLM_F_ACK;

std::string PortOf(const ShelfPlace& place) {
    return "slot" + std::to_string(place.m_slot);
}

std::string BridgeRequest() {
    NetlinkRequest request(RTM_NEWLINK, ToMake);
    request.AddObject(ifinfomsg{});
    request.AddName(IFLA_IFNAME, Bridge);
    const size_t info = request.Begin(IFLA_LINKINFO);
    request.AddAttribute(IFLA_INFO_KIND, "bridge");
    request.End(info);
    return request.Finish();
}

/// A cable from the bridge into the blade.
std::string CableRequest(const ShelfPlace& place, unsigned bridge, int blade) {
    const MacAddress mac{0x02, 0x4d, 0x71, 0x01, 0x00, static_cast<uint8_t>(place.m_slot)};
    NetlinkRequest request(RTM_NEWLINK, ToMake);
    request.AddObject(ifinfomsg{});
    request.AddName(IFLA_IFNAME, PortOf(place));
    request.AddNumber(IFLA_MASTER, bridge);
    const size_t info = request.Begin(IFLA_LINKINFO);
    request.AddAttribute(IFLA_INFO_KIND, "veth");
    const size_t data = request.Begin(IFLA_INFO_DATA);
    const size_t peer = request.Begin(VETH_INFO_PEER);
    request.AddObject(ifinfomsg{});
    request.AddName(IFLA_IFNAME, InterfaceInBlade);
    request.AddAttribute(IFLA_ADDRESS, {reinterpret_cast<const char*>(mac.data()), mac.size()});
    request.AddNumber(IFLA_NET_NS_FD, blade);
    request.End(peer);
    request.End(data);
    request.End(info);
    return request.Finish();
}

std::string RemoveRequest(unsigned interface) {
    NetlinkRequest request(RTM_DELLINK, NLM_F_REQUEST | NLM_F_ACK);
    ifinfomsg link{};
    link.ifi_index = static_cast<int>(interface);
    request.AddObject(link);
    return request.Finish();
}

/// A socket in the network namespace of the process.
bm_dev::UniqueFd SocketIn(pid_t process, const bm_dev::UniqueFd& here) {
    const bm_dev::UniqueFd blade(static_cast<int>(::syscall(SYS_pidfd_open, process, 0)));
    if (!blade || ::setns(blade.Get(), CLONE_NEWNET) != 0) ThrowErrno("the blade's network cannot be entered");
    bm_dev::UniqueFd socket(::socket(AF_INET, SOCK_DGRAM | SOCK_CLOEXEC, 0));
    if (::setns(here.Get(), CLONE_NEWNET) != 0) ThrowErrno("the shelf's network cannot be entered again");
    if (!socket) throw BladeError("no socket in the blade's network");
    return socket;
}

} // namespace

Backplane::Backplane()
    : m_netlink(OpenNetworkSocket(AF_NETLINK, SOCK_RAW, NETLINK_ROUTE)),
      m_socket(OpenNetworkSocket(AF_INET, SOCK_DGRAM, 0)) {
    if (!AskKernel(m_netlink, BridgeRequest())) ThrowErrno("the shelf's base interface, a bridge, cannot be made");
    m_bridge = ::if_nametoindex(Bridge);
    GiveAddress(m_socket, Bridge, ShelfAddress(), BaseMask());
    RaiseInterface(m_socket, Bridge);
}

void Backplane::Plug(const ShelfPlace& place, pid_t inside) {
    const bm_dev::UniqueFd far = SocketIn(inside, NamespaceOf(m_socket));
    const bm_dev::UniqueFd blade = NamespaceOf(far);
    const std::string port = PortOf(place);
    if (!AskKernel(m_netlink, CableRequest(place, m_bridge, blade.Get())))
        ThrowErrno(port + ": the cable to the blade cannot be made");
    GiveAddress(far, InterfaceInBlade, AddressOf(place), BaseMask());
    RaiseInterface(far, InterfaceInBlade);
    RaiseInterface(m_socket, port);
}

void Backplane::Unplug(const ShelfPlace& place) {
    const std::string port = PortOf(place);
    const unsigned interface = ::if_nametoindex(port.c_str());
    // The blade may be ending, and its end of the cable with it.
    if (interface != 0 && !AskKernel(m_netlink, RemoveRequest(interface)) && errno != ENODEV)
        ThrowErrno(port + ": the cable to the blade cannot be taken out");
}

} // namespace bladesim
