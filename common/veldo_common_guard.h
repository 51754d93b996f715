// The plug-in's boundary: no exception passes from an operation to the host.
#pragma once

#include "bm/Log.h"
#include "common/veldo_common_protocol.h"

#include <cxxabi.h>
#include <exception>

namespace BM_ADAPTOR {

/// Calls an operation; whatever it throws is logged, and `a_Failure` is the result.
template <typename OPERATION>
int Guarded(const char* a_Name, OPERATION a_Operation, int a_Failure = RESULT_NOTHING_DONE) {
    try {
        return a_Operation();
    } catch (const std::exception& l_Error) {
        bmiLog(BM_LOG_ERROR, COMPONENT_IPMI_ADAPTOR, "IPMIAdaptor::%s() - %s", a_Name, l_Error.what());
    } catch (const abi::__forced_unwind&) {
        throw; // the host has cancelled this thread
    } catch (...) {
        bmiLog(BM_LOG_ERROR, COMPONENT_IPMI_ADAPTOR, "IPMIAdaptor::%s() - unknown exception", a_Name);
    }
    return a_Failure;
}

} // namespace BM_ADAPTOR
