// Reads what a blade file says of the board: the keys "ethernet" and "pstn_driver".
#include "sim/blade/BoardReader.h"

#include "sim/blade/MacText.h"
#include "sim/life/DriverFileRecords.h"

#include <arpa/inet.h>
#include <net/if.h>

#include <algorithm>
#include <cstring>

namespace BLADESIM {
namespace {

constexpr uint8_t g_GroupMac = 0x01; // bit of the first byte: an address of many, which no interface has
// Linux has no error number above.
constexpr int g_MaxErrno = 4095;

/// What the kernel takes as a name, without those that only confuse.
bool IsInterfaceName(const std::string& a_Name) {
    const auto l_IsGood = [](char a_Char) {
        return (a_Char >= 'a' && a_Char <= 'z') || (a_Char >= 'A' && a_Char <= 'Z') ||
               (a_Char >= '0' && a_Char <= '9') || a_Char == '.' || a_Char == '-' || a_Char == '_';
    };
    return !a_Name.empty() && a_Name.size() < IFNAMSIZ && std::all_of(a_Name.begin(), a_Name.end(), l_IsGood) &&
           a_Name != "lo" && a_Name != "." && a_Name != "..";
}

in_addr ReadAddress(JSON_OBJECT& a_Interface, const char* a_Key) {
    in_addr l_Address{};
    if (::inet_pton(AF_INET, a_Interface.Text(a_Key).c_str(), &l_Address) != 1) {
        a_Interface.Fail(a_Key, "expected four numbers from 0 to 255 as in 10.0.0.6");
    }
    return l_Address;
}

/// Ones, then zeros.
bool IsMask(in_addr a_Mask) {
    const uint32_t l_HostBits = ~ntohl(a_Mask.s_addr);
    return a_Mask.s_addr != 0 && (l_HostBits & (l_HostBits + 1)) == 0;
}

INTERNET_ADDRESS ReadInternetAddress(JSON_OBJECT& a_Interface) {
    const INTERNET_ADDRESS l_Address{ReadAddress(a_Interface, "address"), ReadAddress(a_Interface, "mask")};
    if (l_Address.m_Address.s_addr == 0)
        a_Interface.Fail("address", "is none; leave the key out for an interface without");
    if (!IsMask(l_Address.m_Mask)) a_Interface.Fail("mask", "expected ones followed by zeros, as in 255.255.255.0");
    return l_Address;
}

ETHERNET_INTERFACE ReadInterface(JSON_OBJECT a_Object, const std::vector<ETHERNET_INTERFACE>& a_Before) {
    ETHERNET_INTERFACE l_Interface;
    l_Interface.m_Name = a_Object.Text("name");
    if (!IsInterfaceName(l_Interface.m_Name)) {
        a_Object.Fail("name", "expected 1 to 15 letters, digits, dots, dashes and underscores, other than lo");
    }
    const auto l_IsSame = [&](const ETHERNET_INTERFACE& a_Other) { return a_Other.m_Name == l_Interface.m_Name; };
    if (std::any_of(a_Before.begin(), a_Before.end(), l_IsSame)) a_Object.Fail("name", "stands here twice");
    const auto l_Mac = MacBytes(a_Object.Text("mac"));
    if (!l_Mac) a_Object.Fail("mac", "expected six bytes as in 02:00:5e:10:00:01");
    if ((l_Mac->front() & g_GroupMac) != 0 || *l_Mac == MAC_ADDRESS{}) {
        a_Object.Fail("mac", "is not the address of an interface");
    }
    l_Interface.m_Mac = *l_Mac;
    if (a_Object.Has("address")) l_Interface.m_Address = ReadInternetAddress(a_Object);
    a_Object.RejectOthers();
    return l_Interface;
}

std::vector<ETHERNET_INTERFACE> ReadInterfaces(JSON_OBJECT a_Ethernet) {
    std::vector<ETHERNET_INTERFACE> l_Interfaces;
    for (const JSON_OBJECT& l_Interface : a_Ethernet.Objects("interfaces"))
        l_Interfaces.push_back(ReadInterface(l_Interface, l_Interfaces));
    a_Ethernet.RejectOthers();
    return l_Interfaces;
}

DRIVER_FILE_CALL ReadCall(JSON_OBJECT& a_Fault) {
    const std::string l_Call = a_Fault.Text("call");
    if (l_Call != "open" && l_Call != "write") a_Fault.Fail("call", "expected open or write");
    return l_Call == "open" ? DRIVER_FILE_CALL::OPEN : DRIVER_FILE_CALL::WRITE;
}

int ReadErrno(JSON_OBJECT& a_Fault) {
    const std::string l_Name = a_Fault.Text("error");
    for (int l_Error = 1; l_Error <= g_MaxErrno; ++l_Error) {
        const char* const l_Known = ::strerrorname_np(l_Error);
        if (l_Known != nullptr && l_Name == l_Known) return l_Error;
    }
    a_Fault.Fail("error", "expected the name of an error number, as in EIO");
}

DRIVER_FILE_FAULT ReadDriverFileFault(JSON_OBJECT a_Object) {
    DRIVER_FILE_FAULT l_Fault;
    l_Fault.m_Call = ReadCall(a_Object);
    l_Fault.m_First = a_Object.Count("first", 1, l_Fault.m_First);
    l_Fault.m_Count = a_Object.Count("count", 0, l_Fault.m_Count);
    if (l_Fault.m_Call == DRIVER_FILE_CALL::WRITE && a_Object.Has("bytes")) {
        l_Fault.m_Bytes = static_cast<size_t>(a_Object.Integer("bytes", 0, g_MaxDriverRecord));
        a_Object.RejectOthers("means nothing to a write that is cut");
        return l_Fault;
    }
    l_Fault.m_Error = ReadErrno(a_Object);
    a_Object.RejectOthers("means nothing to a call that fails");
    return l_Fault;
}

std::optional<DRIVER_FILE> ReadDriverFile(JSON_OBJECT a_Driver) {
    DRIVER_FILE l_File;
    const bool l_Present = a_Driver.Boolean("present", true);
    if (a_Driver.Has("faults")) {
        for (const JSON_OBJECT& l_Fault : a_Driver.Objects("faults"))
            l_File.m_Faults.push_back(ReadDriverFileFault(l_Fault));
    }
    a_Driver.RejectOthers();
    return l_Present ? std::optional(l_File) : std::nullopt;
}

} // namespace

BOARD ReadBoard(JSON_OBJECT& a_Blade) {
    BOARD l_Board;
    if (a_Blade.Has("ethernet")) l_Board.m_Interfaces = ReadInterfaces(a_Blade.Object("ethernet"));
    if (a_Blade.Has("pstn_driver")) l_Board.m_DriverFile = ReadDriverFile(a_Blade.Object("pstn_driver"));
    return l_Board;
}

} // namespace BLADESIM
