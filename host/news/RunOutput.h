// The output of `run`: a line for each thing that happens.
#pragma once

#include "host/news/RunHealth.h"
#include "host/session/Manager.h"

#include <memory>
#include <string_view>

namespace bmhost {

class RunOutput {
public:
    virtual ~RunOutput() = default;

    virtual void Lifecycle(std::string_view operation, int result) = 0;
    virtual void Event(const AdaptorEvent& event) = 0;
    virtual void Health(const HealthChange& change) = 0;
};

/// For people, on the given descriptor, each line with its time.
std::unique_ptr<RunOutput> MakeRunText(int descriptor);
/// JSON, with calls and events as everywhere.
std::unique_ptr<RunOutput> MakeRunJson(int descriptor);

/// An event in one line: "run status of AMC bay 3: running (4)".
std::string EventLine(const AdaptorEvent& event);

} // namespace bmhost
