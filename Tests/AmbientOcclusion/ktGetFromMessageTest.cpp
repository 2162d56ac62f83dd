// SPDX-License-Identifier: LGPL-2.1-or-later
// Reading typed attributes from messages: missing names and wrong types.
#include "ktGetFromMessage.h"

#include "ktRecordingHost.h"

#include <gmock/gmock.h>

using testing::ElementsAre;
using testing::internal::CaptureStderr;
using testing::internal::GetCapturedStderr;

namespace {

class GetFromMessage : public testing::Test {
protected:
    GetFromMessage() { ktRecordingHost::the().reset(); }

    /// Stores and reads a value of this type, and tries to read a value of another type.
    template <class T>
    void expectTyped(const T& stored, T target) {
        const T before = target;
        message.set("right", stored, true);
        message.set("wrong", 'c', true);
        CaptureStderr();
        EXPECT_TRUE(getFromMessage(message, "right", target));
        EXPECT_EQ(target, stored);
        EXPECT_EQ(GetCapturedStderr(), "");
        target = before;
        CaptureStderr();
        EXPECT_FALSE(getFromMessage(message, "wrong", target));
        EXPECT_EQ(target, before);
        EXPECT_EQ(GetCapturedStderr(),
                  std::string("getFromMessage : Attribute 'wrong' has wrong type (is:'c' != req:'") + typeid(T).name() +
                      "')!\n");
    }

    ktMessage message;
    std::vector<std::string>& log = ktRecordingHost::the().log;
};

} // namespace

TEST_F(GetFromMessage, GivenEveryType_CopiesThatTypeAlone) {
    expectTyped<unsigned long>(7, 1);
    expectTyped<std::vector<std::string>>({"a", "b"}, {"old"});
    expectTyped<std::vector<int>>({1, 2}, {9});
    expectTyped<std::vector<float>>({0.5f}, {9, 9, 9});
    expectTyped<std::vector<bool>>({true, false, true}, {false});
}

TEST_F(GetFromMessage, GivenMissingName_IsSilentAndKeepsTheValue) {
    std::vector<int> value{3};
    CaptureStderr();
    EXPECT_FALSE(getFromMessage(message, "quality", value));
    EXPECT_EQ(GetCapturedStderr(), "");
    EXPECT_THAT(value, ElementsAre(3));
    EXPECT_TRUE(log.empty());
}

TEST_F(GetFromMessage, GivenIntForUnsignedLong_ReportsBothTypesAndTheCallTrace) {
    message.set("AOPreset", 7, true);
    unsigned long value = 5;
    CaptureStderr();
    EXPECT_FALSE(getFromMessage(message, "AOPreset", value));
    EXPECT_EQ(GetCapturedStderr(), "getFromMessage : Attribute 'AOPreset' has wrong type (is:'i' != req:'m')!\n");
    EXPECT_EQ(value, 5u);
    EXPECT_THAT(log, ElementsAre("printBT()"));
}

TEST_F(GetFromMessage, GivenEmptyList_CopiesIt) {
    message.set("name", std::vector<std::string>(), true);
    std::vector<std::string> value{"old"};
    EXPECT_TRUE(getFromMessage(message, "name", value));
    EXPECT_TRUE(value.empty());
}
