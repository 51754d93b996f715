// The way from OpenIPMI's C callbacks into the objects that they carry.
#pragma once

#include "common/veldo_common_trace.h"
#include "ipmi/model/IPMI_Model.h"

#include <cstdio>
#include <cstdlib>
#include <cxxabi.h>
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

/// Whether this thread is in a callback of OpenIPMI: a wait for a reply would never end here.
inline bool InCallback() {
    return g_CallbackDepth > 0;
}

/// Traces the callback's name and calls `a_Call(object)`. A callback without an object ends the process: nothing can be
/// done about what it reports. No exception gets back into C: whatever is thrown is logged.
// The unwinding of a cancelled thread comes without an object, which the sanitizer would take for a null reference.
template <typename OBJECT, typename CALL>
__attribute__((no_sanitize("null"))) void EnterCallback(void* a_UserData, const char* a_Name, CALL a_Call) {
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
    } catch (const abi::__forced_unwind&) {
        throw; // a thread that is cancelled
    } catch (...) {
        LogError(g_Logger2, "%s - unknown exception", a_Name);
    }
}

} // namespace BM_ADAPTOR
