// Writes the inventory image of one FRU of a blade into a file.
#include "sim/blade/DumpFru.h"

#include "bm_dev/UniqueFd.h"
#include "sim/base/Bytes.h"
#include "sim/base/Error.h"
#include "sim/base/Replacement.h"
#include "sim/blade/FruImage.h"

#include <algorithm>
#include <fcntl.h>
#include <filesystem>
#include <sys/stat.h>

namespace bladesim {
namespace {

const Inventory& InventoryOf(const Blade& blade, unsigned id) {
    const auto found =
        std::find_if(blade.m_frus.begin(), blade.m_frus.end(), [id](const Fru& fru) { return fru.m_id == id; });
    const std::string name = blade.m_file + ": FRU " + std::to_string(id);
    if (found == blade.m_frus.end()) throw BladeError(name + " is not in this blade");
    if (!found->m_inventory) throw BladeError(name + " has no inventory");
    return *found->m_inventory;
}

void WriteInto(const std::string& file, const Bytes& bytes) {
    const bm_dev::UniqueFd fd(::open(file.c_str(), O_WRONLY | O_CLOEXEC));
    if (!fd) ThrowErrno(file + ": cannot be written");
    WriteAll(fd.Get(), {reinterpret_cast<const char*>(bytes.data()), bytes.size()}, file);
}

/// As the shell would make a file.
mode_t UsualMode() {
    const mode_t mask = ::umask(0);
    ::umask(mask);
    return 0666 & ~mask;
}

void Replace(const std::string& file, const Bytes& bytes) {
    Replacement replacement(file, UsualMode());
    replacement.Write({reinterpret_cast<const char*>(bytes.data()), bytes.size()});
    replacement.Commit();
}

} // namespace

void DumpFru(const Blade& blade, unsigned id, const std::string& file) {
    const Bytes image = BuildFruImage(InventoryOf(blade, id));
    std::error_code error;
    const auto found = std::filesystem::canonical(file, error);
    if (error) {
        Replace(file, image);
    } else if (std::filesystem::is_regular_file(found, error)) {
        Replace(found, image);
    } else {
        WriteInto(file, image);
    }
}

} // namespace bladesim
