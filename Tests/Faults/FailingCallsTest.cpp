// SPDX-License-Identifier: LGPL-2.1-or-later
// ktbake with failing calls of the system: each run ends soon, with a right exit code and message, and the old or the
// new file. The environment variable KT_FAULTS_STEP=1 tests every call, instead of a sample.
#include "ktFaultyBake.h"

#include <cerrno>
#include <gtest/gtest.h>
#include <iostream>

namespace {

struct Call {
    const char* name;
    std::vector<int> errors;
};

const std::vector<Call> calls = {
    {"open", {EMFILE, EACCES}}, {"mmap", {ENOMEM}},        {"write", {ENOSPC, EIO}},    {"fsync", {EIO}},
    {"close", {EIO}},           {"rename", {EIO, EACCES}}, {"pthread_create", {EAGAIN}}};

/// Lets each call fail once, and all from it on.
void check(const std::string& scene, const std::vector<std::string>& options, const std::vector<Call>& tested) {
    const char* const given = std::getenv("KT_FAULTS_STEP"); // NOLINT(concurrency-mt-unsafe)
    const long step = given ? std::max(1L, std::atol(given)) : 8;
    ktFaultyBake bake(KT_FAILING_CALLS, scene, options);
    long place = 0; // the sample is spread over the calls
    for (const Call& call : tested) {
        const std::string name = std::string("KT_FAULT_CALL=") + call.name;
        const long count = bake.prepare("KT_FAULT_TOTAL", {name});
        EXPECT_GT(count, 0) << call.name;
        int baked = 0, failed = 0;
        for (const int error : call.errors)
            for (const char* howMany : {"1", "1000000000"})
                for (long from = 0; from < count; ++from) {
                    if (place++ % step != 0)
                        continue;
                    const ktWatchedResult result =
                        bake.run({name, "KT_FAULT_FROM=" + std::to_string(from),
                                  "KT_FAULT_COUNT=" + std::string(howMany), "KT_FAULT_ERRNO=" + std::to_string(error)});
                    bake.expectRightEnd(result, std::string(call.name) + " " + std::to_string(from) + ", " + howMany +
                                                    " fail with error " + std::to_string(error) + ": " + result.error);
                    ++(result.exitCode == 0 ? baked : failed);
                }
        std::cout << call.name << ": " << baked + failed << " of " << 2 * count * static_cast<long>(call.errors.size())
                  << " failures tested, " << baked << " baked all the same, " << failed << " ended with a message\n";
    }
}

} // namespace

TEST(FailingCalls, GivenSmallBake_EndsWithAMessageOrTheWholeFile) {
    check(model("glTF2/BoxTextured-glTF-Binary/BoxTextured.glb"),
          {"--preview", "p.png", "--preview-size", "32x32", "--stats", "s.json"}, calls);
}

TEST(FailingCalls, GivenImport_EndsWithAMessageOrTheWholeFile) {
    check(model("OBJ/box.obj"), {"--json"}, {{"open", {EMFILE}}, {"close", {EIO}}, {"mmap", {ENOMEM}}});
}
