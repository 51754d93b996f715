// What the PCI driver is told through its file, call by call: each write is one record.
#pragma once

#include "sim/blade/Board.h"

#include <string>
#include <string_view>
#include <vector>

namespace bladesim {

/// The driver takes a record of so many bytes at most.
constexpr size_t MaxDriverRecord = 4096;

/// What becomes of a call.
struct DriverFileAnswer {
    int m_result = 0;   ///< the open's number, the bytes that a write took, or a negative error number
    std::string m_line; ///< what to keep of it: a line of JSON without its end, described in docs/bladesim.md; or none
};

/// Numbers opens and writes from 1, the refused ones included, and lets faults hit them.
class DriverFileRecords {
public:
    explicit DriverFileRecords(DriverFile file) : m_file(std::move(file)) {}

    DriverFileAnswer Open();
    /// `open` is the number that the open was given.
    DriverFileAnswer Write(unsigned open, std::string_view record);

private:
    const DriverFileFault* FaultOf(DriverFileCall call, unsigned number) const;

    DriverFile m_file;
    unsigned m_opens = 0;
    unsigned m_writes = 0;
};

} // namespace bladesim
