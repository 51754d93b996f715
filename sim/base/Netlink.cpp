// Asks the kernel for network interfaces: netlink messages, and the older calls for flags and addresses.
#include "sim/base/Netlink.h"

#include "sim/base/Error.h"

#include <linux/netlink.h>
#include <linux/rtnetlink.h>
#include <linux/sockios.h>
#include <net/if.h>
#include <sys/ioctl.h>
#include <sys/socket.h>

#include <array>
#include <cerrno>
#include <cstddef>
#include <cstring>

namespace bladesim {
namespace {

/// One of the calls for interfaces.
void Call(const bm_dev::UniqueFd& socket, unsigned long call, const std::string& name, ifreq request) {
    name.copy(request.ifr_name, sizeof(request.ifr_name) - 1);
    if (::ioctl(socket.Get(), call, &request) != 0) ThrowErrno(name + ": cannot be set up");
}

ifreq Address(in_addr address) {
    sockaddr_in socketAddress{};
    socketAddress.sin_family = AF_INET;
    socketAddress.sin_addr = address;
    ifreq request{};
    std::memcpy(&request.ifr_addr, &socketAddress, sizeof(socketAddress));
    return request;
}

} // namespace

NetlinkRequest::NetlinkRequest(uint16_t type, uint16_t flags) {
    nlmsghdr header{};
    header.nlmsg_type = type;
    header.nlmsg_flags = flags;
    AddObject(header);
}

void NetlinkRequest::AddAttribute(uint16_t type, std::string_view value) {
    const size_t begin = Begin(type);
    AddBytes(value);
    End(begin);
}

void NetlinkRequest::AddName(uint16_t type, const std::string& name) {
    AddAttribute(type, {name.c_str(), name.size() + 1});
}

size_t NetlinkRequest::Begin(uint16_t type) {
    const size_t begin = m_bytes.size();
    rtattr attribute{};
    attribute.rta_type = type;
    AddObject(attribute);
    return begin;
}

/// The length of an attribute does not include the padding after its value.
void NetlinkRequest::End(size_t begin) {
    const auto length = static_cast<uint16_t>(m_unpadded - begin);
    std::memcpy(m_bytes.data() + begin + offsetof(rtattr, rta_len), &length, sizeof(length));
}

const std::string& NetlinkRequest::Finish() {
    const auto length = static_cast<uint32_t>(m_bytes.size());
    std::memcpy(m_bytes.data() + offsetof(nlmsghdr, nlmsg_len), &length, sizeof(length));
    return m_bytes;
}

void NetlinkRequest::AddBytes(std::string_view bytes) {
    m_bytes += bytes;
    m_unpadded = m_bytes.size();
    m_bytes.resize(RTA_ALIGN(m_bytes.size()));
}

bool AskKernel(const bm_dev::UniqueFd& netlink, const std::string& request) {
    struct {
        nlmsghdr m_header;
        nlmsgerr m_error;
        std::array<char, 1024> m_rest; // the kernel's copy of the request
    } answer{};
    if (::send(netlink.Get(), request.data(), request.size(), 0) < 0) return false;
    const ssize_t size = ::recv(netlink.Get(), &answer, sizeof(answer), 0);
    if (size < 0) return false;
    const bool isAnswer = static_cast<size_t>(size) >= sizeof(answer.m_header) + sizeof(answer.m_error.error) &&
                          answer.m_header.nlmsg_type == NLMSG_ERROR;
    errno = isAnswer ? -answer.m_error.error : EPROTO;
    return errno == 0;
}

bm_dev::UniqueFd OpenNetworkSocket(int domain, int type, int protocol) {
    bm_dev::UniqueFd socket(::socket(domain, type | SOCK_CLOEXEC, protocol));
    if (!socket) ThrowErrno("no socket for the network interfaces");
    return socket;
}

bm_dev::UniqueFd NamespaceOf(const bm_dev::UniqueFd& socket) {
    bm_dev::UniqueFd networkNamespace(::ioctl(socket.Get(), SIOCGSKNS));
    if (!networkNamespace) ThrowErrno("the network namespace cannot be opened");
    return networkNamespace;
}

void RaiseInterface(const bm_dev::UniqueFd& socket, const std::string& interface) {
    ifreq request{};
    request.ifr_flags = IFF_UP;
    Call(socket, SIOCSIFFLAGS, interface, request);
}

void GiveAddress(const bm_dev::UniqueFd& socket, const std::string& interface, in_addr address, in_addr mask) {
    Call(socket, SIOCSIFADDR, interface, Address(address));
    Call(socket, SIOCSIFNETMASK, interface, Address(mask));
}

} // namespace bladesim
