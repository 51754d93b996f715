// A look at a stored file without a transaction.
#include "platform/storage/StorageTest.h"

namespace {

using testing::UnorderedElementsAre;

using StoredLook = StorageTest;

std::string Looked(const std::string& folder) {
    const bm_dev::StoredRows stored = bm_dev::LookAtStored(folder, FileName);
    std::string text = stored.m_refusal;
    for (int i = 0; i < stored.m_rows.GetSize(); ++i)
        text += (text.empty() ? "" : " ") + stored.m_rows.Get(i)->GetParamById(Address)->GetString();
    return text;
}

TEST_F(StoredLook, FindsWhatIsStoredWhileATransactionHasTheFolder) {
    EXPECT_EQ("", Looked(m_folder));
    EXPECT_FALSE(std::filesystem::exists(m_folder));
    SetNow(1, "one");
    SetNow(2, "two");
    Transaction([&] {
        Set(2, "three");
        EXPECT_EQ("one two", Looked(m_folder));
    });
    EXPECT_EQ("one three", Looked(m_folder));
}

TEST_F(StoredLook, SeesWhatAJournalNamesAndCompletesNothing) {
    SetNow(1, "new");
    std::filesystem::rename(PathOf(FileName), PathOf(std::string(".new.") + FileName));
    EXPECT_EQ("", Looked(m_folder));
    Write(std::string("files to rename\n") + FileName + "\n", ".journal");
    EXPECT_EQ("new", Looked(m_folder));
    EXPECT_THAT(Names(), UnorderedElementsAre(".journal", std::string(".new.") + FileName));
}

TEST_F(StoredLook, TellsWhyAFileCannotBeRead) {
    Write("no storage file");
    EXPECT_THAT(Looked(m_folder), testing::StartsWith(PathOf(FileName) + ":1: "));
    EXPECT_EQ(PathOf(FileName) + ": Not a directory", Looked(PathOf(FileName)));
}

} // namespace
