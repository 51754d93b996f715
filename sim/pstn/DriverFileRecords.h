// What is written to the PCI driver's file: each write is one record.
#pragma once

#include "sim/blade/Board.h"

#include <string>
#include <string_view>
#include <vector>

namespace bladesim {

/// The outcome of a call.
struct DriverFileAnswer {
    int m_result = 0;   ///< the open's number, the bytes that a write took, or a negative error number
    std::string m_line; ///< the line of JSON to log, described in docs/bladesim.md, without its end; may be empty
};

/// Numbers opens and writes from 1, including refused ones, and applies faults to them.
class DriverFileRecords {
public:
    explicit DriverFileRecords(DriverFile file) : m_file(std::move(file)) {}

    DriverFileAnswer Open();
    /// `open` is the number that Open returned.
    DriverFileAnswer Write(unsigned open, std::string_view record);

private:
    const DriverFileFault* FaultOf(DriverFileCall call, unsigned number) const;

    DriverFile m_file;
    unsigned m_opens = 0;
    unsigned m_writes = 0;
};

} // namespace bladesim
