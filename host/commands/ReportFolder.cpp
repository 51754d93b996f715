// The parts of a report: files in a folder of its own, which becomes one archive.
#include "host/commands/ReportFolder.h"

#include "host/output/Redirect.h"
#include "host/session/EndNotice.h"

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
constexpr std::chrono::milliseconds LongestPart(60'000);
constexpr std::chrono::milliseconds LongestDeath(5'000);
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

std::string SecondsOf(std::chrono::milliseconds time) {
    return std::to_string(std::chrono::duration_cast<std::chrono::seconds>(time).count()) + " s";
}

bool EndsWithin(const UniqueFd& handle, std::chrono::milliseconds limit) {
    pollfd ended{handle.Get(), POLLIN, 0};
    return handle && poll(&ended, 1, static_cast<int>(limit.count())) == 1;
}

// False when the time is over. One that a driver holds does not even die then: it is left alone.
bool EndOf(pid_t process, int& status) {
    const UniqueFd handle(static_cast<int>(syscall(SYS_pidfd_open, process, 0)));
    const bool inTime = EndsWithin(handle, LongestPart);
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

std::string ReasonOf(int status, const std::string& errors) {
    std::string reason = WIFSIGNALED(status) ? "ended by signal " + std::to_string(WTERMSIG(status))
                                             : "status " + std::to_string(WEXITSTATUS(status));
    const std::string line = FirstLine(errors);
    return line.empty() ? reason : reason + ": " + line;
}

} // namespace

ReportFolder::ReportFolder() : m_folder("/tmp/bmhost-report-XXXXXX") {
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

void ReportFolder::Work(const std::string& part, const std::function<void()>& work) {
    const UniqueFd output = MemoryFile();
    const UniqueFd errors = MemoryFile();
    fflush(stdout);
    const pid_t child = fork();
    if (child < 0) return Miss(part, std::string("fork: ") + strerror(errno));
    if (child == 0) {
        BeChild(output.Get(), errors.Get(), [&work] {
            try {
                work();
                DisarmEndNotice();
                return 0;
            } catch (const std::exception& error) {
                DisarmEndNotice();
                fprintf(stderr, "%s\n", error.what());
                return 1;
            }
        });
    }
    int status = 0;
    const bool inTime = EndOf(child, status);
    const std::string text = TextIn(output.Get());
    const std::string said = TextIn(errors.Get());
    if (!inTime) Miss(part, "no end within " + SecondsOf(LongestPart));
    if (inTime && status != 0) Miss(part, ReasonOf(status, said));
    if (!text.empty()) Put(part, text + (said.empty() ? "" : "\nstandard error:\n" + said));
}

void ReportFolder::Run(const std::vector<std::string>& words, const UniqueFd& output, int& status,
                       std::string& errors) {
    const UniqueFd said = MemoryFile();
    fflush(stdout);
    const pid_t child = fork();
    if (child < 0) throw std::runtime_error(std::string("fork: ") + strerror(errno));
    if (child == 0) BeChild(output.Get(), said.Get(), [&words] { return Execute(words); });
    const bool inTime = EndOf(child, status);
    errors = inTime ? TextIn(said.Get()) : "no end within " + SecondsOf(LongestPart);
}

std::string ReportFolder::OutputOf(const std::string& part, const std::vector<std::string>& words) {
    const UniqueFd output = MemoryFile();
    int status = 0;
    std::string errors;
    Run(words, output, status, errors);
    if (status != 0) Miss(part, words[0] + ": " + ReasonOf(status, errors));
    return TextIn(output.Get());
}

void ReportFolder::Program(const std::string& part, const std::vector<std::string>& words) {
    const std::string text = OutputOf(part, words);
    const bool isMissed = !m_missing.empty() && m_missing.back().first == part;
    if (text.empty() && !isMissed) Miss(part, words[0] + ": it shows nothing");
    if (!text.empty()) Put(part, text);
}

// A process of its own reads it: a driver may hold up whoever reads its files.
void ReportFolder::Copy(const std::string& part, const std::string& file) {
    const UniqueFd output = MemoryFile();
    const UniqueFd said = MemoryFile();
    fflush(stdout);
    const pid_t child = fork();
    if (child < 0) return Miss(part, std::string("fork: ") + strerror(errno));
    if (child == 0) BeChild(output.Get(), said.Get(), [&file] { return CopyToOutput(file); });
    int status = 0;
    const bool inTime = EndOf(child, status);
    if (!inTime) return Miss(part, file + ": no end within " + SecondsOf(LongestPart));
    if (status != 0) return Miss(part, file + ": " + FirstLine(TextIn(said.Get())));
    Put(part, TextIn(output.Get()));
}

void ReportFolder::Archive(int descriptor) {
    std::string missing;
    for (const auto& [part, reason] : m_missing)
        missing.append(part).append(": ").append(reason).append("\n");
    Put("missing.txt", missing.empty() ? "nothing is missing\n" : missing);
    const std::string tar = m_folder + "/report.tar";
    int status = 0;
    std::string errors;
    const UniqueFd none = MemoryFile();
    Run({"tar", "--create", "--file=" + tar, "--directory=" + m_folder, "--owner=0", "--group=0", "--sort=name",
         std::string(Inner).substr(1)},
        none, status, errors);
    if (status != 0) throw std::runtime_error("tar: " + ReasonOf(status, errors));
    const UniqueFd output(fcntl(descriptor, F_DUPFD_CLOEXEC, STDERR_FILENO + 1));
    Run({"zstd", "--quiet", "--stdout", tar}, output, status, errors);
    if (status != 0) throw std::runtime_error("zstd: " + ReasonOf(status, errors));
}

} // namespace bmhost
