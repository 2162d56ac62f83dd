// SPDX-License-Identifier: LGPL-2.1-or-later
// Tests how messages store values, keep the order of names, and print the call stack.
#include "ktMessage.h"

#include <gmock/gmock.h>

using testing::ElementsAre;
using testing::IsEmpty;

TEST(Message, GivenUnknownName_GetsAnEmptyValue) {
    EXPECT_TRUE(ktMessage().get("nothing").empty());
}

TEST(Message, GivenNames_KeepsTheOrderOfTheFirstSet) {
    ktMessage message;
    message.set("b", 1, true);
    message.set("a", 2, true);
    message.set("b", std::string("again"), true);
    EXPECT_THAT(message.names(), ElementsAre("b", "a"));
    EXPECT_EQ(boost::any_cast<std::string>(message.get("b")), "again");
    EXPECT_THAT(ktMessage().names(), IsEmpty());
}

TEST(Message, GivenNoOverwriting_KeepsTheOldValue) {
    ktMessage message;
    EXPECT_TRUE(message.set("a", 1, false));
    EXPECT_FALSE(message.set("a", 2, false));
    EXPECT_EQ(boost::any_cast<int>(message.get("a")), 1);
    EXPECT_TRUE(message.set("a", 3, true));
    EXPECT_EQ(boost::any_cast<int>(message.get("a")), 3);
}

TEST(Message, GivenPrintBT_WritesFramesToStandardError) {
    testing::internal::CaptureStderr();
    ktMessage::printBT();
    EXPECT_FALSE(testing::internal::GetCapturedStderr().empty());
}
