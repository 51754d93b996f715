// The folder of a storage, held by one process at a time: files read whole, and replaced all or none.
#pragma once

#include <chrono>
#include <cstddef>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <sys/stat.h>
#include <vector>

namespace BM_STORAGE {

/// The largest file that is read or written.
constexpr std::size_t MOST_BYTES = std::size_t{1024} * 1024;

/// An open file, closed at its end and when a program is started.
class DESCRIPTOR {
public:
    explicit DESCRIPTOR(int number) : m_Number(number) {}
    DESCRIPTOR(const DESCRIPTOR&) = delete;
    DESCRIPTOR& operator=(const DESCRIPTOR&) = delete;
    ~DESCRIPTOR();

    bool IsOpen() const { return m_Number >= 0; }
    int Number() const { return m_Number; }

private:
    int m_Number;
};

/// Tells one state of a file from another: every replacement and every edit changes something of it.
struct STAMP {
    ino_t m_Inode = 0;
    off_t m_Size = 0;
    timespec m_Modified{};
    timespec m_Changed{};
    mode_t m_Mode = 0;
};
bool operator==(const STAMP& left, const STAMP& right);

/// What a name stands for at one moment: nothing when there is no file.
struct CONTENT {
    std::optional<STAMP> m_Stamp;
    std::string m_Text;
};

struct REPLACEMENT {
    std::string m_Name;
    std::optional<STAMP> m_Old; ///< the state that the new text was made from
    std::string m_Text;
};

class FOLDER {
public:
    /// Makes the folder when it is missing, waits until no other process holds it, though no longer than `lock_wait`,
    /// and ends the replacements of a process that was killed in their midst. Throws STORAGE_ERROR, as every operation
    /// here does.
    FOLDER(const std::string& path, std::chrono::milliseconds lock_wait);
    FOLDER(const FOLDER&) = delete;
    FOLDER& operator=(const FOLDER&) = delete;
    ~FOLDER();

    /// Throws STORAGE_ERROR when the name is none that a storage file can have.
    void CheckName(const std::string& name) const;
    std::optional<STAMP> Stamp(const std::string& name) const;
    CONTENT Read(const std::string& name) const;
    /// Replaces these files, all or none, and durably. After an error none is replaced, now or later.
    /// @return why they are replaced, but perhaps not durably; empty when they are
    std::string Replace(const std::vector<REPLACEMENT>& files) const;

    /// The path of a file in this folder, for people.
    std::string PathOf(const std::string& name) const { return m_Path + "/" + name; }

private:
    void WriteNew(const std::string& name, const std::string& text, mode_t mode) const;
    void Rename(const std::string& from, const std::string& to) const;
    void Sync(const std::string& what) const;
    void WriteJournal(const std::vector<REPLACEMENT>& files) const;
    std::vector<std::string> ReadJournal() const;
    void FinishJournal() const;

    const std::string m_Path;
    DESCRIPTOR m_Folder;
};

} // namespace BM_STORAGE
