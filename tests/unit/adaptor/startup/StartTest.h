// What the tests of Start and Stop need: a board with two DSPs in bay 3, whose tools are only written down.
#pragma once

#include "adaptor/BoardTest.h"

#include <string>

namespace BM_ADAPTOR::TEST {

/// The DSPs as the tools are told of them.
inline const std::string DSP_WORDS = " /0/02:00:00:00:00:12/192.168.0.23 /1/02:00:00:00:00:13/192.168.0.22";

/// An adaptor installed in /k, with a simulated inventory so that its LEDs need no controller.
class START_TEST : public BOARD_TEST {
protected:
    START_TEST();

    /// An RTM with these values in place of none.
    void BeWithRTM(int a_Framers, int a_TrunksPerFramer);
    int Start() { return m_Adaptor.Start(nullptr); }
    /// The run statuses that the host was told, in order.
    std::vector<int> Statuses() const;

    static constexpr const char* INIT = "/k/bin/mavk_init -v -r";
    static std::string Boot(const std::string& a_Words = DSP_WORDS);
    static std::string Diag(const std::string& a_Words = DSP_WORDS);
    static constexpr const char* MEDIA_START = "/k/bin/mediaStart";
    static constexpr const char* MEDIA_STOP = "/k/bin/mediaStop";
};

} // namespace BM_ADAPTOR::TEST
