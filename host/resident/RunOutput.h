// Where `run` tells what happens, a line each.
#pragma once

#include "host/resident/RunHealth.h"
#include "host/session/Manager.h"

#include <memory>
#include <string_view>

namespace BMHOST {

class RUN_OUTPUT {
public:
    virtual ~RUN_OUTPUT() = default;

    virtual void Lifecycle(std::string_view a_Operation, int a_Result) = 0;
    virtual void Event(const EVENT& a_Event) = 0;
    virtual void Health(const HEALTH_CHANGE& a_Change) = 0;
};

/// For people, on the given descriptor, each line with its time.
std::unique_ptr<RUN_OUTPUT> MakeRunText(int a_Descriptor);
/// JSON: calls and events as everywhere.
std::unique_ptr<RUN_OUTPUT> MakeRunJson(int a_Descriptor);

/// An event in one line: "run status of AMC bay 3: running (4)".
std::string EventLine(const EVENT& a_Event);

} // namespace BMHOST
