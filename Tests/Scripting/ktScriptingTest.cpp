// SPDX-License-Identifier: LGPL-2.1-or-later
// The embedded interpreter: hooks, namespace, errors, restarts.
#include "ktScripting.h"
#include "ktAmbientOcclusion.h"
#include "ktLogOutput.h"
#include "ktPythonInit.h"
#include "ktScript.h"
#include "ktUndoStack.h"

#include <chrono>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <string>
#include <thread>
#include <unistd.h>
#include <vector>

using testing::Contains;
using testing::HasSubstr;

namespace {

std::vector<bool> hookCalls;

void recordHook(bool destroy) {
    hookCalls.push_back(destroy);
}

class Scripting : public testing::Test {
protected:
    Scripting() {
        ktLogOutput::setSink([this](ktLogLevel, const std::string& line) { log.push_back(line); });
        // The linker drops a library that is not used.
        ktAmbientOcclusion::the();
        ktScripting::start();
    }
    ~Scripting() override {
        ktScripting::stop();
        ktLogOutput::setSink({});
    }

    static bool holds(const std::string& condition) {
        return ktScripting::runStatements("assert " + condition).succeeded;
    }

    std::vector<std::string> log;
};

} // namespace

TEST_F(Scripting, GivenAStart_HasThePluginsNamesInTheMainNamespace) {
    EXPECT_TRUE(holds("KT_AO_MODE_CLASSIC == 0 and KT_AO_MODE_SHADOWS == 1 and KT_AO_MODE_LIGHT_AND_SHADOWS == 2"));
    EXPECT_TRUE(holds("callable(computeAmbientOcclusion) and callable(ktAmbientOcclusion.getAmbientOcclusionMode)"));
}

TEST_F(Scripting, GivenARestart_EmptiesTheNamespaceAndBringsThePluginsNamesBack) {
    ASSERT_TRUE(ktScript::run("leftover = 1\nKT_AO_MODE_SHADOWS = 7"));
    ktScripting::restart();
    EXPECT_FALSE(ktScript::run("leftover"));
    EXPECT_TRUE(holds("KT_AO_MODE_SHADOWS == 1"));
}

TEST_F(Scripting, GivenStatements_ShareOneNamespace) {
    ASSERT_TRUE(ktScript::run("x = 20"));
    ASSERT_TRUE(ktScript::run("y = x + 1"));
    EXPECT_TRUE(holds("y == 21 and __name__ == '__main__'"));
}

TEST_F(Scripting, GivenAnError_LogsTheTracebackAndFails) {
    EXPECT_FALSE(ktScript::run("def f():\n    return 1 / 0\nf()"));
    EXPECT_THAT(log, Contains(HasSubstr("Traceback")));
    EXPECT_THAT(log, Contains(HasSubstr("ZeroDivisionError")));
    EXPECT_FALSE(ktScript::run("this is no python"));
    EXPECT_THAT(log, Contains(HasSubstr("SyntaxError")));
    EXPECT_TRUE(ktScript::run("pass"));
}

TEST_F(Scripting, GivenSysExit_EndsTheScriptAndNotTheHost) {
    EXPECT_TRUE(ktScript::run("import sys\nsys.exit()"));
    EXPECT_TRUE(ktScript::run("sys.exit(0)"));
    const ktScripting::Result result = ktScripting::runStatements("sys.exit(3)");
    EXPECT_FALSE(result.succeeded);
    EXPECT_EQ(result.exitCode, 3);
    EXPECT_FALSE(ktScript::run("sys.exit('no light')"));
    EXPECT_THAT(log, Contains(HasSubstr("no light")));
}

TEST_F(Scripting, GivenAnEndlessLoop_CanBeInterrupted) {
    std::thread impatient([] {
        std::this_thread::sleep_for(std::chrono::milliseconds(100));
        ktScripting::interrupt();
    });
    EXPECT_FALSE(ktScript::run("while True: pass"));
    impatient.join();
    EXPECT_THAT(log, Contains(HasSubstr("KeyboardInterrupt")));
}

