// The kernel as tests play it, where the board asks it for more than a unit test can have: the network interfaces, the
// PCI driver's file, the kernel parameter, the override file, the wait for a descriptor. A program that links
// fake_kernel is linked so that these calls come here; every other call goes on to the real one.
#pragma once

#include <array>
#include <cstddef>
#include <deque>
#include <map>
#include <optional>
#include <string>
#include <vector>

#include <sys/time.h>

struct FAKE_INTERFACE {
    std::string m_Name;
    std::string m_IP; ///< empty: the kernel does not list it
    std::array<unsigned char, 6> m_Mac{};
    int m_Family = 2; ///< AF_INET
};

/// A call of select for reading.
struct KERNEL_SELECT {
    int m_Count;
    bool m_bLastIsSet; ///< the last descriptor of its count is in the set
    long m_Milliseconds;
};

/// How a call of select ends when it does not simply wait.
struct KERNEL_SELECT_END {
    int m_Result = 0;
    int m_Error = 0;     ///< errno
    timeval m_Left = {}; ///< what it leaves in the time-out
};

struct FAKE_KERNEL {
    // The network.
    std::vector<FAKE_INTERFACE> m_Interfaces{};
    bool m_bNoSocket = false;
    std::map<unsigned long, int> m_IoctlErrors{}; ///< by request: the errno
    int m_ListLength = -1;                        ///< the length that the list is said to have, -1 its own
    std::vector<unsigned long> m_Ioctls{};
    int m_SocketType = 0; ///< of the last, with its flags
    int m_Sockets = 0;    ///< that are open

    // The driver file. Each record is "1 DataValid=1": the number of the opening, the bytes of one write.
    std::vector<std::string> m_Records{};
    int m_Openings = 0;
    int m_OpenFlags = 0;                    ///< of the last
    std::map<int, int> m_OpenErrors{};      ///< number of the opening, from 1: the errno
    std::map<std::string, long> m_Writes{}; ///< record: what its write returns instead of being taken
    int m_OpenFiles = 0;

    // The kernel parameter.
    std::vector<int> m_ParameterName{};
    std::optional<int> m_Parameter{};
    bool m_bNoParameter = false; ///< as on a kernel without the system call

    // The override file.
    std::optional<std::string> m_OverrideFile{}; ///< its content; nothing: there is none
    std::string m_OverrideMode{};                ///< of the last opening
    int m_OpenStreams = 0;

    // The wait for a descriptor. The calls are read while none runs; their number at any time.
    std::vector<KERNEL_SELECT> m_Selects{};
    std::size_t SelectCount() const;
    std::deque<KERNEL_SELECT_END> m_SelectEnds{}; ///< of the next calls; the rest really waits
};

/// The one of the process; assign {} for a new machine.
FAKE_KERNEL& Kernel();
