// The results of the storage's operations, and the error that leads to one.
#pragma once

#include <cerrno>
#include <stdexcept>
#include <string>
#include <system_error>

namespace BM_STORAGE {

/// The host protocol's result codes, as far as the storage gives them.
enum RESULT_e : int {
    NOTHING_DONE = 0, ///< misuse, a row that exists already, or the folder or a file cannot be written
    SUCCESS = 1,
    NO_SUCH_ROW = 4,    ///< RetrieveRow: no row with these keys, or no keys
    NOT_READABLE = 21,  ///< the file is there, but cannot be read or is not one of ours
    MISSING_PARAM = 23, ///< CreateRow, SetRow: no keys, or nothing beside the keys
};

/// An operation is refused; the text names file, line and reason as far as they are known.
class STORAGE_ERROR : public std::runtime_error {
public:
    STORAGE_ERROR(RESULT_e result, const std::string& text) : std::runtime_error(text), m_Result(result) {}
    RESULT_e Result() const { return m_Result; }

private:
    RESULT_e m_Result;
};

/// The error of the system call that has just failed on `path`.
inline STORAGE_ERROR SystemError(RESULT_e result, const std::string& path) {
    return {result, path + ": " + std::generic_category().message(errno)};
}

} // namespace BM_STORAGE
