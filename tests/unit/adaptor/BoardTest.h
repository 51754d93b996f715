// What the tests of DSPs, switch ports and the RTM's export need: an adaptor on a board with eth6, a storage in memory,
// and AMCs whose DSPs the vendor records tell of.
#pragma once

#include "adaptor/AdaptorTest.h"

#include "fake/FakeBoardDriver.h"
#include "fake/FakeStorage.h"

#include <string>
#include <utility>
#include <vector>

namespace BM_ADAPTOR::TEST {

using Access = IPMI_TEST_ACCESS;

/// Lines on the host's own log, as the DSPs and the switch write them.
LOG_LINE BmiError(const std::string& a_Text);

class BOARD_TEST : public ADAPTOR_TEST {
protected:
    BOARD_TEST();
    ~BOARD_TEST() override;

    /// eth6 with this address, and lo.
    void GiveEth6(const std::array<unsigned char, 6>& a_Mac);
    /// An AMC with this vendor record.
    static void AddAMC(int a_Bay, uint8_t a_NumDSPs);
    /// DSP 1 and up with these addresses in the adaptor's map, and no others.
    void KnowDSPs(const TEXTS& a_Macs);
    /// A row of the DSPs' addresses in the storage.
    void StoreIP(int a_Dsp, const std::string& a_IP);
    void StorePort(int a_Number, int a_Admin);

    /// The texts of the lines of level 3 since the last call.
    TEXTS Errors();

    FAKE_STORAGE m_Storage;
};

/// A key for each pair.
CBMIKeys KeysOf(const std::vector<std::pair<BMIParamId_e, int32_t>>& a_Keys);

} // namespace BM_ADAPTOR::TEST
