// A firmware image of the host's own: the client's bytes, where nobody else can change them while the tool reads them.
#pragma once

#include "bm_dev/UniqueFd.h"

#include <cstdint>
#include <memory>
#include <string>
#include <string_view>

namespace bmhost {

/// The folder of images, lock and history: the simulated blade's own, else /var/lib/bmhost for root, and the user's
/// state folder for everybody else.
std::string StateFolder();

/// Makes the folder and its parents where they are missing, for their owner alone whatever the umask is. Throws
/// std::runtime_error naming what cannot be made.
void MakeStateFolder(const std::string& path);

/// The folder of images, made when it is missing: this user's alone, and no link. Throws std::runtime_error naming it
/// and the reason.
bm_dev::UniqueFd OpenImageFolder(const std::string& path);

/// A file of mode 0600 with a name that nobody can foresee, in a folder of mode 0700. It is removed with its object.
class FirmwareFile {
public:
    /// Throws std::runtime_error where folder or file cannot be made, naming them and the reason, and where the file
    /// system has less space than `size`, naming both.
    /// @param folder  is made when it is missing
    FirmwareFile(const std::string& folder, uint64_t size);
    FirmwareFile(FirmwareFile&& other) noexcept;
    FirmwareFile& operator=(FirmwareFile&&) = delete;
    FirmwareFile(const FirmwareFile&) = delete;
    FirmwareFile& operator=(const FirmwareFile&) = delete;
    ~FirmwareFile();

    /// Appends. Throws std::runtime_error when that fails, or when there is more than was announced.
    void Write(std::string_view bytes);
    /// All bytes are there: closes the file. Throws std::runtime_error when that fails, or when some are missing.
    void Close();

    /// Absolute.
    const std::string& Path() const { return m_path; }
    uint64_t Size() const { return m_written; }
    /// Of the bytes, in hexadecimal; after Close.
    const std::string& Sha256() const { return m_sha256; }
    /// From now on somebody else removes it.
    void Release() { m_path.clear(); }

private:
    struct Digest;

    bm_dev::UniqueFd m_file;
    std::string m_path; ///< empty: nothing to remove
    uint64_t m_size;
    uint64_t m_written = 0;
    std::unique_ptr<Digest> m_digest;
    std::string m_sha256;
};

/// The client's file, copied and hashed. Throws as FirmwareFile does.
FirmwareFile CopiedImage(const std::string& folder, const std::string& path);

} // namespace bmhost
