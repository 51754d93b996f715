// Where the host's storage is when nobody names a folder, and how root's former one is taken over.
#include "host/session/StorageHome.h"

#include "bm/Log.h"

#include <cstdlib>
#include <filesystem>
#include <fstream>
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
    return {::geteuid() == 0, !EnvironmentText("BLADESIM_RUN_DIR").empty(), EnvironmentText("XDG_STATE_HOME"),
            StateFile("bmhost"), BoardStorage};
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

void MakeFolder(const std::string& folder) {
    if (!fs::create_directories(folder)) return;
    fs::permissions(folder, fs::perms::owner_all);
}

/// Nobody sees a file that is not whole.
void Copy(const fs::path& file, const fs::path& folder) {
    const fs::path unfinished = folder / ("." + file.filename().native() + ".new");
    fs::copy_file(file, unfinished, fs::copy_options::overwrite_existing);
    fs::rename(unfinished, folder / file.filename());
}

} // namespace

std::string StateFile(const std::string& name) {
    if (const std::string state = EnvironmentText("XDG_STATE_HOME"); !state.empty()) return state + "/" + name;
    return EnvironmentText("HOME") + "/.local/state/" + name;
}

std::string StorageHome() {
    return StorageHomeOf(OfThisProcess());
}

std::string StorageHomeOf(const StorageSurroundings& surroundings) {
    const bool board = surroundings.m_root && !surroundings.m_simulated && surroundings.m_stateFolder.empty();
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
        if (files.empty() || fs::exists(mark) || !FilesOf(storage).empty()) return false;
        MakeFolder(storage);
        for (const fs::path& file : files)
            Copy(file, storage);
        std::ofstream(mark) << former << '\n';
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
