// What the PCI driver is told through its file, call by call: each write is one record.
#pragma once

#include "sim/blade/Board.h"

#include <string>
#include <string_view>
#include <vector>

namespace BLADESIM {

/// The driver takes a record of so many bytes at most.
constexpr size_t g_MaxDriverRecord = 4096;

/// What becomes of a call.
struct DRIVER_FILE_ANSWER {
    int m_Result = 0;   ///< the open's number, the bytes that a write took, or a negative error number
    std::string m_Line; ///< what to keep of it: a line of JSON without its end, described in docs/bladesim.md; or none
};

/// Numbers opens and writes from 1, the refused ones included, and lets faults hit them.
class DRIVER_FILE_RECORDS {
public:
    explicit DRIVER_FILE_RECORDS(DRIVER_FILE a_File) : m_File(std::move(a_File)) {}

    DRIVER_FILE_ANSWER Open();
    /// `a_Open` is the number that the open was given.
    DRIVER_FILE_ANSWER Write(unsigned a_Open, std::string_view a_Record);

private:
    const DRIVER_FILE_FAULT* FaultOf(DRIVER_FILE_CALL a_Call, unsigned a_Number) const;

    DRIVER_FILE m_File;
    unsigned m_Opens = 0;
    unsigned m_Writes = 0;
};

} // namespace BLADESIM
