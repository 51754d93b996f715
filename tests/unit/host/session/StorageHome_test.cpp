// Where the host's storage is, and how root's former one is taken over.
#include "host/session/StorageHome.h"

#include "host/TestFolder.h"
#include "host/session/LogEar.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>
#include <sys/stat.h>

namespace {

namespace fs = std::filesystem;
using bmhost::StorageHomeOf;
using bmhost::StorageSurroundings;
using bmhost::TakeStorageOver;

StorageSurroundings OfRoot() {
    return {true, "", "", "/root/.local/state/bmhost", "/var/lib/bmhost"};
}

TEST(StorageHome, IsTheBoardsForRoot) {
    EXPECT_EQ("/var/lib/bmhost", StorageHomeOf(OfRoot()));
}

TEST(StorageHome, IsTheUsersForAnyOtherUser) {
    StorageSurroundings surroundings = OfRoot();
    surroundings.m_root = false;
    EXPECT_EQ("/root/.local/state/bmhost", StorageHomeOf(surroundings));
}

TEST(StorageHome, IsTheBladesInASimulatedBladeWhateverElseIsSet) {
    StorageSurroundings surroundings = OfRoot();
    surroundings.m_bladeStorage = "/run/blade/bmhost";
    surroundings.m_stateFolder = "/state";
    EXPECT_EQ("/run/blade/bmhost", StorageHomeOf(surroundings));
    surroundings.m_root = false;
    EXPECT_EQ("/run/blade/bmhost", StorageHomeOf(surroundings));
}

TEST(BladeStorage, IsInTheBladesRunFolderUnlessItIsKept) {
    setenv("BLADESIM_KEEP", "/kept", 1);
    EXPECT_EQ("", bmhost::BladeStorage()) << "outside of a blade";
    setenv("BLADESIM_RUN_DIR", "/run/blade", 1);
    EXPECT_EQ("/kept", bmhost::BladeStorage());
    unsetenv("BLADESIM_KEEP");
    EXPECT_EQ("/run/blade/bmhost", bmhost::BladeStorage());
    unsetenv("BLADESIM_RUN_DIR");
}

TEST(StorageHome, IsWhereTheVariableSays) {
    StorageSurroundings surroundings = OfRoot();
    surroundings.m_stateFolder = "/state";
    surroundings.m_userStorage = "/state/bmhost";
    EXPECT_EQ("/state/bmhost", StorageHomeOf(surroundings));
}

class TakenOver : public testing::Test {
protected:
    TakenOver() { fs::create_directories(m_former); }

    static void Write(const fs::path& file, const std::string& text) { std::ofstream(file) << text; }
    static std::string Text(const fs::path& file) {
        std::ifstream stream(file);
        return {std::istreambuf_iterator<char>(stream), {}};
    }
    static fs::perms Mode(const fs::path& file) { return fs::status(file).permissions(); }

