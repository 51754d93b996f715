// The files of the blade's run folder in which its parts keep their state: every process of the blade may read and
// change them, a person with an editor too.
#pragma once

#include "sim/base/UniqueFd.h"

#include <string>

namespace bladesim {

/// The run folder of the blade in which this process runs. Throws a BladeError when it is in none.
std::string RunFolder();

bool FileExists(const std::string& file);

/// All of a file; empty when it is not there. Throws a BladeError.
std::string ReadFile(const std::string& file);

/// Readers find what was there before, or this. Throws a BladeError.
void ReplaceFile(const std::string& file, const std::string& text);

/// Adds a line, of which readers find all or nothing. Throws a BladeError.
void AppendLine(const std::string& file, const std::string& line);

/// Readers find one or the other file. Throws a BladeError.
void MoveFile(const std::string& from, const std::string& to);

/// No error when it is not there.
void RemoveFile(const std::string& file);

/// Held by one process at a time; the others wait. The end of a process gives it back.
class FileLock {
public:
    explicit FileLock(const std::string& file);

private:
    UniqueFd m_file;
};

} // namespace bladesim
