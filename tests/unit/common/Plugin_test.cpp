// The built plug-in as a host's loader sees it: what it exports, what it needs, and that it stays mapped.
// PLUGIN_FILE is its path.
#include "common/ElfFile.h"

#include <dlfcn.h>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <memory>
#include <string_view>
#include <vector>

namespace {

using testing::ElementsAre;
using testing::IsEmpty;
using testing::IsSupersetOf;

bool IsOneOf(std::string_view a_Library, std::initializer_list<std::string_view> a_Prefixes) {
    return std::any_of(a_Prefixes.begin(), a_Prefixes.end(),
                       [=](std::string_view a_Prefix) { return a_Library.starts_with(a_Prefix); });
}

/// OpenIPMI, the platform, and what every C++ program has loaded anyway.
bool MayBeNeeded(std::string_view a_Library) {
#ifdef BM_SANITIZED
    if (IsOneOf(a_Library, {"libasan.so.", "libubsan.so.", "libtsan.so.", "libclang_rt."})) return true;
#endif
    return IsOneOf(a_Library,
                   {"libOpenIPMI.so.", "libOpenIPMIpthread.so.", "libOpenIPMIutils.so.", "libbm_platform.so.",
                    "libstdc++.so.", "libgcc_s.so.", "libm.so.", "libc.so.", "ld-linux"});
}

struct CLOSE_LIBRARY {
    void operator()(void* a_Handle) const { dlclose(a_Handle); }
};
using LIBRARY = std::unique_ptr<void, CLOSE_LIBRARY>;

TEST(Plugin, ExportsItsFourEntriesAndNothingElse) {
    EXPECT_THAT(ELF_FILE(PLUGIN_FILE).Exports(),
                ElementsAre("CreateAdaptor", "DestroyAdaptor", "VELDO_GetCopyRight", "VELDO_VersionString"));
}

TEST(Plugin, NeedsNothingBeyondOpenIPMIThePlatformAndTheRuntime) {
    auto l_Needs = ELF_FILE(PLUGIN_FILE).Needs();
    EXPECT_THAT(l_Needs, IsSupersetOf({"libbm_platform.so.0", "libc.so.6"}));
    std::erase_if(l_Needs, MayBeNeeded);
    EXPECT_THAT(l_Needs, IsEmpty());
}

TEST(Plugin, StaysMappedWhenItsHostClosesIt) {
    LIBRARY(dlopen(PLUGIN_FILE, RTLD_NOW | RTLD_LOCAL)).reset();
    const LIBRARY l_Again(dlopen(PLUGIN_FILE, RTLD_NOW | RTLD_NOLOAD));
    EXPECT_NE(l_Again, nullptr) << "the domain thread would run in unmapped code";
}

TEST(Plugin, LoadsWithItsEntriesResolvable) {
    const LIBRARY l_Library(dlopen(PLUGIN_FILE, RTLD_NOW | RTLD_LOCAL));
    ASSERT_NE(l_Library, nullptr) << dlerror();
    for (const char* l_Name : {"CreateAdaptor", "DestroyAdaptor", "VELDO_GetCopyRight", "VELDO_VersionString"}) {
        EXPECT_NE(dlsym(l_Library.get(), l_Name), nullptr) << l_Name;
    }
}

} // namespace
