// The built plug-in as a host's loader sees it: what it exports, what it needs, and that it stays mapped; and that the
// unit tests with a scripted OpenIPMI do without the real one. PLUGIN_FILE and SCRIPTED_PROGRAMS are paths.
#include <dlfcn.h>
#include <elf.h>
#include <link.h>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <cstdint>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <memory>
#include <set>
#include <string>
#include <string_view>
#include <vector>

namespace {

using testing::Contains;
using testing::Each;
using testing::ElementsAre;
using testing::IsEmpty;
using testing::IsSupersetOf;
using testing::Not;
using testing::StartsWith;
using testing::ValuesIn;

// The tables' types in the machine's own word size.
using HEADER = ElfW(Ehdr);
using SECTION = ElfW(Shdr);
using SYMBOL = ElfW(Sym);
using DYNAMIC = ElfW(Dyn);

/// Dynamic symbols and dependencies of one library or program of this machine's own kind.
class ELF_FILE {
public:
    explicit ELF_FILE(const std::string& a_File) {
        m_Bytes.resize(std::filesystem::file_size(a_File));
        std::ifstream(a_File, std::ios::binary).read(m_Bytes.data(), static_cast<std::streamsize>(m_Bytes.size()));
    }

    std::set<std::string> Exports() const {
        std::set<std::string> l_Names;
        const auto* l_Section = Section(SHT_DYNSYM);
        for (const auto& l_Symbol : Table<SYMBOL>(l_Section)) {
            const bool l_Local = ELF64_ST_BIND(l_Symbol.st_info) == STB_LOCAL;
            if (!l_Local && l_Symbol.st_shndx != SHN_UNDEF) l_Names.insert(String(l_Section, l_Symbol.st_name));
        }
        return l_Names;
    }

    std::vector<std::string> Needs() const {
        std::vector<std::string> l_Names;
        const auto* l_Section = Section(SHT_DYNAMIC);
        for (const auto& l_Entry : Table<DYNAMIC>(l_Section)) {
            if (l_Entry.d_tag == DT_NEEDED) l_Names.emplace_back(String(l_Section, l_Entry.d_un.d_val));
        }
        return l_Names;
    }

private:
    const HEADER& Header() const { return *reinterpret_cast<const HEADER*>(m_Bytes.data()); }

    const SECTION* Sections() const { return reinterpret_cast<const SECTION*>(m_Bytes.data() + Header().e_shoff); }

    const SECTION* Section(uint32_t a_Type) const {
        const auto* l_End = Sections() + Header().e_shnum;
        return std::find_if(Sections(), l_End, [=](const SECTION& a_Each) { return a_Each.sh_type == a_Type; });
    }

    template <typename ENTRY>
    std::vector<ENTRY> Table(const SECTION* a_Section) const {
        const auto* l_First = reinterpret_cast<const ENTRY*>(m_Bytes.data() + a_Section->sh_offset);
        return {l_First, l_First + a_Section->sh_size / sizeof(ENTRY)};
    }

    /// A text of the string table that belongs to this section.
    const char* String(const SECTION* a_Section, std::size_t a_Offset) const {
        return m_Bytes.data() + Sections()[a_Section->sh_link].sh_offset + a_Offset;
    }

    std::vector<char> m_Bytes;
};

bool IsOneOf(std::string_view a_Library, std::initializer_list<std::string_view> a_Prefixes) {
    return std::any_of(a_Prefixes.begin(), a_Prefixes.end(),
                       [=](std::string_view a_Prefix) { return a_Library.starts_with(a_Prefix); });
}

/// OpenIPMI, the platform, and what every C++ program has loaded anyway.
bool MayBeNeeded(std::string_view a_Library) {
#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
    if (IsOneOf(a_Library, {"libasan.so.", "libubsan.so.", "libtsan.so."})) return true;
#endif
    return IsOneOf(a_Library, {"libOpenIPMI.so.", "libOpenIPMIpthread.so.", "libOpenIPMIutils.so.", "libbm_platform.so",
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
    EXPECT_THAT(l_Needs, IsSupersetOf({"libbm_platform.so", "libc.so.6"}));
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

class ScriptedProgram : public testing::TestWithParam<const char*> {};

TEST_P(ScriptedProgram, DoesNotLoadOpenIPMI) {
    const auto l_Needs = ELF_FILE(GetParam()).Needs();
    EXPECT_THAT(l_Needs, Contains("libc.so.6")) << GetParam();
    EXPECT_THAT(l_Needs, Each(Not(StartsWith("libOpenIPMI")))) << GetParam();
}

// Ends in a null for the comma behind the last path.
constexpr const char* SCRIPTED[] = {SCRIPTED_PROGRAMS nullptr};

INSTANTIATE_TEST_SUITE_P(UnitTests, ScriptedProgram, ValuesIn(std::begin(SCRIPTED), std::end(SCRIPTED) - 1));

} // namespace