TEST_F(Scripting, GivenASleep_IsInterruptedAtOnce) {
    std::thread impatient([] {
        std::this_thread::sleep_for(std::chrono::milliseconds(100));
        ktScripting::interrupt();
    });
    EXPECT_FALSE(ktScript::run("import time\ntime.sleep(200)"));
    impatient.join();
    EXPECT_THAT(log, Contains(HasSubstr("KeyboardInterrupt")));
}

TEST_F(Scripting, GivenInterruptsBetweenScripts_ForgetsThem) {
    ktScripting::interrupt();
    std::thread([] { ktScripting::interrupt(); }).join();
    EXPECT_TRUE(ktScript::run("for i in range(1000): pass"));
}

TEST_F(Scripting, GivenManyInterrupts_EndsEachScriptAndNeverHangs) {
    for (int i = 0; i < 50; ++i) {
        std::thread impatient([i] {
            std::this_thread::sleep_for(std::chrono::microseconds(37 * i));
            ktScripting::interrupt();
        });
        ktScript::run("n = 0\nwhile n < 100000: n += 1"); // may end before the interrupt
        impatient.join();
        ASSERT_TRUE(ktScript::run("pass")) << i;
    }
}

TEST_F(Scripting, GivenAFile_SetsArgumentsAndFindsModulesBesideIt) {
    const std::string folder = testing::TempDir() + "ktScripting" + std::to_string(getpid());
    ASSERT_TRUE(std::filesystem::create_directories(folder));
    std::ofstream(folder + "/neighbour.py") << "value = 5\n";
    std::ofstream(folder + "/script.py") << "import sys, neighbour\n"
                                            "arguments = sys.argv[1:]\nvalue = neighbour.value\n";
    EXPECT_TRUE(ktScripting::runFile(folder + "/script.py", {"a", "b c"}).succeeded);
    EXPECT_TRUE(holds("arguments == ['a', 'b c'] and value == 5"));
    EXPECT_FALSE(ktScripting::runFile(folder + "/missing.py", {}).succeeded);
    EXPECT_THAT(log, Contains(HasSubstr("missing.py")));
}

TEST_F(Scripting, GivenAHook_CallsItAtOnceAtEveryStartAndAtTheEnd) {
    hookCalls.clear();
    {
        const ktPythonInit hook(&recordHook);
        EXPECT_EQ(hookCalls, std::vector<bool>{false});
        ktScripting::restart();
        EXPECT_EQ(hookCalls, (std::vector<bool>{false, true, false}));
    }
    ktScripting::restart();
    EXPECT_EQ(hookCalls.size(), 3u);
}

TEST_F(Scripting, GivenTheEnd_ThePluginSaysSo) {
    testing::internal::CaptureStdout();
    ktScripting::stop();
    EXPECT_EQ(testing::internal::GetCapturedStdout(), "pythonInit: destroy ktAmbientOcclusion!\n");
    EXPECT_FALSE(ktScript::run("pass")) << "scripting is not running";
}

TEST_F(Scripting, GivenTheModeFunctions_RefuseWhatIsNoModeAndLeaveUnchangedOnesAlone) {
    ktUndoStack* const stack = ktUndoStack::get(0);
    stack->clear();
    EXPECT_TRUE(ktScript::run("setAmbientOcclusionMode(3)\nsetAmbientOcclusionMode(-1)"));
    EXPECT_THAT(log, Contains("Unknown ambient occlusion mode").Times(2));
    EXPECT_TRUE(ktScript::run("setAmbientOcclusionMode(getAmbientOcclusionMode())"));
    EXPECT_EQ(stack->count(), 0);
    EXPECT_TRUE(ktScript::run("setAmbientOcclusionMode(mode=KT_AO_MODE_LIGHT_AND_SHADOWS)"));
    EXPECT_TRUE(holds("getAmbientOcclusionMode() == 2"));
    EXPECT_EQ(stack->count(), 1);
    stack->undo();
    EXPECT_TRUE(holds("getAmbientOcclusionMode() == 0"));
}
