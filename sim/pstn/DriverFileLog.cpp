// Keeps what is written to the PCI driver's file, in the run folder.
#include "sim/pstn/DriverFileLog.h"

#include "sim/base/Error.h"

#include <fcntl.h>
#include <unistd.h>

#include <cerrno>

namespace bladesim {

DriverFileLog::DriverFileLog(const DriverFile& file, const std::string& runFolder) : m_records(file) {
    const std::string path = runFolder + "/" + DriverRecords;
    m_log = bm_dev::UniqueFd(::open(path.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_APPEND | O_CLOEXEC, 0644));
    if (!m_log) ThrowErrno(path);
}

int DriverFileLog::Keep(const DriverFileAnswer& answer) const {
    if (answer.m_line.empty()) return answer.m_result;
    const std::string line = answer.m_line + "\n";
    // In one write, so that readers see the whole line or nothing.
    const ssize_t written = ::write(m_log.Get(), line.data(), line.size());
    return written == static_cast<ssize_t>(line.size()) ? answer.m_result : -EIO;
}

} // namespace bladesim
