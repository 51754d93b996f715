// Files that are no adaptor.
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
void ExpectNotLoaded(const std::string& a_File, const std::string& a_Reason) {
    for (const std::vector<std::string>& l_Words :
         {std::vector<std::string>{"init"}, {"--json", "table", "1"}, {"inventory"}}) {
        std::vector<std::string> l_All = {"--adaptor", a_File};
        l_All.insert(l_All.end(), l_Words.begin(), l_Words.end());
        const ENDED l_Ended = RunHost(l_All);
        EXPECT_EQ(3, l_Ended.m_Status) << l_Ended.m_Err;
        EXPECT_EQ("", l_Ended.m_Out);
        EXPECT_THAT(l_Ended.ErrorLines(),
                    ElementsAre(AllOf(StartsWith("bmhost: adaptor " + a_File + ": "), HasSubstr(a_Reason))));
    }
}

TEST(BmhostLoad, MissingFileIsStatusThree) {
    ExpectNotLoaded("/no/such/adaptor.so", "no such file");
    ExpectNotLoaded("adaptor.so", "no such file");
    ExpectNotLoaded("/dev/null/adaptor.so", "no such file");
    ExpectNotLoaded("/" + std::string(300, 'x'), "no such file");
}

TEST(BmhostLoad, FileThatIsNoLibraryIsStatusThree) {
    const std::string l_File = testing::TempDir() + "bmhost-no-library-" + std::to_string(getpid());
    for (const std::string& l_Content : {std::string(), std::string(10'000, 'x')}) {
        std::ofstream(l_File) << l_Content;
        ExpectNotLoaded(l_File, "not a loadable library");
    }
    std::remove(l_File.c_str());
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
    const auto l_Before = std::filesystem::current_path();
    std::filesystem::current_path(STUB_FOLDER);
    const ENDED l_Ended = RunHost({"--adaptor", "stub_good.so", "--json", "init"});
    std::filesystem::current_path(l_Before);
    EXPECT_EQ(0, l_Ended.m_Status) << l_Ended.m_Err;
}

} // namespace
