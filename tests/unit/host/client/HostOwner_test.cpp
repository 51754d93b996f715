// Who has a blade, by what stands in its lock's file.
#include "host/client/HostOwner.h"

#include "host/client/ScriptedHost.h"

#include <gtest/gtest.h>

#include <fstream>
#include <sys/wait.h>
#include <unistd.h>

namespace {

using namespace bmhost;

std::string OwnerText(const std::string& content) {
    const HostRunFolder folder;
    std::ofstream(folder.Path() + "/bmhost.lock") << content;
    const auto owner = OwnerOf({folder.Path()});
    return owner ? owner->Text() + (owner->IsResident() ? ", resident" : "") : "nobody";
}

std::string LockLine(pid_t process, const std::string& program) {
    return R"({"process":)" + std::to_string(process) + R"(,"started":"2026-11-22T09:30:00.125Z","program":")" +
           program + "\"}\n";
}

TEST(HostOwner, IsNamedWithProgramProcessAndStart) {
    const std::string process = std::to_string(getpid());
    EXPECT_EQ("bmhostd, process " + process + ", since 2026-11-22T09:30:00.125Z, resident",
              OwnerText(LockLine(getpid(), "bmhostd")));
    EXPECT_EQ("bmhost led set, process " + process + ", since 2026-11-22T09:30:00.125Z",
              OwnerText(LockLine(getpid(), "bmhost led set")));
}

TEST(HostOwner, IsNobodyWhereNoneIsToldOrItIsDead) {
    const pid_t dead = fork();
    if (dead == 0) _exit(0);
    waitpid(dead, nullptr, 0);
    EXPECT_EQ("nobody", OwnerText(LockLine(dead, "bmhostd")));
    EXPECT_EQ("nobody", OwnerText(""));
    EXPECT_EQ("nobody", OwnerText("{"));
    EXPECT_EQ("nobody", OwnerText("[1]"));
    EXPECT_EQ("nobody", OwnerText(R"({"process":"1"})"));
    EXPECT_EQ("nobody", OwnerText(LockLine(-1, "bmhostd")));
    EXPECT_FALSE(OwnerOf({"/nowhere/at/all"}));
}

} // namespace
