// What the adaptor itself costs: answering a table from the model, parsing a FRU, a trace that is off.
#include "adaptor/IPMI_Adaptor.h"
#include "bm/Log.h"
#include "common/veldo_common_trace.h"
#include "ipmi/IPMI_FRUParse.h"
#include "ipmi/IPMI_Probe.h"
#include "ipmi/IPMI_Thread.h"

#include <benchmark/benchmark.h>

#include <algorithm>
#include <array>
#include <memory>

using namespace BM_ADAPTOR;

namespace {

// NOLINTNEXTLINE(cppcoreguidelines-virtual-class-destructor): it is final
class SILENT_LOG final : public CBaseOsLog {
public:
    void Log(int, const char*, const char* a_Text) override { benchmark::DoNotOptimize(a_Text); }
};

// A board area with four 8-bit texts, in an image of 64 bytes.
std::unique_ptr<FRURAWDATA> Image() {
    auto l_Raw = std::make_unique<FRURAWDATA>(64);
    constexpr std::array<unsigned char, 8> l_Header = {1, 0, 0, 1, 0, 0, 0, 0xFE};
    std::copy(l_Header.begin(), l_Header.end(), l_Raw->m_Data);
    unsigned char* l_Area = l_Raw->m_Data + 8;
    const std::array<unsigned char, 6> l_Begin = {1, 7, 25, 0, 0, 0};
    l_Area = std::copy(l_Begin.begin(), l_Begin.end(), l_Area);
    for (int i = 0; i < 4; ++i) {
        *l_Area++ = 0xC8;
        l_Area = std::fill_n(l_Area, 8, 'A');
    }
    *l_Area = 0xC1;
    return l_Raw;
}

// NOLINTBEGIN(clang-analyzer-deadcode.DeadStores, readability-identifier-naming): the name by which rounds are counted
void BoardTable(benchmark::State& a_State) {
    BM_LOG_LEVEL = 0;
    g_EntityMap.clear();
    BuildSimulatedData();
    IPMIAdaptor l_Adaptor;
    for (auto _ : a_State) {
        CBMITable* l_Table = nullptr;
        l_Adaptor.GetParamTable(0x30000, l_Table);
        delete l_Table;
    }
}
BENCHMARK(BoardTable);

void ParseFRU(benchmark::State& a_State) {
    BM_LOG_LEVEL = 0;
    const auto l_Raw = Image();
    IPMI_FRU l_FRU({}, "bench");
    for (auto _ : a_State)
        benchmark::DoNotOptimize(ParseFRUData(l_Raw->m_Data, &l_FRU));
}
BENCHMARK(ParseFRU);

void Trace(benchmark::State& a_State) {
    SILENT_LOG l_Log;
    BM_LOG_LEVEL = static_cast<int>(a_State.range(0));
    for (auto _ : a_State)
        LogTrace(&l_Log, "IPMIAdaptor :: AMC_HW_ReadParams - Slot location=%i", 3);
    BM_LOG_LEVEL = 0;
}
BENCHMARK(Trace)->ArgName("level")->Arg(0)->Arg(3);
// NOLINTEND(clang-analyzer-deadcode.DeadStores, readability-identifier-naming)

} // namespace
