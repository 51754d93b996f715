// Writes the inventory image of one FRU of a blade into a file.
#include "sim/blade/DumpFru.h"

#include "bm_dev/UniqueFd.h"
#include "sim/base/Error.h"
#include "sim/blade/FruImage.h"

#include <algorithm>
#include <cstdlib>
#include <fcntl.h>
#include <filesystem>
#include <sys/stat.h>
#include <unistd.h>

namespace bladesim {
namespace {

using Bytes = std::vector<uint8_t>;

const Inventory& InventoryOf(const Blade& blade, unsigned id) {
    const auto found =
        std::find_if(blade.m_frus.begin(), blade.m_frus.end(), [id](const Fru& fru) { return fru.m_id == id; });
    const std::string name = blade.m_file + ": FRU " + std::to_string(id);
    if (found == blade.m_frus.end()) throw BladeError(name + " is not in this blade");
    if (!found->m_inventory) throw BladeError(name + " has no inventory");
    return *found->m_inventory;
}

void WriteAll(int fd, const Bytes& bytes, const std::string& file) {
    for (size_t done = 0; done < bytes.size();) {
        const ssize_t written = ::write(fd, bytes.data() + done, bytes.size() - done);
        if (written < 0 && errno == EINTR) continue;
        if (written < 0) ThrowErrno(file + ": cannot be written");
        done += static_cast<size_t>(written);
    }
}

void WriteInto(const std::string& file, const Bytes& bytes) {
    const bm_dev::UniqueFd fd(::open(file.c_str(), O_WRONLY | O_CLOEXEC));
    if (!fd) ThrowErrno(file + ": cannot be written");
    WriteAll(fd.Get(), bytes, file);
}

/// As the shell would make a file.
mode_t UsualMode() {
    const mode_t mask = ::umask(0);
    ::umask(mask);
    return 0666 & ~mask;
}

/// A temporary file, by a name that nobody foresees, that replaces the real one in the end, or is removed.
class Replacement {
public:
    explicit Replacement(const std::string& file)
        : m_file(file),
          m_name(file + ".XXXXXX"),
          m_fd(::mkostemp(m_name.data(), O_CLOEXEC)) {
        if (!m_fd) ThrowErrno(m_file + ": cannot be written");
    }
    ~Replacement() {
        if (!m_done) ::unlink(m_name.c_str());
    }
    Replacement(const Replacement&) = delete;
    Replacement& operator=(const Replacement&) = delete;

    void Write(const Bytes& bytes) {
        WriteAll(m_fd.Get(), bytes, m_file);
        if (::fchmod(m_fd.Get(), UsualMode()) != 0 || ::fsync(m_fd.Get()) != 0 ||
            ::rename(m_name.c_str(), m_file.c_str()) != 0) {
            ThrowErrno(m_file + ": cannot be written");
        }
        m_done = true;
    }

private:
    std::string m_file;
    std::string m_name;
    bm_dev::UniqueFd m_fd;
    bool m_done = false;
};

} // namespace

void DumpFru(const Blade& blade, unsigned id, const std::string& file) {
    const Bytes image = BuildFruImage(InventoryOf(blade, id));
    std::error_code error;
    const auto found = std::filesystem::canonical(file, error);
    if (error) {
        Replacement(file).Write(image);
    } else if (std::filesystem::is_regular_file(found, error)) {
        Replacement(found).Write(image);
    } else {
        WriteInto(file, image);
    }
}

} // namespace bladesim
