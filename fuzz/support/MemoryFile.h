// A file in memory, for readers that want a path.
#pragma once

#include "support/Require.h"

#include <string>
#include <string_view>
#include <sys/mman.h>
#include <unistd.h>

namespace fuzzing {

class MemoryFile {
public:
    explicit MemoryFile(const char* name)
        : m_file(memfd_create(name, MFD_CLOEXEC)),
          m_path("/proc/self/fd/" + std::to_string(m_file)) {}
    MemoryFile(const MemoryFile&) = delete;
    MemoryFile& operator=(const MemoryFile&) = delete;
    ~MemoryFile() { close(m_file); }

    const std::string& Path() const { return m_path; }

    void Write(std::string_view text) const {
        const bool written = ftruncate(m_file, 0) == 0 &&
                             pwrite(m_file, text.data(), text.size(), 0) == static_cast<ssize_t>(text.size());
        Require(written, "a file in memory cannot be written");
    }

private:
    const int m_file;
    const std::string m_path;
};

} // namespace fuzzing
