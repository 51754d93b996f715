// A command that another program carries out.
#include "host/context/OtherProgram.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <stdexcept>

namespace {

using namespace bmhost;

TEST(OtherProgram, ThatIsNotThereIsNamedWithItsReason) {
    const std::string folder = std::filesystem::read_symlink("/proc/self/exe").parent_path();
    try {
        BecomeProgram("bmhost-nothing", {"word"});
        FAIL() << "it is there";
    } catch (const std::runtime_error& error) {
        EXPECT_EQ(folder + "/bmhost-nothing: No such file or directory; is bmhost-nothing installed?",
                  std::string(error.what()));
    }
}

} // namespace
