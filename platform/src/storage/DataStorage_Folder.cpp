// The folder of a storage, held by one process at a time: files read whole, and replaced all or none.
//
// One file: new file beside it, fsync, rename, fsync of the folder. Several files are renamed one after the other, so a
// journal that names them is put in place first; whoever takes the folder next does the renames that are missing.
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

namespace BM_STORAGE {

namespace {

// No storage file's name begins with a dot.
constexpr const char* NEW_PREFIX = ".new.";
constexpr const char* JOURNAL = ".journal";
constexpr const char* JOURNAL_TITLE = "files to rename";
constexpr std::size_t LONGEST_NAME = 200;
// What is stored is its owner's business; a file that is there keeps what its owner has allowed, and no more than that.
constexpr mode_t FOLDER_MODE = 0700;
constexpr mode_t FILE_MODE = 0600;
constexpr mode_t PERMISSIONS = 0777;

template <typename CALL>
auto Retried(const CALL& call) {
    auto result = call();
    while (result < 0 && errno == EINTR)
        result = call();
    return result;
}

// As mkdir -p, each new folder durable in the one around it; the last one is the owner's alone, whatever the umask.
void MakeFolder(const std::string& path) {
    const std::filesystem::path parts(path);
    const auto is_rest = [](const std::filesystem::path& part) { return part.empty() || part == "."; };
    std::filesystem::path made;
    for (auto part = parts.begin(); part != parts.end(); ++part) {
        const std::filesystem::path around = made.empty() ? "." : made;
        const bool is_last = std::all_of(std::next(part), parts.end(), is_rest);
        made /= *part;
        if (mkdir(made.c_str(), is_last ? FOLDER_MODE : PERMISSIONS) == 0) {
            if (is_last && chmod(made.c_str(), FOLDER_MODE) != 0) throw SystemError(NOTHING_DONE, made.string());
            const DESCRIPTOR parent(open(around.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
            if (!parent.IsOpen() || fsync(parent.Number()) != 0) throw SystemError(NOTHING_DONE, around.string());
        } else if (errno != EEXIST) {
            throw SystemError(NOTHING_DONE, made.string());
        }
    }
}

int OpenFolder(const std::string& path) {
    const auto open_it = [&] { return open(path.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC); };
    int number = Retried(open_it);
    if (number < 0 && errno == ENOENT) {
        MakeFolder(path);
        number = Retried(open_it);
    }
    if (number < 0) throw SystemError(NOTHING_DONE, path);
    return number;
}

void Lock(int number, const std::string& path, std::chrono::milliseconds wait) {
    using bm_osal::LockWithin;
    if (LockWithin(number, std::chrono::milliseconds(0))) return;
    if (errno != EWOULDBLOCK) throw SystemError(NOTHING_DONE, path);
    bmiLog(BM_LOG_DEBUG, "Storage", "CDataStorage :: %s: waiting for another process", path.c_str());
    if (LockWithin(number, wait)) return;
    if (errno != EWOULDBLOCK) throw SystemError(NOTHING_DONE, path);
    const auto seconds = std::chrono::duration_cast<std::chrono::seconds>(wait).count();
    throw STORAGE_ERROR(NOTHING_DONE, path + ": is locked by " + bm_osal::LockHolder(number) + ", waited " +
                                          std::to_string(seconds) + " s");
}

STAMP StampOf(const struct stat& status) {
    return {status.st_ino, status.st_size, status.st_mtim, status.st_ctim, status.st_mode};
}

// Up to one byte more than the file had: what grows meanwhile is cut, and refused by its reader.
std::string ReadAll(int number, off_t expected, const std::string& path) {
    std::string text(static_cast<std::size_t>(expected) + 1, '\0');
    std::size_t size = 0;
    while (size < text.size()) {
        const ssize_t got = Retried([&] { return read(number, text.data() + size, text.size() - size); });
        if (got < 0) throw SystemError(NOT_READABLE, path);
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
        if (put < 0) throw SystemError(NOTHING_DONE, path);
        done += static_cast<std::size_t>(put);
    }
}

// What the work is refused for, when there is no way back from what it does.
template <typename WORK>
std::string DoubtOf(const WORK& work) {
    try {
        work();
        return "";
    } catch (const STORAGE_ERROR& error) {
        return error.what();
    }
}

// Removes the new files again, unless they are wanted.
class NEW_FILES {
public:
    explicit NEW_FILES(int folder) : m_Folder(folder) {}
    NEW_FILES(const NEW_FILES&) = delete;
    NEW_FILES& operator=(const NEW_FILES&) = delete;
    ~NEW_FILES() {
        for (const std::string& name : m_Names)
            unlinkat(m_Folder, name.c_str(), 0);
    }
    void Add(const std::string& name) { m_Names.push_back(name); }
    void Keep() { m_Names.clear(); }

private:
    int m_Folder;
    std::vector<std::string> m_Names;
};

} // namespace

DESCRIPTOR::~DESCRIPTOR() {
    if (m_Number >= 0) close(m_Number);
}

bool operator==(const STAMP& left, const STAMP& right) {
    const auto same = [](const timespec& a, const timespec& b) {
        return a.tv_sec == b.tv_sec && a.tv_nsec == b.tv_nsec;
    };
    return left.m_Inode == right.m_Inode && left.m_Size == right.m_Size && same(left.m_Modified, right.m_Modified) &&
           same(left.m_Changed, right.m_Changed) && left.m_Mode == right.m_Mode;
}

FOLDER::FOLDER(const std::string& path, std::chrono::milliseconds lock_wait)
    : m_Path(path),
      m_Folder(OpenFolder(path)) {
    Lock(m_Folder.Number(), m_Path, lock_wait);
    FinishJournal();
}

// Said aloud: a child that was forked in between and has not started its program yet holds the descriptor, too.
FOLDER::~FOLDER() {
    flock(m_Folder.Number(), LOCK_UN);
}

void FOLDER::CheckName(const std::string& name) const {
    const auto refused = [&](const char* reason) {
        return STORAGE_ERROR(NOTHING_DONE, "file name \"" + Shown(name) + "\": " + reason);
    };
    if (name.empty() || name[0] == '.') throw refused("empty, or begins with a dot");
    if (name.size() > LONGEST_NAME) throw refused("longer than 200 bytes");
    if (std::any_of(name.begin(), name.end(), [](char byte) { return byte == '/' || IsControl(byte); })) {
        throw refused("has a slash or a control character");
    }
}

std::optional<STAMP> FOLDER::Stamp(const std::string& name) const {
    struct stat status {};
    if (fstatat(m_Folder.Number(), name.c_str(), &status, AT_SYMLINK_NOFOLLOW) == 0) return StampOf(status);
    if (errno == ENOENT) return std::nullopt;
    throw SystemError(NOT_READABLE, PathOf(name));
}

CONTENT FOLDER::Read(const std::string& name) const {
    const std::string path = PathOf(name);
    // Neither a link nor a pipe nor a device: it would be followed, waited for or replaced.
    const DESCRIPTOR file(Retried([&] {
        return openat(m_Folder.Number(), name.c_str(), O_RDONLY | O_NOFOLLOW | O_NONBLOCK | O_NOCTTY | O_CLOEXEC);
    }));
    if (!file.IsOpen() && errno == ENOENT) return {};
    if (!file.IsOpen() && errno != ELOOP) throw SystemError(NOT_READABLE, path);
    struct stat status {};
    if (file.IsOpen() && fstat(file.Number(), &status) != 0) throw SystemError(NOT_READABLE, path);
    if (!file.IsOpen() || !S_ISREG(status.st_mode)) throw STORAGE_ERROR(NOT_READABLE, path + ": not a regular file");
    if (status.st_size > off_t{MOST_BYTES}) {
        throw STORAGE_ERROR(NOT_READABLE, path + ": has more than " + std::to_string(MOST_BYTES) + " bytes");
    }
    return {StampOf(status), ReadAll(file.Number(), status.st_size, path)};
}

std::string FOLDER::Replace(const std::vector<REPLACEMENT>& files) const {
    for (const REPLACEMENT& file : files) {
        if (Stamp(file.m_Name) != file.m_Old) {
            throw STORAGE_ERROR(NOTHING_DONE, PathOf(file.m_Name) + ": was changed by somebody else meanwhile");
        }
    }
    NEW_FILES made(m_Folder.Number());
    for (const REPLACEMENT& file : files) {
        made.Add(NEW_PREFIX + file.m_Name);
        WriteNew(NEW_PREFIX + file.m_Name, file.m_Text, file.m_Old ? file.m_Old->m_Mode & PERMISSIONS : FILE_MODE);
    }
    if (files.size() == 1) {
        const std::string doubt = PathOf(files[0].m_Name) + ": is replaced, but may not outlive a power failure";
        Rename(NEW_PREFIX + files[0].m_Name, files[0].m_Name);
        made.Keep();
        return DoubtOf([&] { Sync(doubt); });
    }
    if (files.empty()) return "";
    made.Add(std::string(NEW_PREFIX) + JOURNAL);
    WriteJournal(files);
    made.Keep();
    const std::string doubt = DoubtOf([&] { FinishJournal(); });
    return doubt.empty() ? ""
                         : doubt + "; the changes stand, but may not outlive a power failure, and the next "
                                   "transaction ends what was begun";
}

void FOLDER::WriteNew(const std::string& name, const std::string& text, mode_t mode) const {
    const auto open_it = [&] {
        return openat(m_Folder.Number(), name.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_NOFOLLOW | O_CLOEXEC, FILE_MODE);
    };
    int number = Retried(open_it);
    if (number < 0 && errno == EEXIST) { // left by a process that was killed
        unlinkat(m_Folder.Number(), name.c_str(), 0);
        number = Retried(open_it);
    }
    const DESCRIPTOR file(number);
    const std::string path = PathOf(name);
    if (!file.IsOpen()) throw SystemError(NOTHING_DONE, path);
    if (fchmod(number, mode) != 0) throw SystemError(NOTHING_DONE, path); // whatever the umask
    WriteAll(number, text, path);
    if (Retried([&] { return fsync(number); }) != 0) throw SystemError(NOTHING_DONE, path);
}

void FOLDER::Rename(const std::string& from, const std::string& to) const {
    if (renameat(m_Folder.Number(), from.c_str(), m_Folder.Number(), to.c_str()) != 0) {
        throw SystemError(NOTHING_DONE, PathOf(to));
    }
}

void FOLDER::Sync(const std::string& what) const {
    if (Retried([&] { return fsync(m_Folder.Number()); }) != 0) throw SystemError(NOTHING_DONE, what);
}

void FOLDER::WriteJournal(const std::vector<REPLACEMENT>& files) const {
    std::string text = std::string(JOURNAL_TITLE) + "\n";
    for (const REPLACEMENT& file : files)
        text += file.m_Name + "\n";
    const std::string name = std::string(NEW_PREFIX) + JOURNAL;
    WriteNew(name, text, FILE_MODE);
    Sync(PathOf(name)); // a journal never outlives a power failure without the files that it lists
    Rename(name, JOURNAL);
}

std::vector<std::string> FOLDER::ReadJournal() const {
    const CONTENT journal = Read(JOURNAL);
    std::vector<std::string> names;
    if (!journal.m_Stamp) return names;
    std::istringstream lines(journal.m_Text);
    std::string line;
    if (!std::getline(lines, line) || line != JOURNAL_TITLE) {
        throw STORAGE_ERROR(NOT_READABLE, PathOf(JOURNAL) + ":1: expected \"" + JOURNAL_TITLE + "\"");
    }
    while (std::getline(lines, line)) {
        try {
            CheckName(line);
        } catch (const STORAGE_ERROR& error) {
            const std::string place = PathOf(JOURNAL) + ":" + std::to_string(names.size() + 2) + ": ";
            throw STORAGE_ERROR(NOT_READABLE, place + error.what());
        }
        names.push_back(line);
    }
    return names;
}

// A file is replaced when the journal is durable, and not before. The journal's end is durable before the next
// transaction makes new files under the names that it lists.
void FOLDER::FinishJournal() const {
    const auto names = ReadJournal();
    if (names.empty()) return;
    const std::string path = PathOf(JOURNAL);
    Sync(path);
    for (const std::string& name : names) {
        const std::string made = NEW_PREFIX + name;
        if (Stamp(made)) Rename(made, name); // else it was renamed before the end of its process
    }
    Sync(path);
    if (unlinkat(m_Folder.Number(), JOURNAL, 0) != 0) throw SystemError(NOTHING_DONE, path);
    Sync(path);
}

} // namespace BM_STORAGE
