// Where bladesim finds its own files: the same places beside the program in the build tree and where it is installed.
#pragma once

#include <string>

namespace BLADESIM {

struct PATHS {
    std::string m_Blades;  ///< folder of the blade files
    std::string m_Preload; ///< the library that makes /dev/ipmi0
    std::string m_Module;  ///< the carrier, a module of ipmi_sim
    std::string m_Tool;    ///< the stand-in of the board's tools
    std::string m_Run;     ///< empty folder, on which every blade mounts its run folder
};

/// The folder of the program that runs, links resolved; works without /proc.
std::string ProgramFolder();

/// Throws a BLADE_ERROR when something is missing.
PATHS FindPaths();

/// The file of `--blade`: a path, or the name of one of the blades that came with the program.
std::string FindBlade(const PATHS& a_Paths, const std::string& a_Blade);

} // namespace BLADESIM
