// Where bladesim finds its own files: at the same places relative to the program, whether built or installed.
#include "sim/base/Paths.h"

#include "sim/base/Error.h"

#include <sys/auxv.h>

#include <algorithm>
#include <filesystem>

namespace bladesim {
namespace {

namespace fs = std::filesystem;

std::string Existing(const fs::path& path) {
    std::error_code error;
    const fs::path existing = fs::canonical(path, error);
    if (error)
        throw BladeError(path.lexically_normal().string() + ": " + error.message() + " (it belongs to bladesim)");
    return existing;
}

} // namespace

std::string ProgramFolder() {
    // The path by which the kernel was told to run this program.
    const auto* existing = reinterpret_cast<const char*>(::getauxval(AT_EXECFN));
    std::error_code error;
    const fs::path program = fs::canonical(existing == nullptr ? "" : existing, error);
    if (error) throw BladeError("cannot find out where this program is: " + error.message());
    return program.parent_path();
}

Paths FindPaths() {
    const fs::path folder = ProgramFolder();
    Paths paths;
    paths.m_blades = Existing(folder / BLADESIM_DATA_FOLDER "/blades");
    paths.m_preload = Existing(folder / BLADESIM_LIBRARY_FOLDER "/libbladesim_ipmi.so");
    paths.m_driverFile = Existing(folder / BLADESIM_LIBRARY_FOLDER "/libbladesim_driver_file.so");
    paths.m_module = Existing(folder / BLADESIM_LIBRARY_FOLDER "/bladesim_carrier.so");
    paths.m_tool = Existing(folder / BLADESIM_LIBRARY_FOLDER "/bladesim_tool");
    paths.m_run = Existing(folder / BLADESIM_LIBRARY_FOLDER "/run");
    paths.m_shelf = Existing(folder / BLADESIM_LIBRARY_FOLDER "/shelf");
    if (paths.m_preload.find_first_of(" :") != std::string::npos) {
        throw BladeError(paths.m_preload + ": a path with a blank or a colon cannot be preloaded");
    }
    return paths;
}

std::vector<std::string> ShippedBlades(const Paths& paths) {
    std::vector<std::string> names;
    for (const fs::directory_entry& file : fs::directory_iterator(paths.m_blades)) {
        const fs::path name = file.path().stem();
        // A schema has a further extension.
        if (file.path().extension() == ".json" && !name.has_extension()) names.push_back(name);
    }
    std::ranges::sort(names);
    return names;
}

std::string FindBlade(const Paths& paths, const std::string& blade) {
    std::error_code error;
    const bool isName = blade.find('/') == std::string::npos && !fs::exists(blade, error);
    if (!isName) return blade;
    const fs::path file = fs::path(paths.m_blades) / (blade + ".json");
    return fs::exists(file, error) ? file.string() : blade;
}

} // namespace bladesim
