// The blade's install folder, /usr/korvel, with its tools: it exists inside a blade only.
#pragma once

#include <string>
#include <string_view>

namespace bladesim {

inline constexpr char InstallFolder[] = "/usr/korvel";

struct Tool {
    std::string_view m_name;
    std::string_view m_folder; ///< below the install folder
    std::string_view m_description;
};

/// The firmware tool has a folder of its own: it is called by its name alone, the others by their paths.
inline constexpr Tool Tools[] = {
    {"mavk_init", "bin", "initialises the DSPs"},     {"mavk_boot", "bin", "loads the DSPs' image"},
    {"mavk_diag", "bin", "tests DSPs, AMCs and RTM"}, {"mediaStart", "bin", "starts the media software"},
    {"mediaStop", "bin", "stops the media software"}, {"fwburn", "sbin", "loads firmware into board and modules"},
};

/// Makes the folder in the mount namespace of the caller, in which no mount is shared: each tool is a link to
/// `standIn`. The rest of /usr is seen as before. Throws a BladeError.
void MakeInstallFolder(const std::string& standIn);

/// A search path with the folder of the firmware tool before the first folder of the system, so that it comes before
/// the tools of this machine but after folders that the caller has put first.
std::string PathWithTools(std::string_view path);

} // namespace bladesim
