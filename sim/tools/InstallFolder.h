// The blade's install folder, /usr/korvel, with its tools: it is there inside a blade only.
#pragma once

#include <string>
#include <string_view>

namespace BLADESIM {

inline constexpr char g_InstallFolder[] = "/usr/korvel";

struct TOOL {
    std::string_view m_Name;
    std::string_view m_Folder; ///< below the install folder
    std::string_view m_Description;
};

/// The firmware tool has a folder of its own: it is called by its name alone, the others by their paths.
inline constexpr TOOL g_Tools[] = {
    {"mavk_init", "bin", "initialises the DSPs"},     {"mavk_boot", "bin", "loads the DSPs' image"},
    {"mavk_diag", "bin", "tests DSPs, AMCs and RTM"}, {"mediaStart", "bin", "starts the media software"},
    {"mediaStop", "bin", "stops the media software"}, {"fwburn", "sbin", "loads firmware into board and modules"},
};

/// Makes the folder in the mount namespace of the caller, in which no mount is shared: each tool is a link to
/// `a_StandIn`. The rest of /usr is seen as before. Throws a BLADE_ERROR.
void MakeInstallFolder(const std::string& a_StandIn);

/// A search path with the folder of the firmware tool before the first folder of the system: no tool of this machine
/// is found first, one that the caller has put in front is.
std::string PathWithTools(std::string_view a_Path);

} // namespace BLADESIM
