// Where bladesim finds its own files: the same places beside the program in the build tree and where it is installed.
#include "sim/base/Paths.h"

#include "sim/base/Error.h"

#include <sys/auxv.h>

#include <filesystem>

namespace BLADESIM {
namespace {

namespace fs = std::filesystem;

std::string Existing(const fs::path& a_Path) {
    std::error_code l_Error;
    const fs::path l_Path = fs::canonical(a_Path, l_Error);
    if (l_Error)
        throw BLADE_ERROR(a_Path.lexically_normal().string() + ": " + l_Error.message() + " (it belongs to bladesim)");
    return l_Path;
}

} // namespace

std::string ProgramFolder() {
    // The program's own path as the kernel was given it.
    const auto* l_Path = reinterpret_cast<const char*>(::getauxval(AT_EXECFN));
    std::error_code l_Error;
    const fs::path l_Program = fs::canonical(l_Path == nullptr ? "" : l_Path, l_Error);
    if (l_Error) throw BLADE_ERROR("cannot find out where this program is: " + l_Error.message());
    return l_Program.parent_path();
}

PATHS FindPaths() {
    const fs::path l_Folder = ProgramFolder();
    PATHS l_Paths;
    l_Paths.m_Blades = Existing(l_Folder / BLADESIM_DATA_FOLDER "/blades");
    l_Paths.m_Preload = Existing(l_Folder / BLADESIM_LIBRARY_FOLDER "/libbladesim_ipmi.so");
    l_Paths.m_Module = Existing(l_Folder / BLADESIM_LIBRARY_FOLDER "/bladesim_carrier.so");
    l_Paths.m_Tool = Existing(l_Folder / BLADESIM_LIBRARY_FOLDER "/bladesim_tool");
    l_Paths.m_Run = Existing(l_Folder / BLADESIM_LIBRARY_FOLDER "/run");
    if (l_Paths.m_Preload.find_first_of(" :") != std::string::npos) {
        throw BLADE_ERROR(l_Paths.m_Preload + ": a path with a blank or a colon cannot be preloaded");
    }
    return l_Paths;
}

std::string FindBlade(const PATHS& a_Paths, const std::string& a_Blade) {
    std::error_code l_Error;
    const bool l_IsName = a_Blade.find('/') == std::string::npos && !fs::exists(a_Blade, l_Error);
    if (!l_IsName) return a_Blade;
    const fs::path l_File = fs::path(a_Paths.m_Blades) / (a_Blade + ".json");
    return fs::exists(l_File, l_Error) ? l_File.string() : a_Blade;
}

} // namespace BLADESIM
