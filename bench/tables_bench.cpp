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
class SilentLog final : public CBaseOsLog {
public:
    void Log(int, const char*, const char* text) override { benchmark::DoNotOptimize(text); }
};

// A board area with four 8-bit texts, in an image of 64 bytes.
std::unique_ptr<FRURAWDATA> Image() {
    auto raw = std::make_unique<FRURAWDATA>(64);
    constexpr std::array<unsigned char, 8> header = {1, 0, 0, 1, 0, 0, 0, 0xFE};
    std::copy(header.begin(), header.end(), raw->m_Data);
    unsigned char* area = raw->m_Data + 8;
    const std::array<unsigned char, 6> begin = {1, 7, 25, 0, 0, 0};
    area = std::copy(begin.begin(), begin.end(), area);
    for (int i = 0; i < 4; ++i) {
        *area++ = 0xC8;
        area = std::fill_n(area, 8, 'A');
    }
    *area = 0xC1;
    return raw;
}

// NOLINTBEGIN(clang-analyzer-deadcode.DeadStores, readability-identifier-naming): the name by which rounds are counted
void BoardTable(benchmark::State& state) {
    BM_LOG_LEVEL = 0;
    g_EntityMap.clear();
    BuildSimulatedData();
    IPMIAdaptor adaptor;
    for (auto _ : state) {
        CBMITable* table = nullptr;
        adaptor.GetParamTable(BMI_GROUP_HARDWARE_BOARD, table);
        delete table;
    }
}
BENCHMARK(BoardTable);

void ParseFRU(benchmark::State& state) {
    BM_LOG_LEVEL = 0;
    const auto raw = Image();
    IPMI_FRU fru({}, "bench");
    for (auto _ : state)
        benchmark::DoNotOptimize(ParseFRUData(raw->m_Data, &fru));
}
BENCHMARK(ParseFRU);

void Trace(benchmark::State& state) {
    SilentLog log;
    BM_LOG_LEVEL = static_cast<int>(state.range(0));
    for (auto _ : state)
        LogTrace(&log, "IPMIAdaptor :: AMC_HW_ReadParams - Slot location=%i", 3);
    BM_LOG_LEVEL = 0;
}
BENCHMARK(Trace)->ArgName("level")->Arg(0)->Arg(3);
// NOLINTEND(clang-analyzer-deadcode.DeadStores, readability-identifier-naming)

} // namespace
