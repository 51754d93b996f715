// The board driver as tests play it; see the header.
#include "fake/FakeBoardDriver.h"

#include "bm/BoardDriver.h"

#include <algorithm>
#include <cstdio>
#include <mutex>

namespace {

std::string TextOf(const unsigned char* a_Mac) {
    std::array<char, 18> l_Text{};
    snprintf(l_Text.data(), l_Text.size(), "%02X:%02X:%02X:%02X:%02X:%02X", a_Mac[0], a_Mac[1], a_Mac[2], a_Mac[3],
             a_Mac[4], a_Mac[5]);
    return l_Text.data();
}

// Of calls and states.
std::mutex& Guard() {
    static std::mutex& s_Guard = *new std::mutex;
    return s_Guard;
}

void Announce(const std::string& a_Call) {
    if (BoardDriver().m_AtCall) BoardDriver().m_AtCall(a_Call);
}

int Called(const std::string& a_Call) {
    BoardDriver().m_Calls.push_back(a_Call);
    for (const std::string& l_Name : {a_Call, a_Call.substr(0, a_Call.find(' '))}) {
        const auto l_Found = BoardDriver().m_Errors.find(l_Name);
        if (l_Found != BoardDriver().m_Errors.end()) return l_Found->second;
    }
    return 0;
}

} // namespace

FAKE_BOARD_DRIVER& BoardDriver() {
    static FAKE_BOARD_DRIVER s_Driver;
    return s_Driver;
}

int uPCIMemOpen(void* a_Handle, int a_First, int a_Second) {
    const std::lock_guard l_Lock(Guard());
    auto& l_Call = BoardDriver().m_Opened.emplace_back();
    l_Call = {a_Handle, {}, a_First, a_Second};
    std::copy_n(static_cast<unsigned char*>(a_Handle), l_Call.m_Content.size(), l_Call.m_Content.begin());
    if (BoardDriver().m_OpenResults.empty()) return BoardDriver().m_OpenResult;
    const int l_Result = BoardDriver().m_OpenResults.front();
    BoardDriver().m_OpenResults.pop_front();
    return l_Result;
}

int uPCIMemClose(void* a_Handle) {
    const std::lock_guard l_Lock(Guard());
    BoardDriver().m_Closed.push_back(a_Handle);
    return 0;
}

int mavkAmcSwitchPortEnable(int a_Backend, int a_Mode, int* a_Out) {
    const std::string l_Call = "PortEnable " + std::to_string(a_Backend) + " mode " + std::to_string(a_Mode);
    Announce(l_Call);
    const std::lock_guard l_Lock(Guard());
    if (const int l_Error = Called(l_Call)) return l_Error;
    if (a_Mode != 2) BoardDriver().m_Enabled[a_Backend] = a_Mode;
    *a_Out = BoardDriver().m_Enabled[a_Backend];
    return 0;
}

int mavkAmcSwitchPortCheckLink(int a_Backend, int* a_Out) {
    const std::string l_Call = "CheckLink " + std::to_string(a_Backend);
    Announce(l_Call);
    const std::lock_guard l_Lock(Guard());
    if (const int l_Error = Called(l_Call)) return l_Error;
    *a_Out = BoardDriver().m_Link[a_Backend];
    return 0;
}

int mavkAmcSwitchMACLearn(int a_Port, const unsigned char* a_Mac) {
    const std::lock_guard l_Lock(Guard());
    return Called("Learn " + std::to_string(a_Port) + " " + TextOf(a_Mac));
}

int mavkAmcSwitchMACLearnByDSP(int a_Dsp, const unsigned char* a_Mac) {
    const std::lock_guard l_Lock(Guard());
    return Called("LearnByDSP " + std::to_string(a_Dsp) + " " + TextOf(a_Mac));
}
