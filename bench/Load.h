// For benchmarks: many clients of the web door at once, on one thread.
#pragma once

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <string>
#include <vector>

namespace bench {

/// What readers of one path have got.
struct PathLoad {
    std::string m_path;
    std::vector<double> m_times; ///< of each answer, in seconds
};

struct LoadResult {
    std::vector<PathLoad> m_paths;
    uint64_t m_errors = 0;    ///< answers that are not 200, and connections that ended
    uint64_t m_events = 0;    ///< of the stream that has most
    uint64_t m_lost = 0;      ///< gaps in the ids of any stream, and events that one stream has and another one has not
    std::string m_firstError; ///< empty: none
};

/// Clients of one port of this machine. A reader asks for the paths in turn, each at once when it has the answer to the
/// one before, and keeps its connection.
class Load {
public:
    /// @param streams  paths of event streams; each is read by as many
    Load(uint16_t port, std::vector<std::string> paths, const std::vector<std::string>& streams);
    ~Load();
    Load(const Load&) = delete;
    Load& operator=(const Load&) = delete;

    /// Opens streams and waits until all have begun.
    void OpenStreams(std::size_t eachPath);
    /// Has this many readers ask for so long.
    void Read(std::size_t readers, std::chrono::milliseconds time);
    /// Waits until the streams have been quiet for so long, and have the same events; not longer than half a minute.
    void Settle(std::chrono::milliseconds quiet);
    /// Closes everything.
    LoadResult End();

private:
    struct Reader;
    struct Stream;

    int Connected();
    void Turn(std::chrono::milliseconds wait);
    void Ask(Reader& reader);
    void Take(Reader& reader);
    void Take(Stream& stream);
    void Error(const std::string& reason);
    bool StreamsAgree() const;

    const uint16_t m_port;
    const std::vector<std::string> m_streamPaths;
    const int m_events;
    std::vector<std::unique_ptr<Reader>> m_readers;
    std::vector<std::unique_ptr<Stream>> m_streams;
    bool m_asks = false;
    std::chrono::steady_clock::time_point m_lastNews;
    LoadResult m_result;
};

} // namespace bench
