// A message queue whose other side, the media software, answers as told.
#pragma once

#include "bm/MsgQueue.h"

#include <cstddef>
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

struct FAKE_QUEUE {
    // How the calls end; set them while no monitor runs.
    int m_DriverResult = 0;
    int m_OpenResult = 0; ///< below 0: instead of a descriptor
    int m_BindResult = 0;
    std::set<uint32_t> m_NotAllocated{}; ///< message types
    std::set<uint32_t> m_NotWritten{};   ///< message types
    std::set<uint32_t> m_NotPut{};       ///< fields
    bool m_bNotRead = false;
    bool m_bReadsNothing = false;         ///< a read succeeds without a message
    uint32_t m_Error = 0;                 ///< of qStatusErrorGet
    std::map<uint32_t, qMsg> m_Answers{}; ///< to each request, by its type

    // What was asked; read them while no monitor runs.
    std::vector<std::string> m_Calls{}; ///< of the queue itself: "qQueueBind 0x60"
    std::vector<qMsg> m_Sent{};
    int m_Messages = 0; ///< allocated or read and not yet freed
    int m_Descriptor = -1;

    /// Puts a message into the queue that the monitor reads.
    void Receive(const qMsg& a_Message);
    /// As in a new process; closes what was left open.
    void Reset();
};

FAKE_QUEUE& FakeQueue();
