// The unit tests with a scripted OpenIPMI do not load the real one. SCRIPTED_PROGRAMS are their paths.
#include "common/ElfFile.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <iterator>

namespace {

using testing::Contains;
using testing::Each;
using testing::Not;
using testing::StartsWith;
using testing::ValuesIn;

class ScriptedProgram : public testing::TestWithParam<const char*> {};

TEST_P(ScriptedProgram, DoesNotLoadOpenIPMI) {
    const auto l_Needs = ELF_FILE(GetParam()).Needs();
    EXPECT_THAT(l_Needs, Contains("libc.so.6")) << GetParam();
    EXPECT_THAT(l_Needs, Each(Not(StartsWith("libOpenIPMI")))) << GetParam();
}

// Ends in a null for the comma after the last path.
constexpr const char* SCRIPTED[] = {SCRIPTED_PROGRAMS nullptr};

INSTANTIATE_TEST_SUITE_P(UnitTests, ScriptedProgram, ValuesIn(std::begin(SCRIPTED), std::end(SCRIPTED) - 1));

} // namespace
