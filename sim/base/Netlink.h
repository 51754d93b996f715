// Asks the kernel for network interfaces: netlink messages, and the older calls for flags and addresses.
#pragma once

#include "bm_dev/UniqueFd.h"

#include <cstdint>
#include <netinet/in.h>
#include <string>
#include <string_view>

namespace bladesim {

/// A netlink message under construction; attributes may contain attributes.
class NetlinkRequest {
public:
    NetlinkRequest(uint16_t type, uint16_t flags);

    template <typename Object>
    void AddObject(const Object& object) {
        AddBytes({reinterpret_cast<const char*>(&object), sizeof(object)});
    }

    void AddAttribute(uint16_t type, std::string_view value);
    /// The kernel wants it with its terminating zero.
    void AddName(uint16_t type, const std::string& name);

    template <typename Number>
    void AddNumber(uint16_t type, Number number) {
        AddAttribute(type, {reinterpret_cast<const char*>(&number), sizeof(number)});
    }

    /// Everything added before End is part of this attribute.
    size_t Begin(uint16_t type);
    void End(size_t begin);

    const std::string& Finish();

private:
    void AddBytes(std::string_view bytes);

    std::string m_bytes;
    size_t m_unpadded = 0;
};

/// Sends a request and reads the kernel's verdict; false with errno when it was refused.
bool AskKernel(const bm_dev::UniqueFd& netlink, const std::string& request);

// What follows acts in the network namespace of the socket, and throws a BladeError.

bm_dev::UniqueFd OpenNetworkSocket(int domain, int type, int protocol);
/// A socket gives the answer even where there is no /proc.
bm_dev::UniqueFd NamespaceOf(const bm_dev::UniqueFd& socket);
void RaiseInterface(const bm_dev::UniqueFd& socket, const std::string& interface);
void GiveAddress(const bm_dev::UniqueFd& socket, const std::string& interface, in_addr address, in_addr mask);

} // namespace bladesim
