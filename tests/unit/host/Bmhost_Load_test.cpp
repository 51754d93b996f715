// Files that are not adaptors.
#include "host/HostProcess.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstdio>
#include <filesystem>
#include <fstream>
#include <unistd.h>

namespace {

using testing::AllOf;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::StartsWith;

// One clear line that names the file, no call shown, status 3.
void ExpectNotLoaded(const std::string& file, const std::string& reason) {
    for (const std::vector<std::string>& words :
         {std::vector<std::string>{"init"}, {"--json", "table", "1"}, {"inventory"}}) {
        std::vector<std::string> all = {"--adaptor", file};
        all.insert(all.end(), words.begin(), words.end());
        const Ended ended = RunHost(all);
        EXPECT_EQ(3, ended.m_status) << ended.m_err;
        EXPECT_EQ("", ended.m_out);
        EXPECT_THAT(ended.ErrorLines(),
                    ElementsAre(AllOf(StartsWith("bmhost: adaptor " + file + ": "), HasSubstr(reason))));
    }
}

TEST(BmhostLoad, MissingFileIsStatusThree) {
    ExpectNotLoaded("/no/such/adaptor.so", "no such file");
    ExpectNotLoaded("adaptor.so", "no such file");
    ExpectNotLoaded("/dev/null/adaptor.so", "no such file");
    ExpectNotLoaded("/" + std::string(300, 'x'), "no such file");
}

TEST(BmhostLoad, FileThatIsNoLibraryIsStatusThree) {
    const std::string file = testing::TempDir() + "bmhost-no-library-" + std::to_string(getpid());
    for (const std::string& content : {std::string(), std::string(10'000, 'x')}) {
        std::ofstream(file) << content;
        ExpectNotLoaded(file, "not a loadable library");
    }
    std::remove(file.c_str());
    ExpectNotLoaded("/", "not a loadable library");
}

TEST(BmhostLoad, LibraryWithoutTheEntryPointsIsStatusThree) {
    ExpectNotLoaded(StubFile("no_create"), "no adaptor: it does not export CreateAdaptor");
    ExpectNotLoaded(StubFile("no_destroy"), "no adaptor: it does not export DestroyAdaptor");
}

TEST(BmhostLoad, CreateAdaptorThatFailsIsStatusThree) {
    ExpectNotLoaded(StubFile("create_null"), "CreateAdaptor gave no adaptor");
    ExpectNotLoaded(StubFile("create_throws"), "CreateAdaptor failed: no controller");
    ExpectNotLoaded(StubFile("create_throws_a_number"), "CreateAdaptor failed");
}

TEST(BmhostLoad, FileNameWithoutAFolderIsLookedForInTheWorkingFolder) {
    const auto before = std::filesystem::current_path();
    std::filesystem::current_path(STUB_FOLDER);
    const Ended ended = RunHost({"--adaptor", "stub_good.so", "--json", "init"});
    std::filesystem::current_path(before);
    EXPECT_EQ(0, ended.m_status) << ended.m_err;
}

} // namespace
