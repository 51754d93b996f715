// What the journal has of the orders that the web door passes on.
#include "host/web/serve/DoorJournal.h"

#include <gtest/gtest.h>

namespace {

using namespace bmhost;

TEST(DoorJournal, AnOrderThatWasCarriedOutHasOperationBayAndResult) {
    const JournalNote note =
        NoteOfAnswer("anna (192.0.2.7)", {200, {{"order", "led-set"}, {"result", 0}, {"good", true}, {"bay", 3}}});
    EXPECT_EQ("led-set", note.m_operation);
    EXPECT_EQ("anna (192.0.2.7)", note.m_asker);
    EXPECT_EQ("order led-set of anna (192.0.2.7): result 0", note.m_text);
    EXPECT_EQ(3, note.m_bay);
    EXPECT_EQ(0, note.m_result);
    EXPECT_TRUE(note.m_good);
}

TEST(DoorJournal, ACallIsNamedByItsOperation) {
    const JournalNote note = NoteOfAnswer("anna (192.0.2.7)", {200, {{"op", "write"}, {"result", 1}}});
    EXPECT_EQ("order write of anna (192.0.2.7): result 1", note.m_text);
}

TEST(DoorJournal, AnOrderThatFailedIsNoGoodOne) {
    const JournalNote note =
        NoteOfAnswer("anna (192.0.2.7)", {200, {{"order", "start"}, {"result", 0x30012}, {"good", false}}});
    EXPECT_FALSE(note.m_good);
    EXPECT_EQ(0x30012, note.m_result);
}

TEST(DoorJournal, WhatTheHostRefusesIsNamedWithItsReason) {
    const JournalNote note = NoteOfAnswer(
        "anna (192.0.2.7)",
        {409, {{"error", {{"operation", "led-set"}, {"value", "9"}, {"reason", "there is\nno such LED"}}}}});
    EXPECT_EQ("led-set", note.m_operation);
    EXPECT_EQ("order led-set of anna (192.0.2.7): answered with 409, there is?no such LED", note.m_text);
    EXPECT_FALSE(note.m_good);
    EXPECT_FALSE(note.m_result);
}

TEST(DoorJournal, AnAnswerThatIsNoneIsNotTakenForOne) {
    for (const nlohmann::ordered_json& body :
         {nlohmann::ordered_json(), nlohmann::ordered_json("text"), nlohmann::ordered_json::array({1}),
          nlohmann::ordered_json({{"error", 5}})})
        EXPECT_EQ("order of anna (192.0.2.7): answered with 502", NoteOfAnswer("anna (192.0.2.7)", {502, body}).m_text);
}

} // namespace
