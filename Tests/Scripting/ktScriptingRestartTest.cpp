// SPDX-License-Identifier: LGPL-2.1-or-later
// Restarts scripting many times in one process.
#include "ktAmbientOcclusion.h"
#include "ktScript.h"
#include "ktScripting.h"

#include <cstddef>
#include <fstream>
#include <gtest/gtest.h>
#include <unistd.h>

#if defined(__SANITIZE_ADDRESS__)
// Declared here because the sanitizer's headers are not always installed.
extern "C" std::size_t __sanitizer_get_current_allocated_bytes();
extern "C" int __lsan_do_recoverable_leak_check();
#endif

namespace {

/// Resident memory; under the address sanitizer, which frees memory late, the allocated memory.
long usedBytes() {
#if defined(__SANITIZE_ADDRESS__)
    return static_cast<long>(__sanitizer_get_current_allocated_bytes());
#else
    std::ifstream statm("/proc/self/statm");
    long size = 0, resident = 0;
    statm >> size >> resident;
    return resident * sysconf(_SC_PAGESIZE);
#endif
}

/// Runs scripts that leave behind things that leak easily: cycles, classes, the plug-in's modules, files, threads.
void runAndRestart(int count) {
    for (int i = 0; i < count; ++i) {
        ASSERT_TRUE(ktScript::run("import sys, threading\n"
                                  "data = list(range(1000))\n"
                                  "def f(): return f\n"
                                  "class C(object):\n"
                                  "    def __init__(self): self.me = self\n"
                                  "c = C()\n"
                                  "opened = open('/dev/null')\n"
                                  "t = threading.Thread(target=f); t.start(); t.join()\n"
                                  "setAmbientOcclusionMode(getAmbientOcclusionMode())\n"));
        ASSERT_TRUE(ktScript::run("text = computeAmbientOcclusion.__doc__\n"
                                  "try:\n"
                                  "    computeAmbientOcclusion()\n"
                                  "except TypeError:\n"
                                  "    pass\n"));
        ktScripting::restart();
    }
}

} // namespace

TEST(ScriptingRestart, GivenAThousandRestarts_GrowsByLessThanOneMiBAfterTheFirstHundred) {
    testing::internal::CaptureStdout();
    ktAmbientOcclusion::the();
    ktScripting::start();
    runAndRestart(100);
    const long before = usedBytes();
    runAndRestart(900);
    const long grown_bytes = usedBytes() - before;
    ktScripting::stop();
    testing::internal::GetCapturedStdout();
    RecordProperty("grown_bytes", static_cast<int>(grown_bytes));
    EXPECT_LT(grown_bytes, 1 << 20);
#if defined(__SANITIZE_ADDRESS__)
    EXPECT_EQ(__lsan_do_recoverable_leak_check(), 0);
#endif
}
