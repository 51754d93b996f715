// The ELF tables of a library or program: what it exports and what it needs.
#pragma once

#include <elf.h>
#include <link.h>

#include <algorithm>
#include <cstdint>
#include <filesystem>
#include <fstream>
#include <set>
#include <string>
#include <vector>

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

    /// A text from the string table that belongs to this section.
    const char* String(const SECTION* a_Section, std::size_t a_Offset) const {
        return m_Bytes.data() + Sections()[a_Section->sh_link].sh_offset + a_Offset;
    }

    std::vector<char> m_Bytes;
};
