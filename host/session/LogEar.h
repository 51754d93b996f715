// Listeners to the log: as many as there are, though the log hands its lines to one.
#pragma once

#include <functional>
#include <string>

namespace bmhost {

/// Hears every line of the log as long as it lives, on the thread that logs. The taker must not log, and must not make
/// or end an ear.
class LogEar {
public:
    using Taker = std::function<void(int level, const std::string& component, const std::string& text)>;

    explicit LogEar(Taker taker);
    LogEar(const LogEar&) = delete;
    LogEar& operator=(const LogEar&) = delete;
    /// The taker is not called any more once this returns.
    ~LogEar();

private:
    Taker m_taker;
};

} // namespace bmhost
