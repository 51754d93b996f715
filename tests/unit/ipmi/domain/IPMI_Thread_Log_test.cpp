// OpenIPMI's log lines on standard output: the prefix of each level, and which levels end the line.
#include "ipmi/IPMI_Thread.h"

#include "fake/process/StdoutCapture.h"
#include "ipmi/LogText.h"

#include <OpenIPMI/ipmi_log.h>
#include <gtest/gtest.h>

#include <cstdarg>
#include <pthread.h>

namespace {

std::string __attribute__((format(printf, 2, 3))) Printed(int a_Level, const char* a_Format, ...) {
    STDOUT_CAPTURE l_Capture;
    va_list l_Arguments;
    va_start(l_Arguments, a_Format);
    BM_ADAPTOR::posix_vlog(a_Format, static_cast<enum ipmi_log_type_e>(a_Level), l_Arguments);
    va_end(l_Arguments);
    return l_Capture.Stop();
}

unsigned ThisThread() {
    return static_cast<unsigned>(reinterpret_cast<uintptr_t>(reinterpret_cast<void*>(pthread_self())));
}

TEST(PosixVlog, BeginsEachLineByItsLevel) {
    const std::pair<int, std::string> l_Lines[] = {
        {IPMI_LOG_INFO, Text("INFO:(%x) lost 3\n", ThisThread())},
        {IPMI_LOG_WARNING, "WARN: lost 3\n"},
        {IPMI_LOG_SEVERE, "SEVR: lost 3\n"},
        {IPMI_LOG_FATAL, "FATL: lost 3\n"},
        {IPMI_LOG_ERR_INFO, "EINF: lost 3\n"},
        {IPMI_LOG_DEBUG, "DEBG: lost 3\n"},
        {IPMI_LOG_DEBUG_START, Text("(threadid=%x)DEBG: lost 3", ThisThread())},
        {IPMI_LOG_DEBUG_CONT, "lost 3"},
        {IPMI_LOG_DEBUG_END, "lost 3\n"},
        {9, "lost 3\n"},
    };
    for (const auto& [l_Level, l_Line] : l_Lines)
        EXPECT_EQ(Printed(l_Level, "lost %d", 3), l_Line) << l_Level;
}

TEST(PosixVlog, HasTheLevelsOfOpenIpmi) {
    EXPECT_EQ(IPMI_LOG_INFO, 0);
    EXPECT_EQ(IPMI_LOG_FATAL, 3);
    EXPECT_EQ(IPMI_LOG_DEBUG_END, 8);
}

TEST(PosixVlog, WritesMessagesOfAnyLength) {
    const std::string l_Long(5000, 'x');
    EXPECT_EQ(Printed(IPMI_LOG_WARNING, "%s", l_Long.c_str()), "WARN: " + l_Long + "\n");
}

} // namespace
