// The parts of a report: files in a folder of its own, which becomes one archive.
#pragma once

#include "bm_dev/UniqueFd.h"

#include <chrono>
#include <functional>
#include <string>
#include <utility>
#include <vector>

namespace bmhost {

class ReportFolder {
public:
    /// Makes the folder, for this user only. It goes with this object.
    ReportFolder();
    ReportFolder(const ReportFolder&) = delete;
    ReportFolder& operator=(const ReportFolder&) = delete;
    ~ReportFolder();

    void Put(const std::string& part, const std::string& text);
    /// What is missing, and why.
    void Miss(const std::string& part, const std::string& reason);
    /// What the work writes to standard output, done in a process of its own, so that one part that hangs costs no
    /// other: it is missed when it takes too long, or throws. What it says on standard error stands at its end.
    void Work(const std::string& part, const std::function<void()>& work);
    /// The output of a program, which is started without a shell and finds nothing of this environment.
    void Program(const std::string& part, const std::vector<std::string>& words);
    /// The same, to be looked through first.
    std::string OutputOf(const std::string& part, const std::vector<std::string>& words);
    /// A file as it is, no link and not too long.
    void Copy(const std::string& part, const std::string& file);

    /// All parts and the list of what is missing, as an archive that is written to the descriptor. Throws
    /// std::runtime_error when tar or zstd cannot make it.
    void Archive(int descriptor);

    const std::vector<std::string>& Parts() const { return m_parts; }
    const std::vector<std::pair<std::string, std::string>>& Missing() const { return m_missing; }

private:
    std::string PathOf(const std::string& part) const;
    void Run(const std::vector<std::string>& words, const bm_dev::UniqueFd& output, int& status, std::string& errors);

    std::string m_folder; ///< with the one that is archived
    std::vector<std::string> m_parts;
    std::vector<std::pair<std::string, std::string>> m_missing;
};

} // namespace bmhost
