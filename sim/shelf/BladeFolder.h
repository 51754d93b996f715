// What a blade of a shelf keeps while it is pulled: its blade file, its storage, its certificate.
#pragma once

#include "sim/base/Paths.h"
#include "sim/shelf/Authority.h"
#include "sim/shelf/ShelfPlan.h"

#include <nlohmann/json.hpp>

#include <string>

namespace bladesim {

/// The files of a shelf, below the folder that is mounted for it.
struct ShelfFiles {
    std::string m_folder;

    std::string Authority() const { return m_folder + "/ca.crt"; }
    std::string Accounts() const { return m_folder + "/accounts"; }
    std::string Password() const { return m_folder + "/password"; }
    std::string HostNames() const { return m_folder + "/hosts"; }
};

/// The files of one of its blades.
struct BladeFolder {
    std::string m_folder;

    std::string BladeFile() const { return m_folder + "/blade.json"; }
    std::string Storage() const { return m_folder + "/storage"; }
    std::string Certificate() const { return m_folder + "/web.crt"; }
    std::string Key() const { return m_folder + "/web.key"; }
    std::string Log() const { return m_folder + "/log"; }
};

/// For its owner only. Throws a BladeError.
void WriteFile(const std::string& file, const std::string& text);

/// Fills the folder of a blade that has never been inserted. Throws a BladeError, among others when the blade file is
/// wrong.
BladeFolder MakeBladeFolder(const ShelfFiles& shelf, const ShelfPlace& place, const Paths& paths,
                            const Authority& authority);

/// Another specimen of the same kind of blade: serial numbers and MAC addresses are the slot's own. Inventories that
/// are given byte by byte, or with a size, stay as they are.
void MakeSpecimen(nlohmann::ordered_json& blade, unsigned slot);

/// The storage's table of the addresses of DSPs, of a blade with more DSPs than have one by themselves. Empty for
/// others, and without an eth6 that has an address.
std::string DspAddresses(const nlohmann::ordered_json& blade);

} // namespace bladesim
