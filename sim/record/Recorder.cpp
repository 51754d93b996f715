// Records every request on /dev/ipmi0 and its answer, each as a line of JSON with its time.
#include "sim/record/Recorder.h"

#include "sim/base/Error.h"
#include "sim/blade/HexText.h"
#include "sim/record/Recording.h"

#include <nlohmann/json.hpp>

#include <cmath>
#include <cstdio>
#include <cstring>
#include <fcntl.h>
#include <unistd.h>
#include <utility>

namespace bladesim {

Recorder::Recorder(std::string file)
    : m_file(std::move(file)),
      m_fd(::open(m_file.c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_APPEND | O_CLOEXEC, 0600)) {
    if (!m_fd) ThrowErrno(m_file + ": cannot be written");
    Write(nlohmann::ordered_json{{RecordingKey, RecordingVersion}}.dump());
}

void Recorder::Request(uint64_t number, unsigned opener, std::span<const uint8_t> bytes, std::optional<uint8_t> ipmb) {
    if (!m_fd) return;
    nlohmann::ordered_json line = {{"ms", Time()}, {"request", number}, {"opener", opener}, {"bytes", HexText(bytes)}};
    if (ipmb) line["ipmb"] = *ipmb;
    Write(line.dump());
}

void Recorder::Answer(uint64_t number, std::span<const uint8_t> bytes) {
    if (!m_fd) return;
    Write(nlohmann::ordered_json{{"ms", Time()}, {"answer", number}, {"bytes", HexText(bytes)}}.dump());
}

double Recorder::Time() const {
    const std::chrono::duration<double, std::micro> time = Clock::now() - m_start;
    return std::round(time.count()) / 1000;
}

void Recorder::Write(const std::string& line) {
    const std::string text = line + "\n";
    const ssize_t written = ::write(m_fd.Get(), text.data(), text.size());
    if (written == static_cast<ssize_t>(text.size())) {
        m_size += written;
        return;
    }
    const char* const reason = written < 0 ? std::strerror(errno) : "no room";
    std::fprintf(stderr, "bladesim: %s: cannot be written: %s; the recording ends here\n", m_file.c_str(), reason);
    if (::ftruncate(m_fd.Get(), m_size) != 0)
        std::fprintf(stderr, "bladesim: %s: its last line is cut\n", m_file.c_str());
    m_fd.Reset();
}

} // namespace bladesim
