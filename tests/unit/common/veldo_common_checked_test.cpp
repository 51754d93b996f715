// Log texts that the compiler checks: what is written of them, and which ones it refuses.
#include "common/veldo_common_checked.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <string>
#include <type_traits>
#include <vector>

namespace {

using BM_ADAPTOR::CHECKED_TEXT;
using BM_ADAPTOR::ErrorText;
using BM_ADAPTOR::TraceText;
using testing::ElementsAre;
using testing::IsEmpty;

/// "7 text": level and text of each line.
class KEPT_LINES final : public CBaseOsLog {
public:
    virtual ~KEPT_LINES() = default;
    void Log(int a_Level, const char*, const char* a_Text) override {
        m_Lines.push_back(std::to_string(a_Level) + " " + a_Text);
    }

    std::vector<std::string> m_Lines{};
};

class CheckedText : public testing::Test {
protected:
    CheckedText() { BM_LOG_LEVEL = BM_LOG_ERROR; }
    ~CheckedText() override { BM_LOG_LEVEL = m_LevelBefore; }

    KEPT_LINES m_Log;

private:
    int m_LevelBefore = BM_LOG_LEVEL;
};

TEST_F(CheckedText, IsWrittenAsATraceOrAnErrorWithItsIntegers) {
    TraceText(&m_Log, CHECKED_TEXT<2>("LED %d has %x"), int32_t{3}, 0x1AU);
    ErrorText(&m_Log, CHECKED_TEXT<1>("bad state %i"), int32_t{-2});
    TraceText(&m_Log, CHECKED_TEXT<0>("no keys"));
    ErrorText(&m_Log, CHECKED_TEXT<0>("no row"));
    EXPECT_THAT(m_Log.m_Lines, ElementsAre("7 LED 3 has 1a", "3 bad state -2", "7 no keys", "3 no row"));
}

TEST_F(CheckedText, TraceIsNotWrittenWhileTracesAreOff) {
    BM_LOG_LEVEL = 0;
    TraceText(&m_Log, CHECKED_TEXT<1>("a trace %i"), int32_t{1});
    ErrorText(&m_Log, CHECKED_TEXT<1>("an error %i"), int32_t{1});
    EXPECT_THAT(m_Log.m_Lines, ElementsAre("3 an error 1"));
}

TEST_F(CheckedText, ThatIsNotGivenWritesNoLine) {
    TraceText(&m_Log, CHECKED_TEXT<0>());
    TraceText(&m_Log, CHECKED_TEXT<1>(), int32_t{1});
    ErrorText(&m_Log, CHECKED_TEXT<0>());
    ErrorText(&m_Log, CHECKED_TEXT<1>(), int32_t{1});
    EXPECT_THAT(m_Log.m_Lines, IsEmpty());
}

// ---- what the compiler refuses

template <std::size_t SIZE>
struct LITERAL {
    // NOLINTNEXTLINE(google-explicit-constructor,modernize-avoid-c-arrays): a literal
    consteval LITERAL(const char (&a_Text)[SIZE]) { std::copy_n(a_Text, SIZE, m_Text); }

    char m_Text[SIZE]{}; // NOLINT(modernize-avoid-c-arrays)
};

template <std::size_t INTEGERS, LITERAL TEXT>
concept Compiles = requires {
    typename std::bool_constant<(static_cast<void>(CHECKED_TEXT<INTEGERS>(TEXT.m_Text)), true)>;
};

TEST(CheckedTexts, PrintAsManyIntegersAsTheySay) {
    EXPECT_TRUE((Compiles<0, "no integer">));
    EXPECT_TRUE((Compiles<1, "state %i">));
    EXPECT_TRUE((Compiles<3, "%i, %d and %x">));
    EXPECT_FALSE((Compiles<1, "no integer">));
    EXPECT_FALSE((Compiles<0, "state %i">));
    EXPECT_FALSE((Compiles<1, "%i and %i">));
}

TEST(CheckedTexts, PrintNothingButIntegers) {
    EXPECT_FALSE((Compiles<1, "%s">));
    EXPECT_FALSE((Compiles<1, "%02x">));
    EXPECT_FALSE((Compiles<1, "%lx">));
    EXPECT_FALSE((Compiles<0, "100%%">));
    EXPECT_FALSE((Compiles<1, "%i at 100%">));
}

} // namespace
