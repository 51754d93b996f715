// A new file that takes the place of an old one only when it is complete: whoever looks finds the one or the other.
#pragma once

#include "bm_dev/UniqueFd.h"

#include <string>
#include <string_view>
#include <sys/types.h>

namespace bladesim {

/// Throws a BladeError that names `file`, for the user.
void WriteAll(int fd, std::string_view bytes, const std::string& file);

/// A temporary file next to the real one, by a name that nobody foresees. Each function throws a BladeError.
class Replacement {
public:
    explicit Replacement(std::string file, mode_t mode = 0600);
    /// Unless it was committed the temporary file is removed.
    ~Replacement();
    Replacement(const Replacement&) = delete;
    Replacement& operator=(const Replacement&) = delete;

    /// The temporary file's.
    const std::string& Name() const { return m_name; }
    void Write(std::string_view bytes) { WriteAll(m_fd.Get(), bytes, m_file); }
    /// From now on it is the real file, and lasts.
    void Commit();

private:
    std::string m_file;
    std::string m_name;
    bm_dev::UniqueFd m_fd;
    mode_t m_mode;
    bool m_done = false;
};

} // namespace bladesim
