// What a shelf stands on before the first blade is in it: folder, names, base interface, authority, account.
#include "sim/shelf/Ground.h"

#include "bm_dev/UniqueFd.h"
#include "sim/base/Error.h"
#include "sim/base/Process.h"
#include "sim/life/Namespaces.h"

#include <fcntl.h>
#include <sys/mount.h>
#include <sys/random.h>
#include <sys/wait.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>

namespace bladesim {
namespace {

constexpr char Account[] = "shelf";
constexpr size_t PasswordBytes = 12;
constexpr char MachinesNames[] = "/etc/hosts";

/// The one that was built or installed with this program, or one in PATH.
std::string FindBmhost() {
    const std::string beside = ProgramFolder() + "/bmhost";
    std::error_code error;
    return std::filesystem::exists(beside, error) ? beside : "bmhost";
}

std::string NewPassword() {
    std::array<unsigned char, PasswordBytes> bytes{};
    if (::getrandom(bytes.data(), bytes.size(), 0) != static_cast<ssize_t>(bytes.size()))
        ThrowErrno("no random numbers for a password");
    constexpr std::string_view digits = "0123456789abcdef";
    std::string text;
    for (const unsigned char byte : bytes)
        text += {digits[byte >> 4U], digits[byte & 0x0FU]};
    return text;
}

/// The folder must be there before anything is put into it.
ShelfFiles MountFolder(const std::string& folder) {
    MountRunFolder(folder);
    return {folder};
}

} // namespace

Ground::Ground(const Paths& paths, const std::vector<ShelfPlace>& places)
    : m_paths(paths),
      m_files(MountFolder(paths.m_shelf)),
      m_parts{paths, m_files, m_backplane, FindBmhost(), Account},
      m_password(NewPassword()) {
    WriteFile(m_files.Authority(), m_authority.Certificate());
    MakeAccount();
    BindHostNames(places);
}

void Ground::MakeAccount() {
    WriteFile(m_files.Password(), m_password + "\n");
    const bm_dev::UniqueFd nothing(::open("/dev/null", O_RDWR | O_CLOEXEC));
    const pid_t process = Spawn({m_parts.m_bmhost, "account", "add", Account, "--role", "Administrator", "--accounts",
                                 m_files.Accounts(), "--password-file", m_files.Password()},
                                {nothing.Get(), nothing.Get(), STDERR_FILENO});
    int status = 0;
    ::waitpid(process, &status, 0);
    if (ExitStatus(status) == CommandNotFound)
        throw BladeError("a shelf needs bmhost and its web door (packages bmhost and bmhost-web)");
    if (ExitStatus(status) != 0)
        throw BladeError("the shelf's account cannot be made: bmhost ended, " + DescribeEnd(status));
}

void Ground::BindHostNames(const std::vector<ShelfPlace>& places) const {
    std::ifstream file(MachinesNames, std::ios::binary);
    const std::string others{std::istreambuf_iterator<char>(file), {}};
    WriteFile(m_files.HostNames(), HostNames(places, others));
    if (::mount(m_files.HostNames().c_str(), MachinesNames, nullptr, MS_BIND, nullptr) == 0) return;
    if (errno == ENOENT)
        throw BladeError(std::string("there is no ") + MachinesNames +
                         ", in whose place the names of the blades are put; an empty one is enough");
    ThrowErrno(std::string(MachinesNames) + ": the names of the blades cannot be put in its place");
}

/// bladesim and bmhost are found even where they are only built: after all that PATH names.
void Ground::SetEnvironment() const {
    const char* const path = std::getenv("PATH");
    ::setenv("PATH", (path == nullptr ? ProgramFolder() : path + (":" + ProgramFolder())).c_str(), 1);
    ::setenv("BLADESIM_SHELF_CA", m_files.Authority().c_str(), 1);
    ::setenv("BLADESIM_SHELF_ACCOUNT", (std::string(Account) + ":" + m_password).c_str(), 1);
}

BladeFolder Ground::MakeFolder(const ShelfPlace& place) const {
    return MakeBladeFolder(m_files, place, m_paths, m_authority);
}

} // namespace bladesim
