// The board as tests play it; see the header.
#include "fake/FakeBoard.h"

#include "bm/OSAL.h"

#include <utility>

using BM_ADAPTOR::DRIVER_PASS;
using BM_ADAPTOR::MAC_ADDRESS;

std::vector<std::string> FAKE_BOARD::Commands() const {
    const std::lock_guard l_Lock(m_Lock);
    return m_Commands;
}

void FAKE_BOARD::ForgetCommands() {
    const std::lock_guard l_Lock(m_Lock);
    m_Commands.clear();
}

std::vector<std::string> FAKE_BOARD::Records() const {
    const std::lock_guard l_Lock(m_Lock);
    return m_Records;
}

std::optional<int> FAKE_BOARD::Remap() const {
    const std::lock_guard l_Lock(m_Lock);
    return m_Remap;
}

void FAKE_BOARD::LetTimeOut(int a_Count) {
    const std::lock_guard l_Lock(m_Lock);
    m_TimeOuts = a_Count;
}

void FAKE_BOARD::WaitForBegun(std::size_t a_Count) const {
    std::unique_lock l_Lock(m_Lock);
    m_Begun.wait(l_Lock, [&] { return m_Waits.size() >= a_Count; });
}

std::vector<int> FAKE_BOARD::Waits() const {
    const std::lock_guard l_Lock(m_Lock);
    return m_Waits;
}

std::vector<std::pair<int, int>> FAKE_BOARD::ReadWaits() const {
    const std::lock_guard l_Lock(m_Lock);
    return m_ReadWaits;
}

std::optional<std::string> FAKE_BOARD::Environment(const char* a_Name) {
    const auto l_Found = m_Environment.find(a_Name);
    return l_Found != m_Environment.end() ? std::optional(l_Found->second) : std::nullopt;
}

int FAKE_BOARD::RunTool(const std::string& a_CommandLine) {
    {
        const std::lock_guard l_Lock(m_Lock);
        m_Commands.push_back(a_CommandLine);
    }
    if (m_OnTool) m_OnTool(a_CommandLine);
    const std::lock_guard l_Lock(m_Lock);
    if (m_ToolResults.empty()) return 0;
    const int l_Result = m_ToolResults.front();
    if (m_ToolResults.size() > 1) m_ToolResults.pop_front();
    return l_Result;
}

std::optional<MAC_ADDRESS> FAKE_BOARD::HardwareAddressOf(const std::string& a_Interface) {
    const auto l_Found = m_Interfaces.find(a_Interface);
    return l_Found != m_Interfaces.end() ? std::optional(MAC_ADDRESS{l_Found->second.m_Mac}) : std::nullopt;
}

std::optional<std::string> FAKE_BOARD::IPv4AddressOf(const std::string& a_Interface) {
    const auto l_Found = m_Interfaces.find(a_Interface);
    return l_Found != m_Interfaces.end() ? std::optional(l_Found->second.m_IP) : std::nullopt;
}

DRIVER_PASS FAKE_BOARD::WriteDriverFile(std::span<const std::string> a_Records) {
    const std::lock_guard l_Lock(m_Lock);
    const int l_Opening = ++m_Openings;
    const auto l_Error = m_OpenErrors.find(l_Opening);
    if (l_Error != m_OpenErrors.end()) return {l_Error->second, 0};
    DRIVER_PASS l_Pass;
    for (const std::string& l_Record : a_Records) {
        const std::string l_Numbered = std::to_string(l_Opening) + " " + l_Record;
        if (m_RefusedRecords.contains(l_Numbered)) break;
        m_Records.push_back(l_Numbered);
        ++l_Pass.m_Taken;
    }
    return l_Pass;
}

std::optional<std::vector<std::string>> FAKE_BOARD::OverrideLines() {
    return m_OverrideLines;
}

bool FAKE_BOARD::SetRemap(int a_Value) {
    const std::lock_guard l_Lock(m_Lock);
    if (m_bNoParameter) return false;
    m_Remap = a_Value;
    return true;
}

// The caller holds the monitor until it waits, so that whoever was told of the wait gets it only then. A monitor waits
// for no longer than it is told: in a test that is for ever.
bool FAKE_BOARD::Wait(OSAL::OSALMonitor& a_Monitor, int a_Milliseconds) {
    {
        const std::lock_guard l_Lock(m_Lock);
        m_Waits.push_back(a_Milliseconds);
        m_Begun.notify_all();
        if (m_TimeOuts > 0) {
            --m_TimeOuts;
            return false;
        }
    }
    constexpr int LONGEST_MS = 1 << 30;
    return a_Monitor.Wait(LONGEST_MS);
}

int FAKE_BOARD::WaitUntilReadable(int a_Descriptor, int a_Milliseconds) {
    const std::lock_guard l_Lock(m_Lock);
    m_ReadWaits.emplace_back(a_Descriptor, a_Milliseconds);
    if (m_Readable.empty()) return 1;
    const int l_Result = m_Readable.front();
    m_Readable.pop_front();
    return l_Result;
}

// The thread's object has to be there until its start comes back, whatever happens meanwhile: it is looked at last, for
// the address sanitizer to see.
int FAKE_BOARD::StartThread(OSAL::OSALThread& a_Thread) {
    const auto l_Take = [this](auto& a_Call) {
        const std::lock_guard l_Lock(m_Lock);
        return std::exchange(a_Call, nullptr);
    };
    if (const auto l_OnStart = l_Take(m_OnStart)) {
        if (const int l_Error = l_OnStart(); l_Error != 0) return l_Error;
    }
    const int l_Error = a_Thread.Start();
    if (const auto l_OnStarted = l_Take(m_OnStarted)) l_OnStarted();
    [[maybe_unused]] const void* const volatile l_Object = dynamic_cast<const void*>(&a_Thread);
    return l_Error;
}
