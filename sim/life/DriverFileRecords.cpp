// What the PCI driver is told through its file, call by call: each write is one record.
#include "sim/life/DriverFileRecords.h"

#include "platform/src/ByteText.h"

#include <nlohmann/json.hpp>

#include <algorithm>
#include <cerrno>
#include <cstring>

namespace BLADESIM {
namespace {

// Keys in the order in which they are set.
using LINE = nlohmann::ordered_json;

DRIVER_FILE_ANSWER Refused(int a_Error, LINE a_Line) {
    a_Line["error"] = ::strerrorname_np(a_Error);
    return {-a_Error, a_Line.dump()};
}

} // namespace

const DRIVER_FILE_FAULT* DRIVER_FILE_RECORDS::FaultOf(DRIVER_FILE_CALL a_Call, unsigned a_Number) const {
    const auto l_Hits = [&](const DRIVER_FILE_FAULT& a_Fault) {
        return a_Fault.m_Call == a_Call && a_Number >= a_Fault.m_First &&
               (a_Fault.m_Count == 0 || a_Number - a_Fault.m_First < a_Fault.m_Count);
    };
    const auto l_Found = std::find_if(m_File.m_Faults.begin(), m_File.m_Faults.end(), l_Hits);
    return l_Found == m_File.m_Faults.end() ? nullptr : &*l_Found;
}

DRIVER_FILE_ANSWER DRIVER_FILE_RECORDS::Open() {
    const unsigned l_Number = ++m_Opens;
    const DRIVER_FILE_FAULT* const l_Fault = FaultOf(DRIVER_FILE_CALL::OPEN, l_Number);
    if (l_Fault != nullptr) return Refused(l_Fault->m_Error, {{"open", l_Number}});
    return {static_cast<int>(l_Number), ""};
}

DRIVER_FILE_ANSWER DRIVER_FILE_RECORDS::Write(unsigned a_Open, std::string_view a_Record) {
    const unsigned l_Number = ++m_Writes;
    const DRIVER_FILE_FAULT* const l_Fault = FaultOf(DRIVER_FILE_CALL::WRITE, l_Number);
    LINE l_Line = {{"open", a_Open},
                   {"write", l_Number},
                   {"text", BM_PLATFORM::Utf8OfBytes(a_Record.substr(0, g_MaxDriverRecord))}};
    if (l_Fault != nullptr && !l_Fault->m_Bytes) return Refused(l_Fault->m_Error, l_Line);
    if (a_Record.size() > g_MaxDriverRecord) return Refused(EINVAL, l_Line);
    if (l_Fault == nullptr || *l_Fault->m_Bytes >= a_Record.size())
        return {static_cast<int>(a_Record.size()), l_Line.dump()};
    l_Line["taken"] = *l_Fault->m_Bytes;
    return {static_cast<int>(*l_Fault->m_Bytes), l_Line.dump()};
}

} // namespace BLADESIM
