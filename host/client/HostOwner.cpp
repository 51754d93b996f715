// Who has a blade, by what stands in its lock's file.
#include "host/client/HostOwner.h"

#include "bm_dev/UniqueFd.h"

#include <array>
#include <cerrno>
#include <csignal>
#include <fcntl.h>
#include <unistd.h>

namespace bmhost {

std::string HostOwner::Text() const {
    return m_program + ", process " + std::to_string(m_process) + ", since " + m_started;
}

// The lock itself is not tried: whoever takes it then for a moment would be refused.
std::optional<HostOwner> OwnerOf(const HostPlace& place) {
    const bm_dev::UniqueFd file(open(place.Lock().c_str(), O_RDONLY | O_NOFOLLOW | O_NONBLOCK | O_CLOEXEC));
    std::array<char, 1024> bytes{};
    const ssize_t size = file ? read(file.Get(), bytes.data(), bytes.size()) : -1;
    if (size <= 0) return std::nullopt;
    const auto line = nlohmann::json::parse(bytes.data(), bytes.data() + size, nullptr, false);
    if (!line.is_object() || !line.contains("process") || !line["process"].is_number_unsigned()) return std::nullopt;
    const auto text = [&line](const char* key) {
        const auto value = line.find(key);
        return value != line.end() && value->is_string() ? value->get<std::string>() : std::string();
    };
    const HostOwner owner{line["process"].get<pid_t>(), text("started"), text("program")};
    if (owner.m_process <= 0 || (kill(owner.m_process, 0) != 0 && errno == ESRCH)) return std::nullopt;
    return owner;
}

std::string HostText(pid_t process) {
    return "the resident host" + (process != 0 ? " (process " + std::to_string(process) + ")" : std::string());
}

std::string HostText(const HostEnd& end) {
    return end.m_place.m_elsewhere != nullptr ? PlacedHostText(end) : HostText(end.m_process);
}

std::string PlacedHostText(const HostEnd& end) {
    return (end.m_place.m_elsewhere != nullptr ? "the web door" : HostText(end.m_process)) + " at " +
           end.m_place.Text();
}

} // namespace bmhost
