// The results of the storage's operations, and the error that leads to one.
#pragma once

#include <cerrno>
#include <stdexcept>
#include <string>
#include <system_error>

namespace bm_storage {

/// The host protocol's result codes, as far as the storage gives them.
enum ResultCode : int {
    NothingDone = 0, ///< misuse, a row that exists already, or the folder or a file cannot be written
    Success = 1,
    NoSuchRow = 4,     ///< RetrieveRow: no row with these keys, or no keys
    NotReadable = 21,  ///< the file is there, but cannot be read or is not one of ours
    MissingParam = 23, ///< CreateRow, SetRow: no keys, or nothing beside the keys
};

/// An operation is refused; the text names file, line and reason as far as they are known.
class StorageError : public std::runtime_error {
public:
    StorageError(ResultCode result, const std::string& text) : std::runtime_error(text), m_result(result) {}
    ResultCode Result() const { return m_result; }

private:
    ResultCode m_result;
};

/// The error of the system call that has just failed on `path`.
inline StorageError SystemError(ResultCode result, const std::string& path) {
    return {result, path + ": " + std::generic_category().message(errno)};
}

} // namespace bm_storage
