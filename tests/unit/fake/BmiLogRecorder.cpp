// A bmiLog of the test program's own, which takes the place of the platform's: it writes to a recorder.
#include "fake/RecordingLog.h"

#include <array>
#include <atomic>
#include <cstdarg>
#include <cstdio>

namespace {

std::atomic<RECORDING_LOG*> g_Recorder = nullptr;

} // namespace

void RecordBmiLogTo(RECORDING_LOG* a_Log) {
    g_Recorder = a_Log;
}

void bmiLog(int a_Level, const char* a_Component, const char* a_Format, ...) {
    RECORDING_LOG* const l_Recorder = g_Recorder;
    if (l_Recorder == nullptr) return;
    std::array<char, 4096> l_Text{};
    va_list l_Arguments;
    va_start(l_Arguments, a_Format);
    vsnprintf(l_Text.data(), l_Text.size(), a_Format, l_Arguments);
    va_end(l_Arguments);
    l_Recorder->Log(a_Level, a_Component, l_Text.data());
}
