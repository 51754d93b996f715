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
    using Time = std::chrono::milliseconds;

    /// Makes the folder, for this user only. It goes with this object.
    /// @param time  for all parts together, without the archive's: what is not made then is missing
    explicit ReportFolder(Time time);
    ReportFolder(const ReportFolder&) = delete;
    ReportFolder& operator=(const ReportFolder&) = delete;
    ~ReportFolder();

    enum class End { Good, Failed, TimeUp };
    /// How much of the time that is left one part may take.
    enum class Share { Third, Rest };
    struct Output {
        End m_end = End::Failed;
        std::string m_text;
    };
    /// Writes to standard output, and throws TimeUpError after the time that it gets.
    using Worker = std::function<void(Time time)>;

    void Put(const std::string& part, const std::string& text);
    /// What is missing, and why.
    void Miss(const std::string& part, const std::string& reason);
    /// What the work writes, done in a process of its own, so that one part that hangs costs no other: it is missed
    /// when it takes too long, or throws. What it says on standard error stands at its end.
    End Work(const std::string& part, const Worker& work);
    /// The same without that, to be looked through first.
    Output OutputOfWork(const std::string& part, const Worker& work, Share share = Share::Third);
    /// The output of a program, which is started without a shell and finds nothing of this environment.
    void Program(const std::string& part, const std::vector<std::string>& words);
    /// The same, to be looked through first.
    std::string OutputOf(const std::string& part, const std::vector<std::string>& words);
    /// A file as it is, no link and not too long.
    End Copy(const std::string& part, const std::string& file);
    /// Makes a part that waits for the controller. Once the time of such a part was up the next ones are missed at
    /// once.
    void OfController(const std::string& part, const std::function<End()>& make);

    /// All parts and the list of what is missing, as an archive that is written to the descriptor. Throws
    /// std::runtime_error when tar or zstd cannot make it.
    void Archive(int descriptor);

    const std::vector<std::string>& Parts() const { return m_parts; }
    const std::vector<std::pair<std::string, std::string>>& Missing() const { return m_missing; }

private:
    struct Ended {
        End m_end = End::Failed;
        std::string m_reason; ///< unless it is good
        std::string m_output;
        std::string m_errors;
    };

    std::string PathOf(const std::string& part) const;
    Time TimeFor(Share share) const;
    Ended Make(Share share, const std::function<int(Time time)>& work);
    static void Pack(const std::vector<std::string>& words, const bm_dev::UniqueFd& output);

    const Time m_time;
    const std::chrono::steady_clock::time_point m_until;
    std::string m_folder; ///< with the one that is archived
    std::vector<std::string> m_parts;
    std::vector<std::pair<std::string, std::string>> m_missing;
    std::string m_hung; ///< the part for which the controller has not answered
};

} // namespace bmhost
