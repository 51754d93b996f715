// Where a session shows what each call gave.
#pragma once

#include "bm/Params.h"

#include <memory>
#include <string>
#include <string_view>

namespace bmhost {

class Output {
public:
    virtual ~Output() = default;

    /// init, start, stop, fin.
    virtual void Lifecycle(std::string_view operation, int result) = 0;
    /// @param row  null when the call returned no row
    virtual void Read(unsigned group, int result, const BM_ADAPTOR::CBMIParams* row) = 0;
    /// @param table  null when the table was left untouched
    virtual void Table(unsigned group, int result, const BM_ADAPTOR::CBMITable* table) = 0;
    virtual void Write(unsigned group, int result) = 0;
    virtual void Event(unsigned event, unsigned number, const BM_ADAPTOR::CBMIParams& params) = 0;
    /// wait-event ended without an event.
    virtual void NoEvent() = 0;
};

/// One JSON line per call, on the given descriptor.
std::unique_ptr<Output> MakeJsonOutput(int descriptor);
/// For people, on the given descriptor.
std::unique_ptr<Output> MakeTextOutput(int descriptor);

} // namespace bmhost
