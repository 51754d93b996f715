// Shows the model: printed when the domain is fully up, traced when the probe has filled it.
#include "ipmi/IPMI_Thread.h"

#include "common/veldo_common_text.h"
#include "common/veldo_common_trace.h"
#include "ipmi/IPMI_FRUParse.h"

#include <array>
#include <cstdarg>
#include <cstdio>

namespace BM_ADAPTOR {

namespace {

constexpr int TEST_RECORD_TYPE = 0xC0;
constexpr int BYTES_PER_LINE = 16;

// Where the dump's lines go. A printed line ends with exactly one line end; a traced one is written as it is.
class DUMP {
public:
    enum SINK { PRINT, TRACE };
    explicit DUMP(SINK a_Sink) : m_Sink(a_Sink) {}

    void Line(const char* a_Format, ...) const __attribute__((format(printf, 2, 3))) {
        if (IsOff()) return;
        va_list l_Arguments;
        va_start(l_Arguments, a_Format);
        Write(FormatTextList(a_Format, l_Arguments));
        va_end(l_Arguments);
    }

    // A trace of it has no line end either.
    void BareLine(const char* a_Format, ...) const __attribute__((format(printf, 2, 3))) {
        if (IsOff()) return;
        va_list l_Arguments;
        va_start(l_Arguments, a_Format);
        Write(WithoutLineEnd(FormatTextList(a_Format, l_Arguments)));
        va_end(l_Arguments);
    }

private:
    bool IsOff() const { return m_Sink == TRACE && !TracesOn(); }

    static std::string WithoutLineEnd(std::string a_Text) {
        if (!a_Text.empty() && a_Text.back() == '\n') a_Text.pop_back();
        return a_Text;
    }

    void Write(const std::string& a_Text) const {
        if (m_Sink == PRINT) {
            puts(WithoutLineEnd(a_Text).c_str());
        } else {
            LogTrace(g_Logger2, "%s", a_Text.c_str());
        }
    }

