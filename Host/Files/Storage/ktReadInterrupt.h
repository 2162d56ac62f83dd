// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

#include <functional>
#include <stdexcept>

/// Lets the caller end the reading of a file. During the lifetime of an object, the readers ask `isInterrupted` from
/// time to time. Main thread only; may be nested.
class ktReadInterrupt {
public:
    /// Leaves the reading. Only ktSceneFile catches it; unlike a ktFileError it is no reason to leave out a part.
    class Interrupted : public std::runtime_error {
    public:
        Interrupted() : std::runtime_error("was not read: interrupted") {}
    };

    /// @param isInterrupted may be empty: then nothing ends the reading
    explicit ktReadInterrupt(std::function<bool()> isInterrupted);
    ~ktReadInterrupt();
    ktReadInterrupt(const ktReadInterrupt&) = delete;
    ktReadInterrupt& operator=(const ktReadInterrupt&) = delete;

    /// Whether somebody may end the reading.
    static bool isPossible();
    /// Whether the reading is to end.
    static bool isRequested();
    /// Throws Interrupted if the reading is to end.
    static void check();

private:
    std::function<bool()> isInterrupted;
    ktReadInterrupt* const outer;
};
