// Where a session shows what each call gave.
#pragma once

#include "bm/Params.h"

#include <memory>
#include <string>
#include <string_view>

namespace BMHOST {

class OUTPUT {
public:
    virtual ~OUTPUT() = default;

    /// init, start, stop, fin.
    virtual void Lifecycle(std::string_view a_Operation, int a_Result) = 0;
    /// @param a_Row  null when no row came back
    virtual void Read(unsigned a_Group, int a_Result, const BM_ADAPTOR::CBMIParams* a_Row) = 0;
    /// @param a_Table  null when the table was left untouched
    virtual void Table(unsigned a_Group, int a_Result, const BM_ADAPTOR::CBMITable* a_Table) = 0;
    virtual void Write(unsigned a_Group, int a_Result) = 0;
    virtual void Event(unsigned a_Event, unsigned a_Number, const BM_ADAPTOR::CBMIParams& a_Params) = 0;
    /// wait-event ended without an event.
    virtual void NoEvent() = 0;
};

/// One JSON line a call, on the given descriptor.
std::unique_ptr<OUTPUT> MakeJsonOutput(int a_Descriptor);
/// For people, on the given descriptor.
std::unique_ptr<OUTPUT> MakeTextOutput(int a_Descriptor);

} // namespace BMHOST
