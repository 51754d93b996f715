// A fake host behind the real server, on a socket in a folder of its own.
#include "ServedHost.h"

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <stdexcept>
#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

namespace {

class FileSink : public bmhost::UploadSink {
public:
    explicit FileSink(std::string path) : m_path(std::move(path)), m_stream(m_path, std::ios::binary) {}
    ~FileSink() override {
        if (!m_finished) std::filesystem::remove(m_path);
    }
    void Write(const void* data, std::size_t size) override {
        m_size += size;
        m_stream.write(static_cast<const char*>(data), static_cast<std::streamsize>(size));
    }
    void Finish() override {
        m_stream.close();
        m_finished = true;
    }
    std::string Path() const override { return m_path; }
    std::string Sha256() const override { return std::to_string(m_size); }

private:
    std::string m_path;
    std::ofstream m_stream;
    std::size_t m_size = 0;
    bool m_finished = false;
};

} // namespace

int ListenAt(const std::string& path) {
    const int socket = ::socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0);
    sockaddr_un address{};
    address.sun_family = AF_UNIX;
    path.copy(address.sun_path, sizeof(address.sun_path) - 1);
    if (bind(socket, reinterpret_cast<const sockaddr*>(&address), sizeof(address)) != 0 || listen(socket, 256) != 0) {
        close(socket);
        throw std::runtime_error("no socket at " + path);
    }
    return socket;
}

ServedHost::ServedHost(const bmhost::ApiLimits& limits, bmhost::MakeUploadSink makeSink, std::size_t ring)
    : m_host(ring),
      m_socket(m_folder.Path() + "/socket"),
      m_listening(ListenAt(m_socket)),
      m_server(std::make_unique<bmhost::ApiServer>(m_listening, m_host, limits, std::move(makeSink))),
      m_thread([this] { m_server->Run([this] { ++m_turns; }); }) {}

ServedHost::~ServedHost() {
    Stop();
    CloseSocket();
}

void ServedHost::Stop() {
    if (!m_server) return;
    m_server->Stop();
    m_thread.join();
    m_server.reset();
}

void ServedHost::CloseSocket() {
    if (m_listening >= 0) close(m_listening);
    m_listening = -1;
}

bool ServedHost::ComesTo(const std::string& path, int status) const {
    const auto end = std::chrono::steady_clock::now() + std::chrono::seconds(30);
    while (std::chrono::steady_clock::now() < end) {
        if (Connect().Get(path).m_status == status) return true;
        std::this_thread::yield();
    }
    return false;
}

bmhost::MakeUploadSink FilesIn(const std::string& folder) {
    return [folder, count = 0](uint64_t) mutable {
        return std::make_unique<FileSink>(folder + "/image-" + std::to_string(++count));
    };
}
