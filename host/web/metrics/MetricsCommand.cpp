// `bmhost metrics`: the metrics of this machine's blade, once.
#include "host/web/metrics/MetricsCommand.h"

#include "host/client/HostClient.h"
#include "host/output/Redirect.h"
#include "host/picture/PictureJson.h"
#include "host/picture/StatisticsJson.h"
#include "host/web/metrics/MetricsText.h"
#include "host/words/Error.h"

#include "bm_dev/ByteText.h"

#include <cerrno>
#include <charconv>
#include <chrono>
#include <cstdlib>
#include <cstring>
#include <fcntl.h>
#include <filesystem>
#include <optional>
#include <stdexcept>
#include <sys/stat.h>
#include <system_error>
#include <unistd.h>

namespace bmhost {

namespace {

// Who collects metrics asks again soon.
constexpr std::chrono::milliseconds UsualWait(10'000);

constexpr unsigned Found = 200;
constexpr unsigned NoSuchPath = 404;

// Not the ending by which a collector knows its files.
constexpr std::string_view Unfinished = ".unfinished";

/// A file beside the one that it becomes, by a name that nobody foresees: the folder is the collector's, and it may
/// belong to another user. Removed unless it was kept.
class NewFile {
public:
    explicit NewFile(const std::string& file) : m_path(file + ".XXXXXX" + std::string(Unfinished)) {
        m_descriptor = mkostemps(m_path.data(), static_cast<int>(Unfinished.size()), O_CLOEXEC);
        if (m_descriptor < 0) Fail();
    }
    NewFile(const NewFile&) = delete;
    NewFile& operator=(const NewFile&) = delete;
    ~NewFile() {
        if (m_descriptor >= 0) close(m_descriptor);
        std::error_code error; // whoever reads the folder passes it over
        if (!m_kept) std::filesystem::remove(m_path, error);
    }

    void KeepAs(const std::string& path, const std::string& text) {
        WriteAll(m_descriptor, text);
        if (fchmod(m_descriptor, 0644) != 0) Fail();
        if (rename(m_path.c_str(), path.c_str()) != 0) Fail();
        m_kept = true;
    }

private:
    [[noreturn]] void Fail() const { throw std::runtime_error(m_path + ": " + std::strerror(errno)); }

    std::string m_path;
    int m_descriptor = -1;
    bool m_kept = false;
};

struct MetricsOptions {
    std::string m_output; ///< empty: standard output
    MetricsFormat m_format = MetricsFormat::Text;
    std::chrono::milliseconds m_wait = UsualWait; ///< for each answer
};

// What bmhost passes on.
MetricsOptions OptionsOf(const std::vector<std::string>& words) {
    constexpr std::string_view output = "--output=";
    constexpr std::string_view timeout = "--timeout=";
    MetricsOptions options;
    for (const std::string& word : words) {
        int64_t milliseconds = 0;
        const char* const end = word.data() + word.size();
        if (word == "--openmetrics") {
            options.m_format = MetricsFormat::OpenMetrics;
        } else if (word.starts_with(output) && word.size() > output.size()) {
            options.m_output = word.substr(output.size());
        } else if (word.starts_with(timeout) &&
                   std::from_chars(word.data() + timeout.size(), end, milliseconds).ptr == end && milliseconds > 0) {
            options.m_wait = std::chrono::milliseconds(milliseconds);
        } else {
            throw UsageError("'" + word + "': expected: metrics [--output=FILE] [--openmetrics] [--timeout=MS]");
        }
    }
    return options;
}

nlohmann::ordered_json BodyOf(const HostAnswer& answer, const std::string& path) {
    if (answer.m_status != Found)
        throw std::runtime_error(path + ": the resident host answers " + std::to_string(answer.m_status));
    return answer.m_body;
}

std::string MetricsNow(const MetricsOptions& options) {
    BladeView view;
    std::optional<Statistics> counts;
    if (const auto host = HostClient::Connect(options.m_wait)) {
        view.m_picture = std::make_shared<const Picture>(PictureOf(BodyOf(host->Get("/v1/blade"), "/v1/blade")));
        view.m_reachable = true;
        const HostAnswer counted = host->Get("/v1/statistics");
        if (counted.m_status != NoSuchPath) counts = StatisticsOf(BodyOf(counted, "/v1/statistics"));
    }
    return MetricsText(view, counts ? &*counts : nullptr, nullptr, WallNow(), options.m_format);
}

} // namespace

int MetricsCommand(const std::vector<std::string>& words) {
    const MetricsOptions options = OptionsOf(words);
    const std::string text = MetricsNow(options);
    if (!options.m_output.empty()) {
        NewFile(options.m_output).KeepAs(options.m_output, text);
    } else {
        // A terminal takes some of the modules' bytes for commands.
        WriteAll(STDOUT_FILENO, isatty(STDOUT_FILENO) != 0 ? bm_dev::Printable(text, "\n") : text);
    }
    return ExitAllOk;
}

} // namespace bmhost
