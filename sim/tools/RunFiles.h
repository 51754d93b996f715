// The files of the blade's run folder in which its parts keep their state: every process of the blade, or a person with
// an editor, may read and change them.
#pragma once

#include "bm_dev/UniqueFd.h"

#include <string>

namespace bladesim {

/// The run folder of the blade in which this process runs. Throws a BladeError outside a blade.
std::string RunFolder();

bool FileExists(const std::string& file);

/// The whole file; empty when there is none. Throws a BladeError.
std::string ReadFile(const std::string& file);

/// Readers see the old text or the new one. Throws a BladeError.
void ReplaceFile(const std::string& file, const std::string& text);

/// Adds a line, of which readers see all or nothing. Throws a BladeError.
void AppendLine(const std::string& file, const std::string& line);

/// Readers see the one file or the other. Throws a BladeError.
void MoveFile(const std::string& from, const std::string& to);

/// Not an error when there is none.
void RemoveFile(const std::string& file);

/// Held by one process at a time; the others wait. The end of a process releases it.
class FileLock {
public:
    explicit FileLock(const std::string& file);

private:
    bm_dev::UniqueFd m_file;
};

} // namespace bladesim
