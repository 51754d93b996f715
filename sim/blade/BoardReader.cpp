// Reads what a blade file says about the board: the keys "ethernet" and "pstn_driver".
#include "sim/blade/BoardReader.h"

#include "sim/blade/MacText.h"

#include <arpa/inet.h>
#include <net/if.h>

#include <algorithm>
#include <cstring>

namespace bladesim {
namespace {

constexpr uint8_t GroupMac = 0x01; // bit of the first byte: a multicast address, which no interface has
// The largest error number of Linux.
constexpr int MaxErrno = 4095;

/// The names that the kernel takes, except confusing ones.
bool IsInterfaceName(const std::string& name) {
    const auto isGood = [](char character) {
        return (character >= 'a' && character <= 'z') || (character >= 'A' && character <= 'Z') ||
               (character >= '0' && character <= '9') || character == '.' || character == '-' || character == '_';
    };
    return !name.empty() && name.size() < IFNAMSIZ && std::all_of(name.begin(), name.end(), isGood) && name != "lo" &&
           name != "." && name != "..";
}

in_addr ReadAddress(JsonObject& interface, const char* key) {
    in_addr address{};
    if (::inet_pton(AF_INET, interface.Text(key).c_str(), &address) != 1) {
        interface.Fail(key, "expected four numbers from 0 to 255 as in 10.0.0.6");
    }
    return address;
}

/// Ones, then zeros.
bool IsMask(in_addr mask) {
    const uint32_t hostBits = ~ntohl(mask.s_addr);
    return mask.s_addr != 0 && (hostBits & (hostBits + 1)) == 0;
}

InternetAddress ReadInternetAddress(JsonObject& interface) {
    const InternetAddress address{ReadAddress(interface, "address"), ReadAddress(interface, "mask")};
    if (address.m_address.s_addr == 0)
        interface.Fail("address", "is not an address; leave the key out for an interface without one");
    if (!IsMask(address.m_mask)) interface.Fail("mask", "expected ones followed by zeros, as in 255.255.255.0");
    return address;
}

EthernetInterface ReadInterface(JsonObject object, const std::vector<EthernetInterface>& before) {
    EthernetInterface interface;
    interface.m_name = object.Text("name");
    if (!IsInterfaceName(interface.m_name)) {
        object.Fail("name", "expected 1 to 15 letters, digits, dots, dashes and underscores, other than lo");
    }
    const auto isSame = [&](const EthernetInterface& other) { return other.m_name == interface.m_name; };
    if (std::any_of(before.begin(), before.end(), isSame)) object.Fail("name", "appears here twice");
    const auto mac = MacBytes(object.Text("mac"));
    if (!mac) object.Fail("mac", "expected six bytes as in 02:00:5e:10:00:01");
    if ((mac->front() & GroupMac) != 0 || *mac == MacAddress{}) {
        object.Fail("mac", "is not the address of an interface");
    }
    interface.m_mac = *mac;
    if (object.Has("address")) interface.m_address = ReadInternetAddress(object);
    object.RejectOthers();
    return interface;
}

std::vector<EthernetInterface> ReadInterfaces(JsonObject ethernet) {
    std::vector<EthernetInterface> interfaces;
    for (const JsonObject& interface : ethernet.Objects("interfaces"))
        interfaces.push_back(ReadInterface(interface, interfaces));
    ethernet.RejectOthers();
    return interfaces;
}

DriverFileCall ReadCall(JsonObject& fault) {
    const std::string call = fault.Text("call");
    if (call != "open" && call != "write") fault.Fail("call", "expected open or write");
    return call == "open" ? DriverFileCall::Open : DriverFileCall::Write;
}

int ReadErrno(JsonObject& fault) {
    const std::string name = fault.Text("error");
    for (int error = 1; error <= MaxErrno; ++error) {
        const char* const known = ::strerrorname_np(error);
        if (known != nullptr && name == known) return error;
    }
    fault.Fail("error", "expected the name of an error number, as in EIO");
}

DriverFileFault ReadDriverFileFault(JsonObject object) {
    DriverFileFault fault;
    fault.m_call = ReadCall(object);
    fault.m_first = object.Count("first", 1, fault.m_first);
    fault.m_count = object.Count("count", 0, fault.m_count);
    if (fault.m_call == DriverFileCall::Write && object.Has("bytes")) {
        fault.m_bytes = static_cast<size_t>(object.Integer("bytes", 0, MaxDriverRecord));
        object.RejectOthers("means nothing to a write that is cut");
        return fault;
    }
    fault.m_error = ReadErrno(object);
    object.RejectOthers("means nothing to a call that fails");
    return fault;
}

std::optional<DriverFile> ReadDriverFile(JsonObject driver) {
    DriverFile file;
    const bool present = driver.Boolean("present", true);
    if (driver.Has("faults")) {
        for (const JsonObject& fault : driver.Objects("faults"))
            file.m_faults.push_back(ReadDriverFileFault(fault));
    }
    driver.RejectOthers();
    return present ? std::optional(file) : std::nullopt;
}

} // namespace

Board ReadBoard(JsonObject& blade) {
    Board board;
    if (blade.Has("ethernet")) board.m_interfaces = ReadInterfaces(blade.Object("ethernet"));
    if (blade.Has("pstn_driver")) board.m_driverFile = ReadDriverFile(blade.Object("pstn_driver"));
    return board;
}

} // namespace bladesim
