// SPDX-License-Identifier: LGPL-2.1-or-later
// Undo commands that set a member and call a method.
#include "ktControllerFixture.h"
#include "ktInvokePValUndoCommand.h"

using testing::ElementsAre;
using testing::IsEmpty;

namespace {

using Command = ktInvokePValUndoCommand<float>;

/// A command that gives access to its time of change.
class OpenCommand : public Command {
public:
    using Command::Command;
    qint64 changeTime() const { return changeTime_ms; }
};

class UndoCommands : public ktControllerFixture {
protected:
    QObject* object() { return &controller; }
    float value = 1.0f;
    float otherValue = 1.0f;
};

} // namespace

TEST_F(UndoCommands, GivenNormalizedSignature_WritesThenInvokes) {
    float seen = 0;
    host.onEntry = [&](const std::string&) { seen = value; };
    Command command("Label", 2.0f, object(), "minDistanceChanged(float)", nullptr, &value);
    EXPECT_EQ(command.text(), "Label");
    EXPECT_EQ(value, 1.0f) << "the constructor writes nothing";
    command.redo();
    EXPECT_EQ(value, 2.0f);
    EXPECT_EQ(seen, 2.0f) << "the member is written before the method is called";
    EXPECT_THAT(log, ElementsAre("signal minDistanceChanged(2)"));
    command.undo();
    EXPECT_EQ(value, 1.0f);
    command.undo();
    EXPECT_EQ(value, 2.0f) << "undo and redo are one operation";
    EXPECT_THAT(log, ElementsAre("signal minDistanceChanged(2)", "signal minDistanceChanged(1)",
                                 "signal minDistanceChanged(2)"));
}

TEST_F(UndoCommands, GivenSignatureWithBlanks_IsFound) {
    Command command("Label", 2.0f, object(), "  minDistanceChanged ( float ) ", nullptr, &value);
    command.redo();
    EXPECT_THAT(log, ElementsAre("signal minDistanceChanged(2)"));
}

TEST_F(UndoCommands, GivenUnknownMethod_LogsOnceAndStillWrites) {
    Command command("Label", 2.0f, object(), "nothing( float )", nullptr, &value);
    EXPECT_THAT(log, ElementsAre("error: Method not found: ktAmbientOcclusion::nothing(float)"));
    command.redo();
    EXPECT_EQ(value, 2.0f);
    command.undo();
    EXPECT_EQ(value, 1.0f);
    EXPECT_EQ(log.size(), 1u);
}

TEST_F(UndoCommands, GivenMethodWithoutParameter_InvokesItWithoutArgument) {
    Command command("Label", 2.0f, object(), "calculationCanceled()", nullptr, &value);
    command.redo();
    EXPECT_EQ(value, 2.0f);
    EXPECT_THAT(log, ElementsAre("signal calculationCanceled()"));
}

TEST_F(UndoCommands, GivenMethodWithTwoParameters_LogsEachFailedCallAndStillSwaps) {
    Command command("Label", 2.0f, object(), "stateChanged(ktAmbientOcclusion::CalculationState,uint)", nullptr,
                    &value);
    EXPECT_THAT(log, IsEmpty());
    command.redo();
    EXPECT_EQ(value, 2.0f);
    command.undo();
    EXPECT_EQ(value, 1.0f);
    EXPECT_THAT(log, testing::Each("error: Could not invoke: "
                                   "ktAmbientOcclusion::stateChanged(ktAmbientOcclusion::CalculationState,uint)"));
    EXPECT_EQ(log.size(), 2u);
}

TEST_F(UndoCommands, GivenNullPointer_InvokesAndWritesNothing) {
    Command command("Label", 2.0f, object(), "minDistanceChanged(float)", nullptr, nullptr);
    command.redo();
    command.undo();
    EXPECT_THAT(log, ElementsAre("signal minDistanceChanged(2)", "signal minDistanceChanged(2)"));
}

TEST_F(UndoCommands, GivenSameMethodAndMember_Merge) {
    OpenCommand first("Label", 2.0f, object(), "minDistanceChanged(float)", nullptr, &value);
    OpenCommand second("Label", 3.0f, object(), "minDistanceChanged(float)", nullptr, &value);
    first.redo();
    second.redo();
    ASSERT_NE(first.changeTime(), second.changeTime());
    EXPECT_TRUE(first.canMergeWith(&second));
    EXPECT_TRUE(first.mergeWith(&second));
    EXPECT_EQ(first.changeTime(), second.changeTime()) << "the time of the other command is taken over";
    first.undo();
    EXPECT_EQ(value, 1.0f) << "undo restores the value before the first change";
    first.redo();
    EXPECT_EQ(value, 3.0f);
}

