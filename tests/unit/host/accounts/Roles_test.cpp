// Roles and their privileges.
#include "host/accounts/Roles.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace {

using namespace bmhost;
using testing::ElementsAre;

TEST(Roles, HaveThePrivilegesThatRedfishGivesThem) {
    EXPECT_THAT(PrivilegesOf(Role::ReadOnly), ElementsAre(Privilege::Login, Privilege::ConfigureSelf));
    EXPECT_THAT(PrivilegesOf(Role::Operator),
                ElementsAre(Privilege::Login, Privilege::ConfigureSelf, Privilege::ConfigureComponents));
    EXPECT_THAT(PrivilegesOf(Role::Administrator),
                ElementsAre(Privilege::Login, Privilege::ConfigureSelf, Privilege::ConfigureComponents,
                            Privilege::ConfigureManager, Privilege::ConfigureUsers));
    EXPECT_FALSE(Has(Role::Operator, Privilege::ConfigureManager));
    EXPECT_TRUE(Has(Role::Administrator, Privilege::ConfigureManager));
}

TEST(Roles, AreFoundByTheirExactNames) {
    for (const Role role : AllRoles)
        EXPECT_EQ(role, RoleOf(RoleName(role)));
    EXPECT_EQ(Role::ReadOnly, RoleOf("ReadOnly"));
    EXPECT_EQ(Role::Operator, RoleOf("Operator"));
    EXPECT_EQ(Role::Administrator, RoleOf("Administrator"));
    for (const char* name : {"", "readonly", "operator ", "Admin"})
        EXPECT_EQ(std::nullopt, RoleOf(name)) << name;
}

TEST(Roles, PrivilegesHaveRedfishsNames) {
    std::vector<std::string_view> names;
    for (const Privilege privilege : AllPrivileges)
        names.push_back(PrivilegeName(privilege));
    EXPECT_THAT(names,
                ElementsAre("Login", "ConfigureSelf", "ConfigureComponents", "ConfigureManager", "ConfigureUsers"));
}

} // namespace
