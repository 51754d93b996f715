// The parts of a report: files in a folder of its own, which becomes one archive.
#include "host/commands/ReportFolder.h"

#include "host/client/Waiting.h"
#include "host/output/Redirect.h"
#include "host/session/EndNotice.h"
#include "host/words/Error.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <fcntl.h>
#include <filesystem>
#include <poll.h>
#include <stdexcept>
#include <sys/mman.h>
#include <sys/prctl.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <sys/wait.h>
#include <unistd.h>

namespace bmhost {

namespace {

using bm_dev::UniqueFd;

constexpr const char* Inner = "/bmhost-report";
constexpr std::chrono::milliseconds LongestPacking(60'000);
constexpr std::chrono::milliseconds LongestFarewell(1'500); // of what knows that its time is up
constexpr std::chrono::milliseconds LongestDeath(1'000);
constexpr std::size_t LongestFile = std::size_t{16} * 1024 * 1024;
constexpr int NotStarted = 127;

UniqueFd MemoryFile() {
    UniqueFd file(memfd_create("bmhost-report", MFD_CLOEXEC));
    if (!file) throw std::runtime_error(std::string("memfd_create: ") + strerror(errno));
    return file;
}

// Nothing beyond the longest file.
std::string TextIn(int file) {
    std::string text;
    std::array<char, 65536> bytes{};
    ssize_t count = 0;
    while (text.size() < LongestFile &&
           (count = pread(file, bytes.data(), bytes.size(), static_cast<off_t>(text.size()))) > 0)
        text.append(bytes.data(), static_cast<std::size_t>(count));
    return text;
}

bool EndsWithin(const UniqueFd& handle, std::chrono::milliseconds limit) {
    pollfd ended{handle.Get(), POLLIN, 0};
    return handle && poll(&ended, 1, static_cast<int>(limit.count())) == 1;
}

// False when the time is over. One that a driver holds does not even die then: it is left alone.
bool EndOf(pid_t process, std::chrono::milliseconds limit, int& status) {
    const UniqueFd handle(static_cast<int>(syscall(SYS_pidfd_open, process, 0)));
    const bool inTime = EndsWithin(handle, limit);
    if (!inTime) kill(process, SIGKILL);
    status = SIGKILL;
    if (inTime || !handle || EndsWithin(handle, LongestDeath)) waitpid(process, &status, 0);
    return inTime;
}

// The child's part. A child has no thread but this one, and ends without what its parent would do at the end.
[[noreturn]] void BeChild(int output, int errors, const std::function<int()>& work) {
    int status = 1;
    prctl(PR_SET_PDEATHSIG, SIGKILL);
    try {
        if (dup2(output, STDOUT_FILENO) >= 0 && dup2(errors, STDERR_FILENO) >= 0) status = work();
    } catch (const std::exception& error) {
        fprintf(stderr, "%s\n", error.what());
    }
    fflush(stdout);
    _exit(status);
}

int Execute(const std::vector<std::string>& words) {
    std::vector<char*> arguments;
    arguments.reserve(words.size() + 1);
    for (const std::string& word : words)
        arguments.push_back(const_cast<char*>(word.c_str()));
    arguments.push_back(nullptr);
    char path[] = "PATH=/usr/local/sbin:/usr/local/bin:/usr/sbin:/usr/bin:/sbin:/bin";
    char language[] = "LC_ALL=C";
    std::array<char*, 3> environment = {path, language, nullptr};
    const UniqueFd nothing(open("/dev/null", O_RDONLY | O_CLOEXEC));
    dup2(nothing.Get(), STDIN_FILENO);
    execvpe(arguments[0], arguments.data(), environment.data());
    fprintf(stderr, "%s: %s\n", arguments[0], strerror(errno));
    return NotStarted;
}

int CopyToOutput(const std::string& file) {
    const UniqueFd source(open(file.c_str(), O_RDONLY | O_NOFOLLOW | O_NONBLOCK | O_CLOEXEC));
    struct stat state {};
    const bool there = source && fstat(source.Get(), &state) == 0;
    if (!there || !S_ISREG(state.st_mode)) {
        fprintf(stderr, "%s\n", there ? "no regular file" : strerror(errno));
        return 1;
    }
    WriteAll(STDOUT_FILENO, TextIn(source.Get()));
    return 0;
}

std::string FirstLine(const std::string& text) {
    return text.substr(0, text.find('\n'));
}

// Where the time was up the last line says what was waited for.
std::string LastLine(std::string text) {
    while (!text.empty() && text.back() == '\n')
        text.pop_back();
    return text.substr(text.rfind('\n') + 1);
}

std::string ReasonOf(int status, const std::string& errors) {
    std::string reason = WIFSIGNALED(status) ? "ended by signal " + std::to_string(WTERMSIG(status))
                                             : "status " + std::to_string(WEXITSTATUS(status));
    const std::string line = FirstLine(errors);
    return line.empty() ? reason : reason + ": " + line;
}

int WorkStatus(const std::function<void()>& work) {
    int status = ExitAllOk;
    try {
        work();
    } catch (const TimeUpError& error) {
        fprintf(stderr, "%s\n", error.what());
        status = ExitTimeUp;
    } catch (const std::exception& error) {
        fprintf(stderr, "%s\n", error.what());
        status = ExitSomeFailed;
    }
    DisarmEndNotice();
    return status;
}

} // namespace

ReportFolder::ReportFolder(Time time)
    : m_time(time),
      m_until(std::chrono::steady_clock::now() + time),
      m_folder("/tmp/bmhost-report-XXXXXX") {
    if (mkdtemp(m_folder.data()) == nullptr) throw std::runtime_error(m_folder + ": " + strerror(errno));
    if (mkdir((m_folder + Inner).c_str(), S_IRWXU) != 0) throw std::runtime_error(m_folder + ": " + strerror(errno));
}

ReportFolder::~ReportFolder() {
    std::error_code ignored;
    std::filesystem::remove_all(m_folder, ignored);
}

std::string ReportFolder::PathOf(const std::string& part) const {
    return m_folder + Inner + "/" + part;
}

void ReportFolder::Put(const std::string& part, const std::string& text) {
    const std::string path = PathOf(part);
    std::error_code ignored;
    std::filesystem::create_directories(std::filesystem::path(path).parent_path(), ignored);
    const UniqueFd file(open(path.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, S_IRUSR | S_IWUSR));
    if (!file) throw std::runtime_error(path + ": " + strerror(errno));
    WriteAll(file.Get(), text);
    m_parts.push_back(part);
}

void ReportFolder::Miss(const std::string& part, const std::string& reason) {
    m_missing.emplace_back(part, reason);
}

ReportFolder::Time ReportFolder::TimeFor(Share share) const {
    const auto left = std::chrono::floor<Time>(m_until - std::chrono::steady_clock::now());
    return std::max(Time(0), share == Share::Rest ? left : std::min(left, m_time / 3));
}

// What knows its time ends by itself, and says what it has waited for.
ReportFolder::Ended ReportFolder::Make(Share share, const std::function<int(Time time)>& work) {
    const Time time = TimeFor(share);
    Ended ended;
    if (time == Time(0)) {
        ended = {End::TimeUp, "the report's time is up, " + SecondsText(m_time) + "; --timeout gives it more", "", ""};
    } else {
        const UniqueFd output = MemoryFile();
        const UniqueFd said = MemoryFile();
        fflush(stdout);
        const pid_t child = fork();
        if (child < 0) throw std::runtime_error(std::string("fork: ") + strerror(errno));
        if (child == 0) BeChild(output.Get(), said.Get(), [&] { return work(time); });
        int status = 0;
        const bool inTime = EndOf(child, time + LongestFarewell, status);
        ended.m_output = TextIn(output.Get());
        ended.m_errors = TextIn(said.Get());
        const bool saysSo = inTime && WIFEXITED(status) && WEXITSTATUS(status) == ExitTimeUp;
        ended.m_end = !inTime || saysSo ? End::TimeUp : status == 0 ? End::Good : End::Failed;
        if (saysSo) ended.m_reason = LastLine(ended.m_errors);
        if (!inTime) ended.m_reason = "no end within " + SecondsText(time);
        if (ended.m_end == End::Failed) ended.m_reason = ReasonOf(status, ended.m_errors);
    }
    return ended;
}

ReportFolder::End ReportFolder::Work(const std::string& part, const Worker& work) {
    const Ended ended = Make(Share::Third, [&work](Time time) { return WorkStatus([&] { work(time); }); });
    if (ended.m_end != End::Good) Miss(part, ended.m_reason);
    const std::string& said = ended.m_errors;
    if (!ended.m_output.empty()) Put(part, ended.m_output + (said.empty() ? "" : "\nstandard error:\n" + said));
    return ended.m_end;
}

ReportFolder::Output ReportFolder::OutputOfWork(const std::string& part, const Worker& work, Share share) {
    Ended ended = Make(share, [&work](Time time) { return WorkStatus([&] { work(time); }); });
    if (ended.m_end != End::Good) Miss(part, ended.m_reason);
    return {ended.m_end, std::move(ended.m_output)};
}

std::string ReportFolder::OutputOf(const std::string& part, const std::vector<std::string>& words) {
    const Ended ended = Make(Share::Third, [&words](Time) { return Execute(words); });
    if (ended.m_end != End::Good) Miss(part, words[0] + ": " + ended.m_reason);
    return ended.m_output;
}

void ReportFolder::Program(const std::string& part, const std::vector<std::string>& words) {
    const std::string text = OutputOf(part, words);
    const bool isMissed = !m_missing.empty() && m_missing.back().first == part;
    if (text.empty() && !isMissed) Miss(part, words[0] + ": it shows nothing");
    if (!text.empty()) Put(part, text);
}

// A process of its own reads it: a driver may hold up whoever reads its files.
ReportFolder::End ReportFolder::Copy(const std::string& part, const std::string& file) {
    const Ended ended = Make(Share::Third, [&file](Time) { return CopyToOutput(file); });
    const bool refused = ended.m_end == End::Failed && !ended.m_errors.empty();
    if (ended.m_end != End::Good) Miss(part, file + ": " + (refused ? FirstLine(ended.m_errors) : ended.m_reason));
    if (ended.m_end == End::Good) Put(part, ended.m_output);
    return ended.m_end;
}

void ReportFolder::OfController(const std::string& part, const std::function<End()>& make) {
    if (!m_hung.empty()) return Miss(part, "not asked for: the controller has not answered for " + m_hung);
    if (make() == End::TimeUp) m_hung = part;
}

void ReportFolder::Pack(const std::vector<std::string>& words, const UniqueFd& output) {
    const UniqueFd said = MemoryFile();
    fflush(stdout);
    const pid_t child = fork();
    if (child < 0) throw std::runtime_error(std::string("fork: ") + strerror(errno));
    if (child == 0) BeChild(output.Get(), said.Get(), [&words] { return Execute(words); });
    int status = 0;
    if (!EndOf(child, LongestPacking, status))
        throw std::runtime_error(words[0] + ": no end within " + SecondsText(LongestPacking));
    if (status != 0) throw std::runtime_error(words[0] + ": " + ReasonOf(status, TextIn(said.Get())));
}

void ReportFolder::Archive(int descriptor) {
    std::string missing;
    for (const auto& [part, reason] : m_missing)
        missing.append(part).append(": ").append(reason).append("\n");
    Put("missing.txt", missing.empty() ? "nothing is missing\n" : missing);
    const std::string tar = m_folder + "/report.tar";
    Pack({"tar", "--create", "--file=" + tar, "--directory=" + m_folder, "--owner=0", "--group=0", "--sort=name",
          std::string(Inner).substr(1)},
         MemoryFile());
    Pack({"zstd", "--quiet", "--stdout", tar}, UniqueFd(fcntl(descriptor, F_DUPFD_CLOEXEC, STDERR_FILENO + 1)));
}

} // namespace bmhost
