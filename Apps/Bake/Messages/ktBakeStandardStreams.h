// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

#include <optional>
#include <QTemporaryDir>
#include <string>

struct ktBakeOptions;

/// Standard input as SCENE and standard output as `--output`, both called "-". The data passes through temporary files,
/// because a .glb file is read and written at any place of it.
class ktBakeStandardStreams {
public:
    ktBakeStandardStreams() = default;
    ~ktBakeStandardStreams();
    ktBakeStandardStreams(const ktBakeStandardStreams&) = delete;
    ktBakeStandardStreams& operator=(const ktBakeStandardStreams&) = delete;

    /// Reads standard input if the scene is "-". Keeps standard output for the baked scene if the output is "-"; what
    /// is printed from now on goes to standard error. The options then name the temporary files.
    /// @return exit code; logs the reason of a failure
    int begin(ktBakeOptions& options);
    /// Copies the baked scene to standard output, if begin() kept it.
    /// @return exit code; logs the reason of a failure
    int end();

private:
    int input = -1, output = -1; // descriptors; -1: not used
    std::optional<QTemporaryDir> folder;
    std::string outputFile;

    std::string readInput(); // the reason of a failure
};
