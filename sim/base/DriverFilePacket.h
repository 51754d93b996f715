// The PCI driver's file, and the packets between a program that opened it through the preload library and the process
// that keeps the records. Each open is a connection; the first packet on it is a DriverFileOpen, answered by a
// DriverFileResult. From then on each packet is one record, and one that brings a socket is answered there.
#pragma once

#include <cstddef>
#include <cstdint>

namespace bladesim {

inline constexpr char DriverFilePath[] = "/proc/mavkpcidrv/pstn.cfg";

/// The driver takes at most this many bytes per record.
constexpr size_t MaxDriverRecord = 4096;
/// What is sent of a record: enough to see that it is too long.
constexpr size_t MaxDriverPacket = MaxDriverRecord + 1;

struct DriverFileOpen {
    int32_t m_accessMode; ///< O_RDONLY, O_WRONLY or O_RDWR
};

struct DriverFileResult {
    int32_t m_result; ///< not negative, or a negative error number
};

} // namespace bladesim
