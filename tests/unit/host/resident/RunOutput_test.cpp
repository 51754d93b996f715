// Events in one line, and the names in them.
#include "host/resident/RunOutput.h"

#include "host/HostParams.h"

#include <gtest/gtest.h>

#include <array>
#include <string>
#include <sys/mman.h>
#include <unistd.h>

namespace {

using namespace BMHOST;
using BM_ADAPTOR::CBMIEvParams;

struct OUTPUT_CASE {
    EVENT m_Event;
    const char* m_Line;
};

TEST(EventLine, SaysByNameWhatHappened) {
    const OUTPUT_CASE l_Cases[] = {
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
    for (const OUTPUT_CASE& l_Case : l_Cases)
        EXPECT_EQ(l_Case.m_Line, EventLine(l_Case.m_Event));
}

TEST(RunJson, HealthHasReasonsThatSteerNoTerminal) {
    const int l_File = memfd_create("health", MFD_CLOEXEC);
    MakeRunJson(l_File)->Health({HEALTH::Fault, {"AMC\n\x9B\x7F failed"}});
    std::array<char, 256> l_Bytes{};
    const ssize_t l_Size = pread(l_File, l_Bytes.data(), l_Bytes.size(), 0);
    close(l_File);
    EXPECT_EQ("{\"op\":\"health\",\"state\":\"fault\",\"reasons\":[\"AMC\\n\\u009b\\u007f failed\"]}\n",
              std::string(l_Bytes.data(), static_cast<std::size_t>(l_Size)));
}

} // namespace
