// Why a machine gives an ordinary user no user namespace: each setting that forbids it is named.
#include "sim/life/UserNamespaceReason.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cerrno>
#include <filesystem>
#include <fstream>
#include <unistd.h>

using namespace bladesim;
using testing::HasSubstr;

namespace {

namespace fs = std::filesystem;

/// A machine with settings of its own: at first with those of a kernel that allows user namespaces.
class NoUserNamespace : public testing::Test {
protected:
    NoUserNamespace() {
        EXPECT_NE(::mkdtemp(m_folder.data()), nullptr);
        Set("kernel/unprivileged_userns_clone", 1);
        Set("user/max_user_namespaces", 63000);
        Set("kernel/apparmor_restrict_unprivileged_userns", 0);
    }
    ~NoUserNamespace() override { fs::remove_all(m_folder); }

    void Set(const std::string& name, int value) {
        const fs::path file = fs::path(m_folder) / name;
        fs::create_directories(file.parent_path());
        std::ofstream(file) << value << "\n";
    }

    std::string Why(int error) const { return WhyNoUserNamespace(error, m_folder); }

    std::string m_folder = testing::TempDir() + "settings-XXXXXX";
};

} // namespace

TEST_F(NoUserNamespace, BecauseTheKernelKeepsThemForRoot) {
    Set("kernel/unprivileged_userns_clone", 0);
    EXPECT_EQ(Why(EPERM), "kernel.unprivileged_userns_clone is 0; root may allow them: "
                          "sysctl -w kernel.unprivileged_userns_clone=1");
}

TEST_F(NoUserNamespace, BecauseThereMayBeNone) {
    Set("user/max_user_namespaces", 0);
    EXPECT_EQ(Why(ENOSPC),
              "user.max_user_namespaces is 0; root may allow them: sysctl -w user.max_user_namespaces=1000");
}

TEST_F(NoUserNamespace, BecauseAppArmorRestrictsThem) {
    Set("kernel/apparmor_restrict_unprivileged_userns", 1);
    EXPECT_EQ(Why(EACCES), "kernel.apparmor_restrict_unprivileged_userns is 1; root may allow them: "
                           "sysctl -w kernel.apparmor_restrict_unprivileged_userns=0");
}

TEST_F(NoUserNamespace, BecauseAllAreInUse) {
    EXPECT_THAT(Why(ENOSPC), HasSubstr("all of user.max_user_namespaces (63000) are in use"));
}

TEST_F(NoUserNamespace, BecauseTheKernelHasNone) {
    EXPECT_EQ(Why(EINVAL), "this kernel is built without them");
}

TEST_F(NoUserNamespace, ForAReasonThatNoSettingTells) {
    fs::remove_all(m_folder); // a kernel that has none of them
    EXPECT_THAT(Why(EPERM), HasSubstr("none of the kernel's settings forbids them"));
}
