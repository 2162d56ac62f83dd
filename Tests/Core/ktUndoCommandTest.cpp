// SPDX-License-Identifier: LGPL-2.1-or-later
// Tests ids, merging, messages and change times of undo commands.
#include "ktUndoCommand.h"

#include "ktMessage.h"

#include <boost/any.hpp>
#include <gtest/gtest.h>
#include <set>
#include <string>
#include <thread>
#include <vector>

namespace {

struct First {};
struct Second {};

class Command : public ktUndoCommand {
public:
    using ktUndoCommand::ktUndoCommand;
    qint64 getChangeTime_ms() const { return changeTime_ms; }
};

} // namespace

TEST(UndoCommand, GivenOneType_IdIsAlwaysTheSameAndNeverMinusOne) {
    const int id = ktUndoCommand::makeId(typeid(First));
    EXPECT_NE(id, -1);
    EXPECT_EQ(ktUndoCommand::makeId(typeid(First)), id);
}

TEST(UndoCommand, GivenTwoTypes_IdsDiffer) {
    EXPECT_NE(ktUndoCommand::makeId(typeid(First)), ktUndoCommand::makeId(typeid(Second)));
}

TEST(UndoCommand, GivenManyThreads_IdsAgree) {
    std::vector<int> ids(8);
    std::vector<std::thread> threads;
    for (int& id : ids)
        threads.emplace_back([&id] { id = ktUndoCommand::makeId(typeid(std::vector<First>)); });
    for (std::thread& thread : threads)
        thread.join();
    EXPECT_EQ(std::set<int>(ids.begin(), ids.end()).size(), 1u);
}

TEST(UndoCommand, GivenAnyOtherCommand_MayMerge) {
    const Command a(QStringLiteral("a"));
    const Command b(QStringLiteral("b"));
    EXPECT_TRUE(a.canMergeWith(&b));
    EXPECT_FALSE(a.canMergeWith(nullptr));
}

TEST(UndoCommand, GivenLabel_MessageHoldsItAsUtf8) {
    const Command command(QString::fromUtf8("Gr\xc3\xb6\xc3\x9f"
                                            "e"));
    ktMessage message;
    command.makeMessage(message);
    EXPECT_EQ(boost::any_cast<std::string>(message.get("text")), "Gr\xc3\xb6\xc3\x9f"
                                                                 "e");
}

TEST(UndoCommand, GivenParent_IsItsChild) {
    QUndoCommand macro;
    auto* const child = new Command(QStringLiteral("child"), &macro);
    EXPECT_EQ(macro.childCount(), 1);
    EXPECT_EQ(macro.child(0), child);
    EXPECT_EQ(child->text(), QStringLiteral("child"));
}

TEST(UndoCommand, GivenTwoCommands_ChangeTimesAreInOrder) {
    const Command earlier(QStringLiteral("a"));
    const Command later(QStringLiteral("b"));
    EXPECT_GT(earlier.getChangeTime_ms(), 1600000000000);
    EXPECT_LE(earlier.getChangeTime_ms(), later.getChangeTime_ms());
}
