// The exported texts.
#include "common/veldo_common.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace {

using testing::HasSubstr;
using testing::StartsWith;

TEST(ExportedTexts, CopyrightNamesItsHolder) {
    EXPECT_THAT(VELDO_GetCopyRight(), StartsWith("Copyright (C) "));
}

TEST(ExportedTexts, VersionIsTheProjects) {
    EXPECT_THAT(VELDO_VersionString(), HasSubstr(PROJECT_VERSION_TEXT));
}

TEST(ExportedTexts, StayTheSameObjects) {
    EXPECT_EQ(VELDO_GetCopyRight(), VELDO_GetCopyRight());
    EXPECT_EQ(VELDO_VersionString(), VELDO_VersionString());
}

} // namespace
