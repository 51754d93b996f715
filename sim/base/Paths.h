// Where bladesim finds its own files: at the same places relative to the program, whether built or installed.
#pragma once

#include <string>
#include <vector>

namespace bladesim {

struct Paths {
    std::string m_blades;     ///< folder of the blade files
    std::string m_preload;    ///< the library that makes /dev/ipmi0
    std::string m_driverFile; ///< the one that makes the PCI driver's file where there is no FUSE
    std::string m_module;     ///< the carrier, a module of ipmi_sim
    std::string m_tool;       ///< the stand-in of the board's tools
    std::string m_run;        ///< an empty folder on which every blade mounts its run folder
    std::string m_shelf;      ///< the same for every shelf
};

/// The folder of this program, with links resolved; works without /proc.
std::string ProgramFolder();

/// Throws a BladeError when something is missing.
Paths FindPaths();

/// The names of the blades that came with the program, in order.
std::vector<std::string> ShippedBlades(const Paths& paths);

/// The file of `--blade`: a path, or the name of one of the blades that came with the program.
std::string FindBlade(const Paths& paths, const std::string& blade);

} // namespace bladesim
