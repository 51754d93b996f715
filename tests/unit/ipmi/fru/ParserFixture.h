// What every parser test needs: a recording logger with traces on, a FRU record to fill, and images in a raw buffer.
#pragma once

#include "ipmi/IPMI_FRUParse.h"
#include "ipmi/IPMI_Probe.h"

#include "ipmi/FRUImage.h"
#include "ipmi/LogText.h"

#include <gtest/gtest.h>

#include <memory>

/// Bytes as the probe gives them to the parser: in a raw buffer, with its slack.
inline std::unique_ptr<FRURAWDATA> InRawBuffer(const BYTES& a_Bytes) {
    auto l_Raw = std::make_unique<FRURAWDATA>(static_cast<int>(a_Bytes.size()));
    l_Raw->Write(0, a_Bytes);
    return l_Raw;
}

inline BYTES DataOf(const MULTIRECORD& a_Record) {
    return {a_Record.m_Data, a_Record.m_Data + a_Record.m_Length};
}

class PARSER_TEST : public ::testing::Test {
protected:
    PARSER_TEST() { BM_ADAPTOR::g_Logger2 = &m_Log; }
    ~PARSER_TEST() override { BM_ADAPTOR::g_Logger2 = nullptr; }

    LOG_LEVEL_GUARD m_TracesOn;
    RECORDING_LOG m_Log;
    IPMI_FRU m_FRU{{0, 0x20, 160, 0x60}, "FRU 0"};
    std::unique_ptr<FRURAWDATA> m_Raw;

    /// Puts the bytes into the raw buffer that lives as long as the test.
    unsigned char* Buffer(const BYTES& a_Bytes) {
        m_Raw = InRawBuffer(a_Bytes);
        return m_Raw->m_Data;
    }

    int Parse(const BYTES& a_Image) { return BM_ADAPTOR::ParseFRUData(Buffer(a_Image), &m_FRU); }
};
