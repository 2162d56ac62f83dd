// SPDX-License-Identifier: LGPL-2.1-or-later
// Tests undo, redo, merging and macros, and commands that throw.
#include "ktUndoStack.h"

#include "ktLogOutput.h"
#include "ktUndoCommand.h"
#include "ktUndoPause.h"

#include <functional>
#include <gmock/gmock.h>
#include <stdexcept>
#include <string>
#include <vector>

namespace {

// Sets a value like the commands of the settings: undo and redo swap.
class SetValue : public ktUndoCommand {
public:
    SetValue(int newValue, int* target, int commandId, int* deadCommands)
        : ktUndoCommand(QStringLiteral("Set")), value(newValue), live(target), mergeId(commandId), dead(deadCommands) {}
    ~SetValue() override { ++*dead; }
    void redo() override { std::swap(value, *live); }
    void undo() override { redo(); }
    int id() const override { return mergeId; }
    bool mergeWith(const QUndoCommand* other) override {
        return canMergeWith(other) && static_cast<const SetValue*>(other)->live == live;
    }

private:
    int value;
    int* live;
    int mergeId;
    int* dead;
};

class UndoStack : public testing::Test {
protected:
    void SetUp() override { stack->clear(); }
    void TearDown() override {
        stack->clear();
        ktLogOutput::setSink({});
    }
    void set(int value, int& target, int id = -1) { stack->add(new SetValue(value, &target, id, &dead)); }

    ktUndoStack* stack = ktUndoStack::get(0);
    int a = 0;
    int b = 0;
    int dead = 0;
};

} // namespace

TEST_F(UndoStack, GivenOtherIndexThanZero_IsNull) {
    EXPECT_NE(ktUndoStack::get(0), nullptr);
    EXPECT_EQ(ktUndoStack::get(0), ktUndoStack::get(0));
    EXPECT_EQ(ktUndoStack::get(1), nullptr);
    EXPECT_EQ(ktUndoStack::get(-1), nullptr);
}

TEST_F(UndoStack, GivenCommand_AppliesItAtOnceAndUndoesAndRedoes) {
    set(5, a);
    EXPECT_EQ(a, 5);
    stack->undo();
    EXPECT_EQ(a, 0);
    stack->redo();
    EXPECT_EQ(a, 5);
}

TEST_F(UndoStack, GivenNullCommand_IgnoresIt) {
    stack->add(nullptr);
    EXPECT_EQ(stack->count(), 0);
}

TEST_F(UndoStack, GivenMergingCommands_LeavesOneStepAndDeletesTheMerged) {
    set(1, a, 42);
    set(2, a, 42);
    set(3, a, 42);
    EXPECT_EQ(stack->count(), 1);
    EXPECT_EQ(dead, 2);
    stack->undo();
    EXPECT_EQ(a, 0);
    stack->redo();
    EXPECT_EQ(a, 3);
}

TEST_F(UndoStack, GivenCommandsThatRefuseToMerge_KeepsBoth) {
    set(1, a, 42);
    set(2, b, 42); // same id, another target
    set(3, b, 43); // another id
    EXPECT_EQ(stack->count(), 3);
}

TEST_F(UndoStack, GivenNestedMacros_AreOneStep) {
    stack->beginMacro(QStringLiteral("outer"));
    set(1, a);
    stack->beginMacro(QStringLiteral("inner"));
    set(2, b);
    set(3, a);
    stack->endMacro();
    stack->endMacro();
    EXPECT_EQ(stack->count(), 1);
    stack->undo();
    EXPECT_EQ(a, 0);
    EXPECT_EQ(b, 0);
    stack->redo();
    EXPECT_EQ(a, 3);
    EXPECT_EQ(b, 2);
}

TEST_F(UndoStack, GivenNewCommandAfterUndo_DropsWhatCouldBeRedone) {
    set(1, a);
    set(2, a);
    stack->undo();
    set(7, b);
    EXPECT_FALSE(stack->canRedo());
    EXPECT_EQ(dead, 1);
    EXPECT_EQ(a, 1);
}

TEST_F(UndoStack, GivenClear_DeletesCommandsAndLeavesTheValues) {
    set(1, a);
    set(2, b);
    stack->clear();
    EXPECT_EQ(dead, 2);
    EXPECT_EQ(stack->count(), 0);
    EXPECT_EQ(a, 1);
}

TEST_F(UndoStack, GivenPause_AppliesCommandsAndKeepsNone) {
    set(1, a);
    stack->undo();
    {
        const ktUndoPause pause;
        set(2, b);
    }
    EXPECT_EQ(b, 2);
    EXPECT_EQ(dead, 1);
    EXPECT_TRUE(stack->canRedo()) << "the history is as before";
    set(3, b);
    EXPECT_EQ(stack->count(), 1);
}

TEST_F(UndoStack, GivenCommandThatThrows_LogsAndStaysUsable) {
    static QUndoCommand* thrower = nullptr; // the stack does not own it after an exception
    struct Throw : QUndoCommand {
        void redo() override { throw std::runtime_error("no room"); }
    };
    std::vector<std::string> lines;
    ktLogOutput::setSink([&](ktLogLevel, const std::string& line) { lines.push_back(line); });
    thrower = new Throw;
    EXPECT_NO_THROW(stack->add(thrower));
    EXPECT_THAT(lines, testing::ElementsAre(testing::HasSubstr("no room")));
    set(4, a);
    EXPECT_EQ(a, 4);
    delete thrower;
    thrower = nullptr;
}
