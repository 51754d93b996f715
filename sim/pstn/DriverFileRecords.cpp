// What is written to the PCI driver's file: each write is one record.
#include "sim/pstn/DriverFileRecords.h"

#include "bm_dev/ByteText.h"

#include <nlohmann/json.hpp>

#include <algorithm>
#include <cerrno>
#include <cstring>

namespace bladesim {
namespace {

// Keys in the order in which they are set.
using RecordLine = nlohmann::ordered_json;

DriverFileAnswer Refused(int error, RecordLine line) {
    line["error"] = ::strerrorname_np(error);
    return {-error, line.dump()};
}

} // namespace

const DriverFileFault* DriverFileRecords::FaultOf(DriverFileCall call, unsigned number) const {
    const auto hits = [&](const DriverFileFault& fault) {
        return fault.m_call == call && number >= fault.m_first &&
               (fault.m_count == 0 || number - fault.m_first < fault.m_count);
    };
    const auto found = std::find_if(m_file.m_faults.begin(), m_file.m_faults.end(), hits);
    return found == m_file.m_faults.end() ? nullptr : &*found;
}

DriverFileAnswer DriverFileRecords::Open() {
    const unsigned number = ++m_opens;
    const DriverFileFault* const fault = FaultOf(DriverFileCall::Open, number);
    if (fault != nullptr) return Refused(fault->m_error, {{"open", number}});
    return {static_cast<int>(number), ""};
}

DriverFileAnswer DriverFileRecords::Write(unsigned open, std::string_view record) {
    const unsigned number = ++m_writes;
    const DriverFileFault* const fault = FaultOf(DriverFileCall::Write, number);
    RecordLine line = {
        {"open", open}, {"write", number}, {"text", bm_dev::Utf8OfBytes(record.substr(0, MaxDriverRecord))}};
    if (fault != nullptr && !fault->m_bytes) return Refused(fault->m_error, line);
    if (record.size() > MaxDriverRecord) return Refused(EINVAL, line);
    if (fault == nullptr || *fault->m_bytes >= record.size()) return {static_cast<int>(record.size()), line.dump()};
    line["taken"] = *fault->m_bytes;
    return {static_cast<int>(*fault->m_bytes), line.dump()};
}

} // namespace bladesim