    const TestFolder m_own;
    const fs::path m_folder = m_own.Path();
    const fs::path m_former = m_folder / "state" / "bmhost";
    const fs::path m_storage = m_folder / "lib" / "bmhost";
    std::string m_said; ///< the log's last line
    bmhost::LogEar m_ear{[this](int, const std::string&, const std::string& text) { m_said = text; }};
};

TEST_F(TakenOver, FilesAreCopiedWithTheirModesIntoAFolderForTheOwnerOnly) {
    Write(m_former / "addresses.xml", "a");
    Write(m_former / "ports.xml", "p");
    fs::permissions(m_former / "addresses.xml", fs::perms::owner_read | fs::perms::owner_write);
    EXPECT_TRUE(TakeStorageOver(m_former, m_storage));
    EXPECT_EQ("a", Text(m_storage / "addresses.xml"));
    EXPECT_EQ("p", Text(m_storage / "ports.xml"));
    EXPECT_EQ(fs::perms::owner_read | fs::perms::owner_write, Mode(m_storage / "addresses.xml"));
    EXPECT_EQ(fs::perms::owner_all, Mode(m_storage));
    EXPECT_EQ("a", Text(m_former / "addresses.xml"));
    EXPECT_EQ("The storage is in " + m_storage.native() + " now; the files of " + m_former.native() +
                  " were taken over",
              m_said);
}

TEST_F(TakenOver, AFolderThatSomebodyMadeKeepsItsMode) {
    Write(m_former / "addresses.xml", "a");
    fs::create_directories(m_storage);
    fs::permissions(m_storage, fs::perms::owner_all | fs::perms::group_read);
    EXPECT_TRUE(TakeStorageOver(m_former, m_storage));
    EXPECT_EQ(fs::perms::owner_all | fs::perms::group_read, Mode(m_storage));
}

TEST_F(TakenOver, WhatIsMadeIsWrittenByItsOwnerAloneWhateverTheUmask) {
    Write(m_former / "addresses.xml", "a");
    const mode_t former = umask(0);
    EXPECT_TRUE(TakeStorageOver(m_former, m_storage));
    umask(former);
    EXPECT_EQ(fs::perms::owner_all, Mode(m_storage));
    EXPECT_EQ(fs::perms::owner_all, Mode(m_storage.parent_path()));
    EXPECT_EQ(fs::perms{0600}, Mode(m_storage / ".taken-over"));
}

TEST_F(TakenOver, NothingIsWrittenThroughNamesThatAreThere) {
    for (const char* const name : {".addresses.xml.new", ".taken-over"}) {
        SCOPED_TRACE(name);
        const fs::path storage = m_folder / ("storage of " + std::string(name));
        const fs::path other = storage.native() + " other";
        Write(m_former / "addresses.xml", "a");
        fs::create_directories(storage);
        if (name[1] == 'a') Write(other, "somebody's");
        fs::create_symlink(other, storage / name);
        TakeStorageOver(m_former, storage);
        EXPECT_EQ(name[1] == 'a' ? "somebody's" : "", Text(other));
        EXPECT_EQ(name[1] == 'a', fs::exists(other));
    }
}

TEST_F(TakenOver, OnlyOnce) {
    Write(m_former / "addresses.xml", "a");
    EXPECT_TRUE(TakeStorageOver(m_former, m_storage));
    fs::remove(m_storage / "addresses.xml");
    EXPECT_FALSE(TakeStorageOver(m_former, m_storage));
    EXPECT_FALSE(fs::exists(m_storage / "addresses.xml"));
}

TEST_F(TakenOver, NothingWhereTheStorageIsInUse) {
    Write(m_former / "addresses.xml", "former");
    fs::create_directories(m_storage);
    Write(m_storage / "ports.xml", "p");
    EXPECT_FALSE(TakeStorageOver(m_former, m_storage));
    EXPECT_FALSE(fs::exists(m_storage / "addresses.xml"));
}

TEST_F(TakenOver, NothingWithoutAFormerFolder) {
    EXPECT_FALSE(TakeStorageOver(m_folder / "none", m_storage));
    EXPECT_FALSE(fs::exists(m_storage));
}

TEST_F(TakenOver, NeitherLinksNorHiddenFiles) {
    Write(m_former / "addresses.xml", "a");
    Write(m_former / ".lock", "l");
    fs::create_symlink("/etc/hostname", m_former / "link.xml");
    EXPECT_TRUE(TakeStorageOver(m_former, m_storage));
    EXPECT_FALSE(fs::exists(m_storage / ".lock"));
    EXPECT_FALSE(fs::exists(fs::symlink_status(m_storage / "link.xml")));
}

TEST_F(TakenOver, WhatCannotBeTakenOverIsSaidAndHarmsNothing) {
    Write(m_former / "addresses.xml", "a");
    Write(m_folder / "lib", "a file in the folder's place");
    EXPECT_FALSE(TakeStorageOver(m_former, m_storage));
    EXPECT_EQ("a", Text(m_former / "addresses.xml"));
    EXPECT_EQ(0U, m_said.find("The storage in " + m_former.native() + " is not taken over into ")) << m_said;
}

} // namespace
