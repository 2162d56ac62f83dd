// SPDX-License-Identifier: LGPL-2.1-or-later
// A small bake in which something fails, and what must hold at its end.
#include "ktFaultyBake.h"

#include <algorithm>
#include <cstdlib>
#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace fs = std::filesystem;

using testing::HasSubstr;

namespace {

const std::string old = "old";
constexpr double mostProcessorTime_s = 10; // a whole run takes a tenth of a second

std::vector<std::string> namesIn(const fs::path& folder) {
    std::vector<std::string> names;
    for (const auto& entry : fs::directory_iterator(folder))
        names.push_back(entry.path().filename().string());
    return names;
}

bool has(const std::vector<std::string>& options, const char* name) {
    return std::find(options.begin(), options.end(), name) != options.end();
}

} // namespace

ktFaultyBake::ktFaultyBake(std::string library_, const std::string& scene, const std::vector<std::string>& options)
    : library(std::move(library_)), arguments{scene, "-o", "out.glb", "--gather-quality", "0", "--threads", "2"},
      isJson(has(options, "--json")) {
    arguments.insert(arguments.end(), options.begin(), options.end());
    if (!has(options, "--shadow-quality"))
        arguments.insert(arguments.end(), {"--shadow-quality", "0"});
}

long ktFaultyBake::prepare(const std::string& countVariable, const std::vector<std::string>& environment) {
    std::vector<std::string> all = environment;
    all.push_back(countVariable + "=" + folder.file("count"));
    const ktWatchedResult whole = run(all);
    EXPECT_EQ(whole.exitCode, 0) << whole.error;
    const long count = std::atol(readFile(folder.file("count")).c_str());
    fs::remove(folder.path / "count");
    output = readFile(folder.file("out.glb"));
    picture = readFile(folder.file("p.png"));
    hasStatistics = !readFile(folder.file("s.json")).empty();
    EXPECT_EQ(output.substr(0, 4), "glTF");
    return count;
}

void ktFaultyBake::clean() const {
    fs::remove_all(folder.path / "preferences");
    fs::remove(folder.path / "p.png");
    fs::remove(folder.path / "s.json");
    fs::remove(folder.path / "kept");
    folder.write("out.glb", old);
}

std::vector<std::string> ktFaultyBake::withLibrary(std::vector<std::string> environment) const {
    environment.push_back("LD_PRELOAD=" + library);
    environment.push_back("KT_PREFERENCES_DIR=" + folder.file("preferences/"));
    environment.push_back("TMPDIR=" + folder.path.string());
    return environment;
}

ktWatchedResult ktFaultyBake::run(const std::vector<std::string>& environment) const {
    clean();
    return runWatched(folder.path, KT_BAKE, arguments, withLibrary(environment));
}

ktWatchedResult ktFaultyBake::runForked(long first, long count) {
    clean();
    if (!forked)
        forked = std::make_unique<ktForkedRuns>(folder.path, KT_BAKE, arguments, withLibrary({}));
    return forked->run(first, count);
}

void ktFaultyBake::expectRightEnd(const ktWatchedResult& result, const std::string& which) const {
    EXPECT_THAT(result.exitCode, testing::AnyOf(0, 1, 3, 4)) << which;
    EXPECT_LT(result.processorSeconds, mostProcessorTime_s) << which;
    EXPECT_THAT(namesIn(folder.path), testing::IsSubsetOf({"kept", "out.glb", "p.png", "preferences", "s.json"}))
        << which;
    const std::string found = readFile(folder.file("out.glb")), drawn = readFile(folder.file("p.png")),
                      statistics = readFile(folder.file("s.json"));
    EXPECT_TRUE(found == old || found == output) << which;
    EXPECT_TRUE(drawn.empty() || drawn == picture) << which;
    EXPECT_TRUE(statistics.empty() || statistics.substr(statistics.size() - 2) == "}\n") << which;
    if (result.exitCode == 0) {
        EXPECT_TRUE(found == output && drawn == picture && statistics.empty() == !hasStatistics) << which;
        return;
    }
    EXPECT_THAT(result.error, HasSubstr(isJson ? "\"level\":\"error\"" : "error: ")) << which;
    if (found != old) {
        EXPECT_THAT(result.error, HasSubstr("is written")) << which;
    }
}
