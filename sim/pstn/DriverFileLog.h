// Keeps what is written to the PCI driver's file, in the run folder.
#pragma once

#include "bm_dev/UniqueFd.h"
#include "sim/pstn/DriverFileRecords.h"

#include <string>
#include <string_view>

namespace bladesim {

/// In the run folder: the calls that the driver received, one per line.
inline constexpr char DriverRecords[] = "pstn.jsonl";

/// Answers a call as DriverFileRecords does, once its line has been written.
class DriverFileLog {
public:
    /// Makes the log's file. Throws a BladeError.
    DriverFileLog(const DriverFile& file, const std::string& runFolder);

    /// The open's number, or a negative error number.
    int Open() { return Keep(m_records.Open()); }
    /// How many bytes the driver took, or a negative error number. `open` is the number that Open returned.
    int Write(unsigned open, std::string_view record) { return Keep(m_records.Write(open, record)); }

private:
    int Keep(const DriverFileAnswer& answer) const;

    DriverFileRecords m_records;
    bm_dev::UniqueFd m_log;
};

} // namespace bladesim
