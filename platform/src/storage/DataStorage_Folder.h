// The folder of a storage, held by one process at a time: files read whole, and replaced all or none.
#pragma once

#include "bm_dev/UniqueFd.h"

#include <chrono>
#include <cstddef>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <sys/stat.h>
#include <vector>

namespace bm_storage {

/// The size of the largest file that is read or written.
constexpr std::size_t MostBytes = std::size_t{1024} * 1024;

/// Identifies the state of a file: every replacement and every edit changes part of it.
struct FileStamp {
    ino_t m_inode = 0;
    off_t m_size = 0;
    timespec m_modified{};
    timespec m_changed{};
    mode_t m_mode = 0;
};
bool operator==(const FileStamp& left, const FileStamp& right);

/// A file's stamp and text at one moment; no stamp when there is no file.
struct Content {
    std::optional<FileStamp> m_stamp;
    std::string m_text;
};

struct Replacement {
    std::string m_name;
    std::optional<FileStamp> m_old; ///< the state from which the new text was made
    std::string m_text;
};

class Folder {
public:
    /// Creates a missing folder, waits until no other process holds it, but no longer than `lockWait`, and completes
    /// the replacements of a process that was killed halfway. Throws StorageError, as every operation here does.
    Folder(const std::string& path, std::chrono::milliseconds lockWait);
    Folder(const Folder&) = delete;
    Folder& operator=(const Folder&) = delete;
    ~Folder();

    /// The file as the next transaction would find it, looked at without a lock: nothing is made or completed. Nothing
    /// in it when folder or file is missing.
    static Content Look(const std::string& path, const std::string& name);

    /// Throws StorageError when a storage file cannot have this name.
    void CheckName(const std::string& name) const;
    std::optional<FileStamp> Stamp(const std::string& name) const;
    Content Read(const std::string& name) const;
    /// Replaces these files durably, all or none. After an error none is replaced, now or later.
    /// @return why the replacement may not be durable; empty when it is
    std::string Replace(const std::vector<Replacement>& files) const;

    /// The path of a file in this folder, for people.
    std::string PathOf(const std::string& name) const { return m_path + "/" + name; }

private:
    struct OpenToLook {
        int m_number;
    };
    Folder(const std::string& path, OpenToLook folder) : m_path(path), m_folder(folder.m_number) {}

    void WriteNew(const std::string& name, const std::string& text, mode_t mode) const;
    void Rename(const std::string& from, const std::string& to) const;
    void Sync(const std::string& what) const;
    void WriteJournal(const std::vector<Replacement>& files) const;
    std::vector<std::string> ReadJournal() const;
    void FinishJournal() const;

    const std::string m_path;
    bm_dev::UniqueFd m_folder;
};

} // namespace bm_storage
