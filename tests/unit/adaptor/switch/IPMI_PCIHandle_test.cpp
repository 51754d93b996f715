// The handle to the PCI memory: what the board driver is given, and what becomes of the block.
#include "adaptor/switch/IPMI_PCIHandle.h"

#include "fake/FakeBoardDriver.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

using BM_ADAPTOR::PCI_HANDLE;
using testing::ElementsAre;
using testing::IsEmpty;
using testing::SizeIs;

namespace {

class PciHandle : public testing::Test {
protected:
    PciHandle() { BoardDriver() = {}; }
    ~PciHandle() override { m_PCI.Close(); }

    std::atomic<void*> m_Handle = nullptr;
    PCI_HANDLE m_PCI{m_Handle};
};

TEST_F(PciHandle, IsEightZeroedBytesThatTheDriverOpens) {
    EXPECT_EQ(m_PCI.Open(), 0);
    ASSERT_THAT(BoardDriver().m_Opened, SizeIs(1));
    EXPECT_EQ(BoardDriver().m_Opened[0].m_Handle, m_Handle.load());
    EXPECT_EQ(BoardDriver().m_Opened[0].m_Content, (std::array<unsigned char, 8>{}));
    EXPECT_EQ(BoardDriver().m_Opened[0].m_First, 1);
    EXPECT_EQ(BoardDriver().m_Opened[0].m_Second, 0);
}

TEST_F(PciHandle, StaysWhateverTheDriverAnswers) {
    BoardDriver().m_OpenResult = 6;
    EXPECT_EQ(m_PCI.Open(), 6);
    EXPECT_NE(m_Handle, nullptr);
}

TEST_F(PciHandle, OpenedAgainIsANewOneAndTheFirstIsNotClosed) {
    m_PCI.Open();
    void* const l_First = m_Handle;
    m_PCI.Open();
    EXPECT_NE(m_Handle, l_First);
    EXPECT_THAT(BoardDriver().m_Closed, IsEmpty());
    delete[] static_cast<unsigned char*>(l_First);
}

TEST_F(PciHandle, IsClosedOnce) {
    m_PCI.Open();
    void* const l_Handle = m_Handle;
    m_PCI.Close();
    EXPECT_EQ(m_Handle, nullptr);
    m_PCI.Close();
    EXPECT_THAT(BoardDriver().m_Closed, ElementsAre(l_Handle));
}

} // namespace
