// The system() of the test program; see the header.
#include "fake/FakeSystem.h"

#include <dlfcn.h>

#include <cstdlib>
#include <mutex>

namespace {

std::mutex& g_Lock = *new std::mutex;
std::vector<std::string>& g_Commands = *new std::vector<std::string>;

} // namespace

FAKE_SYSTEM& FakeSystem() {
    static FAKE_SYSTEM& s_System = *new FAKE_SYSTEM;
    return s_System;
}

std::vector<std::string> FAKE_SYSTEM::Commands() const {
    const std::lock_guard l_Guard(g_Lock);
    return g_Commands;
}

void FAKE_SYSTEM::Reset() {
    const std::lock_guard l_Guard(g_Lock);
    g_Commands.clear();
    *this = {};
}

int system(const char* a_Command) {
    static const auto s_Real = reinterpret_cast<int (*)(const char*)>(dlsym(RTLD_NEXT, "system"));
    FAKE_SYSTEM& l_System = FakeSystem();
    {
        const std::lock_guard l_Guard(g_Lock);
        g_Commands.emplace_back(a_Command);
    }
    if (l_System.m_OnCall) l_System.m_OnCall(a_Command);
    if (l_System.m_Results.empty()) return l_System.m_bReal ? s_Real(a_Command) : 0;
    const int l_Result = l_System.m_Results.front();
    if (l_System.m_Results.size() > 1) l_System.m_Results.pop_front();
    return l_Result;
}
