// The way from OpenIPMI's C callbacks into the objects behind them.
#pragma once

#include "common/veldo_common_trace.h"
#include "ipmi/IPMI_Thread_Model.h"

#include <cstdio>
#include <cstdlib>
#include <exception>

namespace BM_ADAPTOR {

/// Traces the callback's name and calls `a_Call(object)`. A callback without an object ends the process: nothing it
/// reports could be acted upon. No exception gets back into C.
template <typename OBJECT, typename CALL>
void EnterCallback(void* a_UserData, const char* a_Name, CALL a_Call) {
    LogTrace(g_Logger2, "%s", a_Name);
    if (a_UserData == nullptr) {
        puts("ERROR SELF==NULL");
        exit(1);
    }
    try {
        a_Call(*static_cast<OBJECT*>(a_UserData));
    } catch (const std::exception& l_Error) {
        LogError(g_Logger2, "%s - %s", a_Name, l_Error.what());
    }
}

} // namespace BM_ADAPTOR
