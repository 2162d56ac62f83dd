// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

#include "ktBakeProcess.h"
#include "ktForkedRuns.h"

#include <memory>

/// A small bake that does what a first run does, such as writing the presets. It runs many times over an old output,
/// with a library that lets something fail.
class ktFaultyBake {
public:
    /// @param library path of the library to preload
    ktFaultyBake(std::string library, const std::string& scene, const std::vector<std::string>& options);

    /// Runs without failures and keeps the outputs for comparisons.
    /// @param countVariable environment variable that names the file for the library's count
    /// @param environment   others, as "NAME=value"
    /// @return the count
    long prepare(const std::string& countVariable, const std::vector<std::string>& environment = {});

    ktWatchedResult run(const std::vector<std::string>& environment) const;
    /// The same in a process that is loaded once; needs ktFailingAllocations as the library.
    ktWatchedResult runForked(long first, long count);

    /// Expects that the last run did not hang, its exit code is right and it said why it failed; that the output is the
    /// old or the new one as a whole, as the run said; and that no other files are left but a checkpoint "kept".
    /// @param which names the run in messages
    void expectRightEnd(const ktWatchedResult& result, const std::string& which) const;

private:
    void clean() const;
    std::vector<std::string> withLibrary(std::vector<std::string> environment) const;

    ktTestFolder folder;
    std::string library;
    std::vector<std::string> arguments;
    bool isJson;
    std::string output, picture; // without failures; the picture is empty if there is none
    bool hasStatistics = false;
    std::unique_ptr<ktForkedRuns> forked; // null before the first of its runs
};
