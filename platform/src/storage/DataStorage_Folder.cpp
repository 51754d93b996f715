// The folder of a storage, held by one process at a time: files read whole, and replaced all or none.
//
// One file: write a new file next to it, fsync, rename, fsync the folder. Several files are renamed one after the
// other, so a journal that names them is put in place first; the next process that locks the folder completes the
// renames.
#include "platform/src/storage/DataStorage_Folder.h"

#include "platform/src/osal/FileLock.h"
#include "platform/src/storage/DataStorage_Error.h"
#include "platform/src/storage/DataStorage_Text.h"

#include "bm/Log.h"

#include <algorithm>
#include <cerrno>
#include <fcntl.h>
#include <filesystem>
#include <iterator>
#include <sstream>
#include <sys/file.h>
#include <unistd.h>

namespace bm_storage {

namespace {

// The name of a storage file never begins with a dot.
constexpr const char* NewPrefix = ".new.";
constexpr const char* Journal = ".journal";
constexpr const char* JournalTitle = "files to rename";
constexpr std::size_t LongestName = 200;
// The contents are private to their owner; an existing file keeps the permissions that its owner has given it.
constexpr mode_t FolderMode = 0700;
constexpr mode_t FileMode = 0600;
constexpr mode_t Permissions = 0777;

template <typename Call>
auto Retried(const Call& call) {
    auto result = call();
    while (result < 0 && errno == EINTR)
        result = call();
    return result;
}

// Like mkdir -p, with each new folder durable in its parent; the last one is accessible to its owner only, whatever the
// umask.
void MakeFolder(const std::string& path) {
    const std::filesystem::path parts(path);
    const auto isRest = [](const std::filesystem::path& part) { return part.empty() || part == "."; };
    std::filesystem::path made;
    for (auto part = parts.begin(); part != parts.end(); ++part) {
        const std::filesystem::path around = made.empty() ? "." : made;
        const bool isLast = std::all_of(std::next(part), parts.end(), isRest);
        made /= *part;
        if (mkdir(made.c_str(), isLast ? FolderMode : Permissions) == 0) {
            if (isLast && chmod(made.c_str(), FolderMode) != 0) throw SystemError(NothingDone, made.string());
            const bm_dev::UniqueFd parent(open(around.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
            if (!parent || fsync(parent.Get()) != 0) throw SystemError(NothingDone, around.string());
        } else if (errno != EEXIST) {
            throw SystemError(NothingDone, made.string());
        }
    }
}

int OpenFolder(const std::string& path) {
    const auto openIt = [&] { return open(path.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC); };
    int number = Retried(openIt);
    if (number < 0 && errno == ENOENT) {
        MakeFolder(path);
        number = Retried(openIt);
    }
    if (number < 0) throw SystemError(NothingDone, path);
    return number;
}

void Lock(int number, const std::string& path, std::chrono::milliseconds wait) {
    using bm_osal::LockWithin;
    if (LockWithin(number, std::chrono::milliseconds(0))) return;
    if (errno != EWOULDBLOCK) throw SystemError(NothingDone, path);
    bmiLog(BM_LOG_DEBUG, "Storage", "CDataStorage :: %s: waiting for another process", path.c_str());
    if (LockWithin(number, wait)) return;
    if (errno != EWOULDBLOCK) throw SystemError(NothingDone, path);
    const auto seconds = std::chrono::duration_cast<std::chrono::seconds>(wait).count();
    throw StorageError(NothingDone, path + ": is locked by " + bm_osal::LockHolder(number) + ", waited " +
                                        std::to_string(seconds) + " s");
}

FileStamp StampOf(const struct stat& status) {
    return {status.st_ino, status.st_size, status.st_mtim, status.st_ctim, status.st_mode};
}

// Reads at most one byte more than the file's size: if the file grows meanwhile, the text is cut, and its reader
// refuses it.
std::string ReadAll(int number, off_t expected, const std::string& path) {
    std::string text(static_cast<std::size_t>(expected) + 1, '\0');
    std::size_t size = 0;
    while (size < text.size()) {
        const ssize_t got = Retried([&] { return read(number, text.data() + size, text.size() - size); });
        if (got < 0) throw SystemError(NotReadable, path);
        if (got == 0) break;
        size += static_cast<std::size_t>(got);
    }
    text.resize(size);
    return text;
}

void WriteAll(int number, const std::string& text, const std::string& path) {
    std::size_t done = 0;
    while (done < text.size()) {
        const ssize_t put = Retried([&] { return write(number, text.data() + done, text.size() - done); });
        if (put < 0) throw SystemError(NothingDone, path);
        done += static_cast<std::size_t>(put);
    }
}

// The reason for which the work failed, at a point where it can no longer be undone.
template <typename Work>
std::string DoubtOf(const Work& work) {
    try {
        work();
        return "";
    } catch (const StorageError& error) {
        return error.what();
    }
}

// Removes the new files again, unless they are kept.
class NewFiles {
public:
    explicit NewFiles(int folder) : m_folder(folder) {}
    NewFiles(const NewFiles&) = delete;
    NewFiles& operator=(const NewFiles&) = delete;
    ~NewFiles() {
        for (const std::string& name : m_names)
            unlinkat(m_folder, name.c_str(), 0);
    }
    void Add(const std::string& name) { m_names.push_back(name); }
    void Keep() { m_names.clear(); }

private:
    int m_folder;
    std::vector<std::string> m_names;
};

} // namespace

bool operator==(const FileStamp& left, const FileStamp& right) {
    const auto same = [](const timespec& a, const timespec& b) {
        return a.tv_sec == b.tv_sec && a.tv_nsec == b.tv_nsec;
    };
    return left.m_inode == right.m_inode && left.m_size == right.m_size && same(left.m_modified, right.m_modified) &&
           same(left.m_changed, right.m_changed) && left.m_mode == right.m_mode;
}

Folder::Folder(const std::string& path, std::chrono::milliseconds lockWait) : m_path(path), m_folder(OpenFolder(path)) {
    Lock(m_folder.Get(), m_path, lockWait);
    FinishJournal();
}

// Unlock explicitly: a child that was forked in between and has not started its program yet holds the descriptor, too.
Folder::~Folder() {
    flock(m_folder.Get(), LOCK_UN);
}

// A journal that is there names the files whose replacement is to be completed: they have effect already.
Content Folder::Look(const std::string& path, const std::string& name) {
    const int number = Retried([&] { return open(path.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC); });
    if (number < 0 && errno == ENOENT) return {};
    if (number < 0) throw SystemError(NotReadable, path);
    const Folder folder(path, OpenToLook{number});
    const auto names = folder.ReadJournal();
    if (std::find(names.begin(), names.end(), name) != names.end()) {
        if (Content made = folder.Read(NewPrefix + name); made.m_stamp) return made;
    }
    return folder.Read(name);
}

void Folder::CheckName(const std::string& name) const {
    const auto refused = [&](const char* reason) {
        return StorageError(NothingDone, "file name \"" + Shown(name) + "\": " + reason);
    };
    if (name.empty() || name[0] == '.') throw refused("empty, or begins with a dot");
    if (name.size() > LongestName) throw refused("longer than 200 bytes");
    if (std::any_of(name.begin(), name.end(), [](char byte) { return byte == '/' || IsControl(byte); })) {
        throw refused("has a slash or a control character");
    }
}

std::optional<FileStamp> Folder::Stamp(const std::string& name) const {
    struct stat status {};
    if (fstatat(m_folder.Get(), name.c_str(), &status, AT_SYMLINK_NOFOLLOW) == 0) return StampOf(status);
    if (errno == ENOENT) return std::nullopt;
    throw SystemError(NotReadable, PathOf(name));
}

Content Folder::Read(const std::string& name) const {
    const std::string path = PathOf(name);
    // No link, pipe or device: it would be followed, waited for or replaced.
    const bm_dev::UniqueFd file(Retried([&] {
        return openat(m_folder.Get(), name.c_str(), O_RDONLY | O_NOFOLLOW | O_NONBLOCK | O_NOCTTY | O_CLOEXEC);
    }));
    if (!file && errno == ENOENT) return {};
    if (!file && errno != ELOOP) throw SystemError(NotReadable, path);
    struct stat status {};
    if (file && fstat(file.Get(), &status) != 0) throw SystemError(NotReadable, path);
    if (!file || !S_ISREG(status.st_mode)) throw StorageError(NotReadable, path + ": not a regular file");
    if (status.st_size > off_t{MostBytes}) {
        throw StorageError(NotReadable, path + ": has more than " + std::to_string(MostBytes) + " bytes");
    }
    return {StampOf(status), ReadAll(file.Get(), status.st_size, path)};
}

std::string Folder::Replace(const std::vector<Replacement>& files) const {
    for (const Replacement& file : files) {
        if (Stamp(file.m_name) != file.m_old) {
            throw StorageError(NothingDone, PathOf(file.m_name) + ": was changed by another process in the meantime");
        }
    }
    NewFiles made(m_folder.Get());
    for (const Replacement& file : files) {
        made.Add(NewPrefix + file.m_name);
        WriteNew(NewPrefix + file.m_name, file.m_text, file.m_old ? file.m_old->m_mode & Permissions : FileMode);
    }
    if (files.size() == 1) {
        const std::string doubt = PathOf(files[0].m_name) + ": was replaced, but may not survive a power failure";
        Rename(NewPrefix + files[0].m_name, files[0].m_name);
        made.Keep();
        return DoubtOf([&] { Sync(doubt); });
    }
    if (files.empty()) return "";
    made.Add(std::string(NewPrefix) + Journal);
    WriteJournal(files);
    made.Keep();
    const std::string doubt = DoubtOf([&] { FinishJournal(); });
    return doubt.empty() ? ""
                         : doubt + "; the changes have taken effect, but may not survive a power failure; the next "
                                   "transaction completes them";
}

void Folder::WriteNew(const std::string& name, const std::string& text, mode_t mode) const {
    const auto openIt = [&] {
        return openat(m_folder.Get(), name.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_NOFOLLOW | O_CLOEXEC, FileMode);
    };
    int number = Retried(openIt);
    if (number < 0 && errno == EEXIST) { // left by a process that was killed
        unlinkat(m_folder.Get(), name.c_str(), 0);
        number = Retried(openIt);
    }
    const bm_dev::UniqueFd file(number);
    const std::string path = PathOf(name);
    if (!file) throw SystemError(NothingDone, path);
    if (fchmod(number, mode) != 0) throw SystemError(NothingDone, path); // whatever the umask
    WriteAll(number, text, path);
    if (Retried([&] { return fsync(number); }) != 0) throw SystemError(NothingDone, path);
}

void Folder::Rename(const std::string& from, const std::string& to) const {
    if (renameat(m_folder.Get(), from.c_str(), m_folder.Get(), to.c_str()) != 0) {
        throw SystemError(NothingDone, PathOf(to));
    }
}

void Folder::Sync(const std::string& what) const {
    if (Retried([&] { return fsync(m_folder.Get()); }) != 0) throw SystemError(NothingDone, what);
}

void Folder::WriteJournal(const std::vector<Replacement>& files) const {
    std::string text = std::string(JournalTitle) + "\n";
    for (const Replacement& file : files)
        text += file.m_name + "\n";
    const std::string name = std::string(NewPrefix) + Journal;
    WriteNew(name, text, FileMode);
    Sync(PathOf(name)); // after a power failure, a journal never exists without the files that it lists
    Rename(name, Journal);
}

std::vector<std::string> Folder::ReadJournal() const {
    const Content journal = Read(Journal);
    std::vector<std::string> names;
    if (!journal.m_stamp) return names;
    std::istringstream lines(journal.m_text);
    std::string line;
    if (!std::getline(lines, line) || line != JournalTitle) {
        throw StorageError(NotReadable, PathOf(Journal) + ":1: expected \"" + JournalTitle + "\"");
    }
    while (std::getline(lines, line)) {
        try {
            CheckName(line);
        } catch (const StorageError& error) {
            const std::string place = PathOf(Journal) + ":" + std::to_string(names.size() + 2) + ": ";
            throw StorageError(NotReadable, place + error.what());
        }
        names.push_back(line);
    }
    return names;
}

// Files are replaced only after the journal is durable. Its removal is durable before the next transaction makes new
// files under the names that it lists.
void Folder::FinishJournal() const {
    const auto names = ReadJournal();
    if (names.empty()) return;
    const std::string path = PathOf(Journal);
    Sync(path);
    for (const std::string& name : names) {
        const std::string made = NewPrefix + name;
        if (Stamp(made)) Rename(made, name); // otherwise its process renamed it before it ended
    }
    Sync(path);
    if (unlinkat(m_folder.Get(), Journal, 0) != 0) throw SystemError(NothingDone, path);
    Sync(path);
}

} // namespace bm_storage
