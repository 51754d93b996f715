// What the storage tells in the log.
#include "host/session/StorageLog.h"

#include "bm/Log.h"

#include <gtest/gtest.h>

namespace {

using bmhost::StorageLog;

TEST(StorageLog, KeepsTheLastComplaintAndCountsAll) {
    const StorageLog log;
    EXPECT_EQ(0U, log.Count());
    EXPECT_EQ("", log.Last());
    bmiLog(BM_LOG_ERROR, "Storage", "CDataStorage :: StartTransaction - first");
    bmiLog(BM_LOG_ERROR, "Storage", "CDataStorage :: EndTransaction - FILE: second");
    EXPECT_EQ(2U, log.Count());
    EXPECT_EQ("EndTransaction - FILE: second", log.Last());
}

TEST(StorageLog, DoesNotListenToTracesAndOthers) {
    const StorageLog log;
    bmiLog(BM_LOG_DEBUG, "Storage", "CDataStorage :: a trace");
    bmiLog(BM_LOG_ERROR, "IPMI Adaptor", "CDataStorage :: another's");
    EXPECT_EQ(0U, log.Count());
}

} // namespace
