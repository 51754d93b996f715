// Where the host's storage is when nobody names a folder, and how root's former one is taken over.
#include "host/session/StorageHome.h"

#include "bm/Log.h"
#include "bm_dev/UniqueFd.h"

#include <cerrno>
#include <cstdlib>
#include <fcntl.h>
#include <filesystem>
#include <sys/stat.h>
#include <system_error>
#include <unistd.h>
#include <vector>

namespace fs = std::filesystem;

namespace bmhost {

namespace {

constexpr char BoardStorage[] = "/var/lib/bmhost";
/// In the new folder. The storage has no file whose name begins with a dot.
constexpr char Mark[] = ".taken-over";

std::string EnvironmentText(const char* name) {
    const char* const value = getenv(name);
    return value != nullptr ? value : "";
}

StorageSurroundings OfThisProcess() {
    return {::geteuid() == 0, BladeStorage(), EnvironmentText("XDG_STATE_HOME"), StateFile("bmhost"), BoardStorage};
}

/// The files of a storage. Links are none: the storage refuses them.
std::vector<fs::path> FilesOf(const std::string& folder) {
    std::vector<fs::path> files;
    if (!fs::is_directory(folder)) return files;
    for (const fs::directory_entry& entry : fs::directory_iterator(folder)) {
        if (fs::is_regular_file(entry.symlink_status()) && entry.path().filename().native().front() != '.')
            files.push_back(entry.path());
    }
    return files;
}

/// With the folders around it: all that are new are for their owner only, whatever the umask.
void MakeFolder(const std::string& folder) {
    fs::path made;
    for (const fs::path& part : fs::path(folder)) {
        made /= part;
        std::error_code ignored; // what cannot be looked at cannot be made either
        if (fs::is_directory(made, ignored) || mkdir(made.c_str(), S_IRWXU) == 0 || errno == EEXIST) continue;
        throw fs::filesystem_error("cannot create directories", folder,
                                   std::error_code(errno, std::generic_category()));
    }
    if (!fs::is_directory(folder))
        throw fs::filesystem_error("cannot create directories", folder,
                                   std::make_error_code(std::errc::not_a_directory));
}

/// Nobody sees a file that is not whole, and nothing is written through a name that is there.
void Copy(const fs::path& file, const fs::path& folder) {
    const fs::path unfinished = folder / ("." + file.filename().native() + ".new");
    fs::remove(unfinished);
    fs::copy_file(file, unfinished);
    fs::rename(unfinished, folder / file.filename());
}

/// Without it the files alone say that this storage is in use.
void WriteMark(const fs::path& mark, const std::string& text) {
    const bm_dev::UniqueFd file(
        open(mark.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_NOFOLLOW | O_CLOEXEC, S_IRUSR | S_IWUSR));
    if (file) static_cast<void>(!write(file.Get(), text.data(), text.size()));
}

} // namespace

std::string StateFile(const std::string& name) {
    if (const std::string state = EnvironmentText("XDG_STATE_HOME"); !state.empty()) return state + "/" + name;
    return EnvironmentText("HOME") + "/.local/state/" + name;
}

std::string BladeStorage() {
    const std::string run = EnvironmentText("BLADESIM_RUN_DIR");
    if (run.empty()) return run;
    const std::string kept = EnvironmentText("BLADESIM_KEEP");
    return kept.empty() ? run + "/bmhost" : kept;
}

std::string StorageHome() {
    return StorageHomeOf(OfThisProcess());
}

std::string StorageHomeOf(const StorageSurroundings& surroundings) {
    if (!surroundings.m_bladeStorage.empty()) return surroundings.m_bladeStorage;
    const bool board = surroundings.m_root && surroundings.m_stateFolder.empty();
    return board ? surroundings.m_boardStorage : surroundings.m_userStorage;
}

void TakeStorageOver(const std::string& storage) {
    const StorageSurroundings surroundings = OfThisProcess();
    if (storage != surroundings.m_boardStorage || StorageHomeOf(surroundings) != storage) return;
    TakeStorageOver(surroundings.m_userStorage, storage);
}

bool TakeStorageOver(const std::string& former, const std::string& storage) {
    try {
        const std::vector<fs::path> files = FilesOf(former);
        const fs::path mark = fs::path(storage) / Mark;
        if (files.empty() || fs::exists(fs::symlink_status(mark)) || !FilesOf(storage).empty()) return false;
        MakeFolder(storage);
        for (const fs::path& file : files)
            Copy(file, storage);
        WriteMark(mark, former + "\n");
        bmiLog(BM_LOG_ERROR, "Host", "The storage is in %s now; the files of %s were taken over", storage.c_str(),
               former.c_str());
        return true;
    } catch (const fs::filesystem_error& error) {
        bmiLog(BM_LOG_ERROR, "Host", "The storage in %s is not taken over into %s: %s", former.c_str(), storage.c_str(),
               error.what());
        return false;
    }
}

} // namespace bmhost
