// A firmware image of the host's own.
#include "host/orders/FirmwareFile.h"

#include "host/session/StorageHome.h"
#include <array>
#include <cerrno>
#include <cstdlib>
#include <fcntl.h>
#include <filesystem>
#include <sha2.h>
#include <stdexcept>
#include <string>
#include <sys/random.h>
#include <sys/stat.h>
#include <sys/statvfs.h>
#include <system_error>
#include <unistd.h>
#include <utility>

namespace bmhost {

namespace {

constexpr mode_t OwnersFolder = 0700;
constexpr mode_t OwnersFile = 0600;

[[noreturn]] void Fail(const std::string& what, int error) {
    throw std::runtime_error("firmware image: " + what + ": " + std::generic_category().message(error));
}

void CheckSpace(int folder, const std::string& path, uint64_t size) {
    struct statvfs system {};
    if (fstatvfs(folder, &system) != 0) Fail(path, errno);
    const uint64_t room = uint64_t{system.f_bavail} * system.f_frsize;
    if (room < size)
        throw std::runtime_error("firmware image: " + path + " has room for " + std::to_string(room) +
                                 " bytes, and the image has " + std::to_string(size));
}

std::string UnforeseenName() {
    std::array<unsigned char, 16> bytes{};
    if (getrandom(bytes.data(), bytes.size(), 0) != static_cast<ssize_t>(bytes.size())) Fail("a name for it", errno);
    constexpr char digits[] = "0123456789abcdef";
    std::string name;
    for (const unsigned char byte : bytes)
        name.append({digits[byte >> 4], digits[byte & 15]});
    return name + ".image";
}

} // namespace

std::string StateFolder() {
    const auto variable = [](const char* name) {
        const char* const value = getenv(name);
        return std::string(value != nullptr ? value : "");
    };
    if (const std::string blade = BladeStorage(); !blade.empty()) return blade;
    if (geteuid() == 0) return "/var/lib/bmhost";
    if (const std::string state = variable("XDG_STATE_HOME"); !state.empty()) return state + "/bmhost";
    return variable("HOME") + "/.local/state/bmhost";
}

void MakeStateFolder(const std::string& path) {
    std::filesystem::path made;
    for (const std::filesystem::path& part : std::filesystem::path(path)) {
        made /= part;
        std::error_code ignored; // what cannot be looked at cannot be made either
        if (std::filesystem::is_directory(made, ignored)) continue;
        if (mkdir(made.c_str(), OwnersFolder) != 0 && errno != EEXIST) Fail(made, errno);
    }
}

bm_dev::UniqueFd OpenImageFolder(const std::string& path) {
    MakeStateFolder(std::filesystem::path(path).parent_path());
    if (mkdir(path.c_str(), OwnersFolder) != 0 && errno != EEXIST) Fail(path, errno);
    bm_dev::UniqueFd folder(open(path.c_str(), O_RDONLY | O_DIRECTORY | O_NOFOLLOW | O_CLOEXEC));
    if (folder.Get() < 0) Fail(path, errno);
    struct stat status {};
    if (fstat(folder.Get(), &status) != 0) Fail(path, errno);
    if (status.st_uid != geteuid()) throw std::runtime_error("firmware image: " + path + " is another user's");
    if ((status.st_mode & 07777) != OwnersFolder && fchmod(folder.Get(), OwnersFolder) != 0) Fail(path, errno);
    return folder;
}

struct FirmwareFile::Digest {
    Digest() { SHA256Init(&m_context); }

    SHA2_CTX m_context{};
};

FirmwareFile::FirmwareFile(const std::string& folder, uint64_t size)
    : m_size(size),
      m_digest(std::make_unique<Digest>()) {
    const bm_dev::UniqueFd opened = OpenImageFolder(folder);
    CheckSpace(opened.Get(), folder, size);
    const std::string name = UnforeseenName();
    m_file = bm_dev::UniqueFd(
        openat(opened.Get(), name.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_NOFOLLOW | O_CLOEXEC, OwnersFile));
    if (m_file.Get() < 0) Fail(folder, errno);
    m_path = std::filesystem::absolute(folder).string() + "/" + name;
}

FirmwareFile::FirmwareFile(FirmwareFile&& other) noexcept
    : m_file(std::move(other.m_file)),
      m_path(std::exchange(other.m_path, {})),
      m_size(other.m_size),
      m_written(other.m_written),
      m_digest(std::move(other.m_digest)),
      m_sha256(std::move(other.m_sha256)) {}

FirmwareFile::~FirmwareFile() {
    if (!m_path.empty()) unlink(m_path.c_str());
}

void FirmwareFile::Write(std::string_view bytes) {
    if (bytes.size() > m_size - m_written) throw std::runtime_error("firmware image: it is longer than announced");
    SHA256Update(&m_digest->m_context, reinterpret_cast<const uint8_t*>(bytes.data()), bytes.size());
    m_written += bytes.size();
    while (!bytes.empty()) {
        const ssize_t written = write(m_file.Get(), bytes.data(), bytes.size());
        if (written < 0 && errno == EINTR) continue;
        if (written < 0) Fail(m_path, errno);
        bytes.remove_prefix(static_cast<std::size_t>(written));
    }
}

void FirmwareFile::Close() {
    if (m_written != m_size)
        throw std::runtime_error("firmware image: " + std::to_string(m_written) + " of " + std::to_string(m_size) +
                                 " bytes came");
    if (fsync(m_file.Get()) != 0) Fail(m_path, errno);
    m_file.Reset();
    std::array<char, SHA256_DIGEST_STRING_LENGTH> text{};
    m_sha256 = SHA256End(&m_digest->m_context, text.data());
}

FirmwareFile CopiedImage(const std::string& folder, const std::string& path) {
    const bm_dev::UniqueFd from(open(path.c_str(), O_RDONLY | O_CLOEXEC));
    struct stat status {};
    if (from.Get() < 0 || fstat(from.Get(), &status) != 0) Fail(path, errno);
    FirmwareFile image(folder, static_cast<uint64_t>(status.st_size));
    std::array<char, 65536> buffer{};
    for (;;) {
        const ssize_t got = read(from.Get(), buffer.data(), buffer.size());
        if (got < 0 && errno == EINTR) continue;
        if (got < 0) Fail(path, errno);
        if (got == 0) break;
        image.Write({buffer.data(), static_cast<std::size_t>(got)});
    }
    image.Close();
    return image;
}

} // namespace bmhost
