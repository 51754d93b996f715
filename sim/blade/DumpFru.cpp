// Writes the inventory image of one FRU of a blade into a file.
#include "sim/blade/DumpFru.h"

#include "sim/base/Error.h"
#include "sim/base/UniqueFd.h"
#include "sim/blade/FruImage.h"

#include <algorithm>
#include <fcntl.h>
#include <filesystem>
#include <unistd.h>

namespace BLADESIM {
namespace {

using BYTES = std::vector<uint8_t>;

const INVENTORY& InventoryOf(const BLADE& a_Blade, unsigned a_Id) {
    const auto l_FRU = std::find_if(a_Blade.m_FRUs.begin(), a_Blade.m_FRUs.end(),
                                    [a_Id](const FRU& a_FRU) { return a_FRU.m_Id == a_Id; });
    const std::string l_Name = a_Blade.m_File + ": FRU " + std::to_string(a_Id);
    if (l_FRU == a_Blade.m_FRUs.end()) throw BLADE_ERROR(l_Name + " is not in this blade");
    if (!l_FRU->m_Inventory) throw BLADE_ERROR(l_Name + " has no inventory");
    return *l_FRU->m_Inventory;
}

void WriteAll(int a_Fd, const BYTES& a_Bytes, const std::string& a_File) {
    for (size_t l_Done = 0; l_Done < a_Bytes.size();) {
        const ssize_t l_Written = ::write(a_Fd, a_Bytes.data() + l_Done, a_Bytes.size() - l_Done);
        if (l_Written < 0 && errno == EINTR) continue;
        if (l_Written < 0) ThrowErrno(a_File + ": cannot be written");
        l_Done += static_cast<size_t>(l_Written);
    }
}

void WriteInto(const std::string& a_File, const BYTES& a_Bytes) {
    const UNIQUE_FD l_Fd(::open(a_File.c_str(), O_WRONLY | O_CLOEXEC));
    if (!l_Fd) ThrowErrno(a_File + ": cannot be written");
    WriteAll(l_Fd.Get(), a_Bytes, a_File);
}

/// A file beside the one that it replaces in the end; removed when it comes to nothing.
class REPLACEMENT {
public:
    explicit REPLACEMENT(const std::string& a_File)
        : m_File(a_File),
          m_Name(a_File + "." + std::to_string(::getpid())),
          m_Fd(::open(m_Name.c_str(), O_CREAT | O_EXCL | O_WRONLY | O_CLOEXEC, 0666)) {
        if (!m_Fd) ThrowErrno(m_File + ": cannot be written");
    }
    ~REPLACEMENT() {
        if (!m_Done) ::unlink(m_Name.c_str());
    }
    REPLACEMENT(const REPLACEMENT&) = delete;
    REPLACEMENT& operator=(const REPLACEMENT&) = delete;

    void Write(const BYTES& a_Bytes) {
        WriteAll(m_Fd.Get(), a_Bytes, m_File);
        if (::fsync(m_Fd.Get()) != 0 || ::rename(m_Name.c_str(), m_File.c_str()) != 0) {
            ThrowErrno(m_File + ": cannot be written");
        }
        m_Done = true;
    }

private:
    std::string m_File;
    std::string m_Name;
    UNIQUE_FD m_Fd;
    bool m_Done = false;
};

} // namespace

void DumpFru(const BLADE& a_Blade, unsigned a_Id, const std::string& a_File) {
    const BYTES l_Image = BuildFruImage(InventoryOf(a_Blade, a_Id));
    std::error_code l_Error;
    const auto l_Found = std::filesystem::canonical(a_File, l_Error);
    if (l_Error) {
        REPLACEMENT(a_File).Write(l_Image);
    } else if (std::filesystem::is_regular_file(l_Found, l_Error)) {
        REPLACEMENT(l_Found).Write(l_Image);
    } else {
        WriteInto(a_File, l_Image);
    }
}

} // namespace BLADESIM
