// Events in one line, and the names in them.
#include "host/news/RunOutput.h"

#include "host/HostParams.h"

#include <gtest/gtest.h>

#include <array>
#include <string>
#include <sys/mman.h>
#include <unistd.h>

namespace {

using namespace bmhost;
using BM_ADAPTOR::CBMIEvParams;

struct OutputCase {
    AdaptorEvent m_event;
    const char* m_line;
};

TEST(EventLine, SaysByNameWhatHappened) {
    const OutputCase cases[] = {
        {{0x70402, 5, Row<CBMIEvParams>(Int(0x30208, 1), Int(0x30201, 1, true))},
         "run status of AMC bay 1: not started (1)"},
        {{0x70402, 5, Row<CBMIEvParams>(Int(0x30208, 3), Int(0x30201, 9, true))},
         "run status of RTM: initialising (3)"},
        {{0x70402, 5, Row<CBMIEvParams>(Int(0x30208, 5), Int(0x30201, 8, true))},
         "run status of AMC bay 8: failed (5)"},
        {{0x70402, 5, Row<CBMIEvParams>(Int(0x30208, 77), Int(0x30201, 8, true))},
         "run status of AMC bay 8: unknown (77)"},
        {{0x70402, 5, Row<CBMIEvParams>(Int(0x30208, 5))}, "event 0x70402, number 5: run status 5"},
        {{0x600, 5, Row<CBMIEvParams>(Int(0x601, 0), Int(0x606, 0), Int(0x602, 2))},
         "firmware upgrade of baseboard: done"},
        {{0x600, 5, Row<CBMIEvParams>(Int(0x601, 1), Int(0x606, 9), Int(0x602, 3))}, "firmware upgrade of RTM: failed"},
        {{0x600, 5, Row<CBMIEvParams>(Int(0x601, 1), Int(0x606, 2), Int(0x602, 0))},
         "firmware upgrade of AMC bay 2: in progress"},
        {{0x600, 5, CBMIEvParams{}}, "event 0x600, number 5"},
        {{0x9, 4, Row<CBMIEvParams>(Int(0x77, 1), Text(0x30203, "a\x1B"))},
         "event 0x9, number 4: 0x77 1, manufacturer a?"},
    };
    for (const OutputCase& testCase : cases)
        EXPECT_EQ(testCase.m_line, EventLine(testCase.m_event));
}

TEST(RunJson, HealthHasReasonsThatSteerNoTerminal) {
    const int file = memfd_create("health", MFD_CLOEXEC);
    MakeRunJson(file)->Health({HealthState::Fault, {"AMC\n\x9B\x7F failed"}});
    std::array<char, 256> bytes{};
    const ssize_t size = pread(file, bytes.data(), bytes.size(), 0);
    close(file);
    EXPECT_EQ("{\"op\":\"health\",\"state\":\"fault\",\"reasons\":[\"AMC\\n\\u009b\\u007f failed\"]}\n",
              std::string(bytes.data(), static_cast<std::size_t>(size)));
}

} // namespace