TEST_F(UndoCommands, GivenOtherMethodMemberOrObject_DoNotMerge) {
    OpenCommand first("Label", 2.0f, object(), "minDistanceChanged(float)", nullptr, &value);
    const qint64 time = first.changeTime();
    Command otherMethod("Label", 3.0f, object(), "maxDistanceChanged(float)", nullptr, &value);
    Command otherMember("Label", 3.0f, object(), "minDistanceChanged(float)", nullptr, &otherValue);
    const auto otherController = Access::make();
    Command otherObject("Label", 3.0f, otherController, "minDistanceChanged(float)", nullptr, &value);
    for (const Command* other : {&otherMethod, &otherMember, &otherObject}) {
        EXPECT_FALSE(first.canMergeWith(other));
        EXPECT_FALSE(first.mergeWith(other));
    }
    EXPECT_EQ(first.changeTime(), time);
    Access::destroy(otherController);
}

TEST_F(UndoCommands, GivenOneType_ShareOneId) {
    Command first("Label", 2.0f, object(), "minDistanceChanged(float)", nullptr, &value);
    Command second("Other", 2.0f, object(), "maxDistanceChanged(float)", nullptr, &otherValue);
    int number = 0;
    ktInvokePValUndoCommand<int> integer("Label", 2, object(), "shadowQualityCommand()", nullptr, &number);
    EXPECT_EQ(first.id(), second.id());
    EXPECT_EQ(first.id(), ktInvokeValueUndoBase<float>::commandId());
    EXPECT_NE(first.id(), integer.id());
    EXPECT_NE(first.id(), -1);
}

TEST_F(UndoCommands, GivenWrongTypeName_IsNotCheckedAtConstruction) {
    int number = 1;
    ktInvokePValUndoCommand<int> command("Label", 2, object(), "indirectIlluminationChanged(bool)", nullptr, &number);
    EXPECT_THAT(log, IsEmpty());
    EXPECT_EQ(number, 1);
}

TEST_F(UndoCommands, GivenParent_BelongsToIt) {
    QUndoCommand macro;
    auto* child = new Command("Label", 2.0f, object(), "minDistanceChanged(float)", &macro, &value);
    EXPECT_EQ(macro.childCount(), 1);
    EXPECT_EQ(macro.child(0), child);
}

namespace {

/// Overrides only setValue(), so that the table has the base's entries.
struct SlotOrder : ktInvokeValueUndoBase<int> {
    using ktInvokeValueUndoBase<int>::ktInvokeValueUndoBase;
    void setValue(const int&, int&) override {}
};

using VirtualCall = void (*)(void*);

/// An entry of an object's virtual table; the first two are destructors.
VirtualCall slotOf(const void* object, int slot) {
    return (*static_cast<VirtualCall* const*>(object))[slot];
}

} // namespace

// A separately built host calls through the table, so the order is part of the interface.
TEST_F(UndoCommands, GivenVirtualTable_ExtendsTheBasesInOrder) {
    int number = 1;
    const ktInvokePValUndoCommand<int> derived("Label", 2, object(), "shadowQualityCommand()", nullptr, &number);
    const SlotOrder base("Label", 2, object(), "shadowQualityCommand()", nullptr);
    const ktUndoCommand hostCommand("Label");
    enum { Undo = 2, Redo, Id, MergeWith, MakeMessage, CanMergeWith, SetValue };
    EXPECT_EQ(slotOf(&derived, Undo), slotOf(&base, Undo)) << "undo() is the base's";
    EXPECT_EQ(slotOf(&derived, Redo), slotOf(&base, Redo));
    EXPECT_EQ(slotOf(&derived, Id), slotOf(&base, Id));
    EXPECT_EQ(slotOf(&derived, MergeWith), slotOf(&base, MergeWith));
    EXPECT_EQ(slotOf(&derived, MakeMessage), slotOf(&hostCommand, MakeMessage)) << "makeMessage() is the host's";
    EXPECT_NE(slotOf(&base, CanMergeWith), slotOf(&hostCommand, CanMergeWith));
    EXPECT_NE(slotOf(&derived, CanMergeWith), slotOf(&base, CanMergeWith));
    EXPECT_NE(slotOf(&derived, SetValue), slotOf(&base, SetValue));
}
