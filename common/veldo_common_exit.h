// What system() says about the tool that it ran.
#pragma once

namespace BM_ADAPTOR {

/// The exit status in a result of system(); 255 when nothing could be run. A tool that a signal ended has 0, and passes
/// where only the status is looked at.
constexpr int ExitStatusOf(int a_Result) {
    return (a_Result >> 8) & 0xFF;
}

} // namespace BM_ADAPTOR
