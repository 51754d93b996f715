// The way from OpenIPMI's C callbacks into the objects behind them.
#pragma once

#include "common/veldo_common_trace.h"
#include "ipmi/model/IPMI_Model.h"

#include <cstdio>
#include <cstdlib>
#include <exception>

namespace BM_ADAPTOR {

/// How many callbacks of OpenIPMI this thread is in.
inline thread_local int g_CallbackDepth = 0;

/// Marks a callback of OpenIPMI on this thread while it lives.
class CALLBACK_SCOPE {
public:
    CALLBACK_SCOPE() { ++g_CallbackDepth; }
    CALLBACK_SCOPE(const CALLBACK_SCOPE&) = delete;
    CALLBACK_SCOPE& operator=(const CALLBACK_SCOPE&) = delete;
    ~CALLBACK_SCOPE() { --g_CallbackDepth; }
};

/// This thread is inside a callback of OpenIPMI: whoever waits here for a reply waits for itself.
inline bool InCallback() {
    return g_CallbackDepth > 0;
}

/// Traces the callback's name and calls `a_Call(object)`. A callback without an object ends the process: nothing it
/// reports could be acted upon. No exception gets back into C.
template <typename OBJECT, typename CALL>
void EnterCallback(void* a_UserData, const char* a_Name, CALL a_Call) {
    LogTrace(g_Logger2, "%s", a_Name);
    if (a_UserData == nullptr) {
        puts("ERROR SELF==NULL");
        exit(1);
    }
    const CALLBACK_SCOPE l_Scope;
    try {
        a_Call(*static_cast<OBJECT*>(a_UserData));
    } catch (const std::exception& l_Error) {
        LogError(g_Logger2, "%s - %s", a_Name, l_Error.what());
    }
}

} // namespace BM_ADAPTOR
