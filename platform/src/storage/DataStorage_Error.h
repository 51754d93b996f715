// The results of the storage's operations, and the error that leads to one.
#pragma once

#include <cerrno>
#include <stdexcept>
#include <string>
#include <system_error>

namespace bm_storage {

/// The host protocol's result codes that the storage uses.
enum ResultCode : int {
    NothingDone = 0, ///< misuse, a row that already exists, or a folder or file that cannot be written
    Success = 1,
    NoSuchRow = 4,     ///< RetrieveRow: no row with these keys, or no keys
    NotReadable = 21,  ///< the file exists, but cannot be read or is not a storage file
    MissingParam = 23, ///< CreateRow, SetRow: no keys, or no value besides the keys
};

/// An operation is refused. The text names file, line and reason, where known.
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