    SINK m_Sink;
};

void DumpTexts(const DUMP& a_Dump, const IPMI_FRU& a_FRU) {
    a_Dump.BareLine("             Board    Manufacturer:%s\n", a_FRU.m_BoardManufacturer.c_str());
    a_Dump.BareLine("             Board    Name        :%s\n", a_FRU.m_BoardProductName.c_str());
    a_Dump.BareLine("             Board    SN          :%s\n", a_FRU.m_BoardSerialNumber.c_str());
    a_Dump.BareLine("             Board    Part Num    :%s\n", a_FRU.m_BoardPartNumber.c_str());
    a_Dump.BareLine("             Product  Manufacturer:%s\n", a_FRU.m_ProductManufacturer.c_str());
    a_Dump.BareLine("             Product  Name        :%s\n", a_FRU.m_ProductName.c_str());
    a_Dump.BareLine("             Product  SN          :%s\n", a_FRU.m_ProductSerialNumber.c_str());
    a_Dump.BareLine("             Product  Model       :%s\n", a_FRU.m_ProductPartModelNumber.c_str());
}

void DumpBytes(const DUMP& a_Dump, const MULTIRECORD& a_Record) {
    std::string l_Text = FormatText("             MR Type=0x%x len=%u data=", static_cast<unsigned>(a_Record.m_Type),
                                    static_cast<unsigned>(a_Record.m_Length));
    for (int i = 0; i < a_Record.m_Length; ++i) {
        if (i % BYTES_PER_LINE == 0) l_Text += "\n     ";
        l_Text += FormatText(" %2.2x", static_cast<unsigned char>(a_Record.m_Data[i]));
    }
    a_Dump.Line("%s", l_Text.c_str());
}

void DumpDSPs(const DUMP& a_Dump, const VENDOR_RECORD& a_Record) {
    a_Dump.Line("                AMC");
    a_Dump.Line("                Num DSPs=%i", a_Record.NumDSPs());
    for (int i = 0; i < a_Record.NumDSPs(); ++i) {
        const auto l_DSP = a_Record.DSP(i);
        if (!l_DSP) return; // the record ends before the DSPs it promises
        const auto& l_Mac = l_DSP->m_Mac;
        a_Dump.Line("                   DSP %i type=%s\n", i, TranslateDSPType(l_DSP->m_Type));
        a_Dump.Line("                   DSP %i MacAddress=%x-%x-%x-%x-%x-%x\n", i, l_Mac[0], l_Mac[1], l_Mac[2],
                    l_Mac[3], l_Mac[4], l_Mac[5]);
    }
}

void DumpVendorRecord(const DUMP& a_Dump, const MULTIRECORD& a_Record) {
    const auto l_Record = VENDOR_RECORD::From(a_Record);
    if (!l_Record) return;
    a_Dump.Line("             Tarsk Specific record type=%i\n", l_Record->Kind());
    if (l_Record->Kind() == VENDOR_RECORD_AMC && a_Record.m_Length >= VENDOR_AMC_MIN_LENGTH) {
        DumpDSPs(a_Dump, *l_Record);
    }
    if (l_Record->Kind() == VENDOR_RECORD_RTM && a_Record.m_Length >= VENDOR_RTM_MIN_LENGTH) {
        a_Dump.Line("                RTM");
        a_Dump.Line("                   Framer Type=%s\n", TranslateFramerType(l_Record->FramerType()));
        a_Dump.Line("                   Num Trunks per framer=%i\n", l_Record->TrunksPerFramer());
    }
}

// A copy, because a host thread that writes an LED may note a colour meanwhile.
IPMI_LED CopyOf(const IPMI_LED& a_LED) {
    const MODEL_READER l_Model(g_EntityMapLock);
    return a_LED;
}

void DumpLED(const DUMP& a_Dump, const IPMI_LED& a_LED) {
    a_Dump.Line("        LED ID= %i %s %s %s %s %s %s\n", a_LED.m_LEDID, a_LED.m_bBlue ? "BLUE" : "",
                a_LED.m_bRed ? "RED" : "", a_LED.m_bGreen ? "GREEN" : "", a_LED.m_bAmber ? "AMBER" : "",
                a_LED.m_bOrange ? "ORANGE" : "", a_LED.m_bWhite ? "WHITE" : "");
}

// The two test records that every FRU gets at every fully-up report, after its own: four DSPs, and one framer of type 1
// with four trunks. On purpose for every FRU, real ones too: a simulated module has its hardware from here.
void AppendTestRecords(IPMI_FRU& a_FRU) {
    static constexpr std::array<unsigned char, 38> l_AMC = {0x57, 0x01, 0x00, VENDOR_RECORD_AMC,
                                                            0x00, 4, //
                                                            1,    0x12, 0x34, 0x56,
                                                            0x78, 0x9A, 0x00, 0, //
                                                            1,    0x12, 0x34, 0x56,
                                                            0x78, 0x9A, 0x01, 0, //
                                                            1,    0x12, 0x34, 0x56,
                                                            0x78, 0x9A, 0x02, 0, //
                                                            1,    0x12, 0x34, 0x56,
                                                            0x78, 0x9A, 0x03, 0};
    static constexpr std::array<unsigned char, 8> l_RTM = {0x57, 0x01, 0x00, VENDOR_RECORD_RTM, 0x00, 1, 1, 4};
    const MODEL_WRITER l_Model(g_EntityMapLock);
    a_FRU.AddMultiRecord(l_AMC.data(), static_cast<int>(l_AMC.size()), TEST_RECORD_TYPE);
    a_FRU.AddMultiRecord(l_RTM.data(), static_cast<int>(l_RTM.size()), TEST_RECORD_TYPE);
}

void DumpFRU(const DUMP& a_Dump, IPMI_FRU& a_FRU) {
    a_Dump.Line("        FRU %s\n", a_FRU.m_Name.c_str());
    DumpTexts(a_Dump, a_FRU);
    AppendTestRecords(a_FRU);
    for (const MULTIRECORD* l_Record : a_FRU.m_MultiRecords) {
        DumpBytes(a_Dump, *l_Record);
        DumpVendorRecord(a_Dump, *l_Record);
    }
}

void TraceFRU(const DUMP& a_Dump, const IPMI_FRU& a_FRU) {
    DumpTexts(a_Dump, a_FRU);
    for (const MULTIRECORD* l_Record : a_FRU.m_MultiRecords)
        DumpVendorRecord(a_Dump, *l_Record);
}

// Calls `a_Show(record)` for every record of an entity's map.
template <typename MAP, typename SHOW>
void ForEach(const MAP& a_Map, SHOW a_Show) {
    for (const auto& [l_Key, l_Record] : a_Map) {
        if (l_Record != nullptr) a_Show(*l_Record);
    }
}

} // namespace

void IPMITHREAD::DumpModel() {
    const DUMP l_Dump(DUMP::PRINT);
    ForEach(g_EntityMap, [&](const IPMI_ENTITY& a_Entity) {
        l_Dump.Line("Entity found %i.%i.%i.%i.%s\n", a_Entity.m_Channel, a_Entity.m_Address, a_Entity.m_EntityID,
                    a_Entity.m_EntityInstance, a_Entity.m_Name.c_str());
        ForEach(a_Entity.m_SensorMap,
                [&](const IPMI_SENSOR& a_Sensor) { l_Dump.Line("        Sensor %s\n", a_Sensor.m_Name.c_str()); });
        ForEach(a_Entity.m_ControlMap,
                [&](const IPMI_CONTROL& a_Control) { l_Dump.Line("        Control %s\n", a_Control.m_Name.c_str()); });
        ForEach(a_Entity.m_FRUMap, [&](IPMI_FRU& a_FRU) { DumpFRU(l_Dump, a_FRU); });
        ForEach(a_Entity.m_MCMap, [&](const IPMI_MC& a_MC) {
            l_Dump.Line("        MC %s\n", a_MC.m_Name.c_str());
            l_Dump.Line("             MC     FW Major    :%i\n", a_MC.m_MajorFWRevision);
            l_Dump.Line("             MC     FW Minor    :%i\n", a_MC.m_MinorFWRevision);
        });
        ForEach(a_Entity.m_LEDMap, [&](const IPMI_LED& a_LED) { DumpLED(l_Dump, CopyOf(a_LED)); });
    });
}

void IPMITHREAD::TraceModel() {
    if (!TracesOn()) return;
    const DUMP l_Dump(DUMP::TRACE);
    int l_Count = 0;
    ForEach(g_EntityMap, [&](const IPMI_ENTITY& a_Entity) {
        LogTrace(g_Logger2, "IPMITHREAD :: EntityCaptured - Count=%i", l_Count);
        l_Dump.Line("EntityCaptured - Entity found %i.%i.%i.%i.%s\n", a_Entity.m_Channel, a_Entity.m_Address,
                    a_Entity.m_EntityID, a_Entity.m_EntityInstance, a_Entity.m_Name.c_str());
        l_Dump.Line("EntityCaptured -              %i.%i.%i.%i.%s Bay/Slotlocation=%i\n", a_Entity.m_Channel,
                    a_Entity.m_Address, a_Entity.m_EntityID, a_Entity.m_EntityInstance, a_Entity.m_Name.c_str(),
                    a_Entity.m_BayLocation);
        LogTrace(g_Logger2, "IPMITHREAD :: EntityCaptured - Count=%i sensorsize=%i", l_Count,
                 static_cast<int>(a_Entity.m_SensorMap.size()));
        LogTrace(g_Logger2, "IPMITHREAD :: EntityCaptured - Count=%i controlsize=%i", l_Count,
                 static_cast<int>(a_Entity.m_ControlMap.size()));
        ForEach(a_Entity.m_FRUMap, [&](const IPMI_FRU& a_FRU) {
            LogTrace(g_Logger2, "IPMITHREAD :: EntityCaptured - Count=%i entity=0x%p FRUSize=%i", l_Count,
                     static_cast<const void*>(&a_Entity), static_cast<int>(a_Entity.m_FRUMap.size()));
            TraceFRU(l_Dump, a_FRU);
        });
        ForEach(a_Entity.m_MCMap, [&](const IPMI_MC& a_MC) {
            LogTrace(g_Logger2, "MC       FW Major    :%i", a_MC.m_MajorFWRevision);
            LogTrace(g_Logger2, "MC       FW Minor    :%i", a_MC.m_MinorFWRevision);
        });
        ForEach(a_Entity.m_LEDMap, [&](const IPMI_LED& a_LED) { DumpLED(l_Dump, CopyOf(a_LED)); });
        ++l_Count;
    });
}

} // namespace BM_ADAPTOR
