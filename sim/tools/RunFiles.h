// The files of the blade's run folder in which its parts keep their state: every process of the blade may read and
// change them, a person with an editor too.
#pragma once

#include "sim/base/UniqueFd.h"

#include <string>

namespace BLADESIM {

/// The run folder of the blade in which this process runs. Throws a BLADE_ERROR when it is in none.
std::string RunFolder();

bool FileExists(const std::string& a_File);

/// All of a file; empty when it is not there. Throws a BLADE_ERROR.
std::string ReadFile(const std::string& a_File);

/// Readers find what was there before, or this. Throws a BLADE_ERROR.
void ReplaceFile(const std::string& a_File, const std::string& a_Text);

/// Adds a line, of which readers find all or nothing. Throws a BLADE_ERROR.
void AppendLine(const std::string& a_File, const std::string& a_Line);

/// Readers find one or the other file. Throws a BLADE_ERROR.
void MoveFile(const std::string& a_From, const std::string& a_To);

/// No error when it is not there.
void RemoveFile(const std::string& a_File);

/// Held by one process at a time; the others wait. The end of a process gives it back.
class FILE_LOCK {
public:
    explicit FILE_LOCK(const std::string& a_File);

private:
    UNIQUE_FD m_File;
};

} // namespace BLADESIM
