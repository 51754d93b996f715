// A message queue whose other side, the media software, answers as told, and the select that waits for it.
#pragma once

#include "bm/MsgQueue.h"

#include <sys/time.h>

#include <cstddef>
#include <deque>
#include <map>
#include <optional>
#include <set>
#include <string>
#include <vector>

struct qMsg {
    uint32_t m_Type = 0;
    uint32_t m_Source = 0;
    uint32_t m_Destination = 0;
    std::map<uint32_t, std::string> m_Fields{}; ///< by id, their bytes

    qMsg& Number(uint32_t a_Field, uint32_t a_Value);
    qMsg& Text(uint32_t a_Field, const std::string& a_Text);
    /// The number in a field; nothing when it is not there or has another length.
    std::optional<uint32_t> NumberOf(uint32_t a_Field) const;
};

/// A call of select for reading, and how it ends when it does not simply wait.
struct SELECT_END {
    int m_Result = 0;
    int m_Error = 0;     ///< errno
    timeval m_Left = {}; ///< what it leaves in the time-out
};

struct SELECT_CALL {
    int m_Count = 0;
    bool m_bLastIsSet = false; ///< descriptor m_Count - 1 was asked for
    long m_Milliseconds = 0;
};

struct FAKE_QUEUE {
    // How the calls end; set them while no monitor runs.
    int m_DriverResult = 0;
    int m_OpenResult = 0; ///< below 0: instead of a descriptor
    int m_BindResult = 0;
    std::set<uint32_t> m_NotAllocated{}; ///< message types
    std::set<uint32_t> m_NotWritten{};   ///< message types
    std::set<uint32_t> m_NotPut{};       ///< fields
    bool m_bNotRead = false;
    uint32_t m_Error = 0;                  ///< of qStatusErrorGet
    std::map<uint32_t, qMsg> m_Answers{};  ///< to each request, by its type
    std::deque<SELECT_END> m_SelectEnds{}; ///< of the next calls; the rest really waits

    // What was asked; read them while no monitor runs.
    std::vector<std::string> m_Calls{}; ///< of the queue itself: "qQueueBind 0x60"
    std::vector<qMsg> m_Sent{};
    std::vector<SELECT_CALL> m_Selects{};
    int m_Messages = 0; ///< allocated or read and not yet freed
    int m_Descriptor = -1;

    /// Puts a message into the queue that the monitor reads.
    void Receive(const qMsg& a_Message);
    /// How often select was called so far; any time.
    std::size_t Selects() const;
    /// As in a new process; closes what was left open.
    void Reset();
};

FAKE_QUEUE& FakeQueue();
