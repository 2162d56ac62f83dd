// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

#include <functional>
#include <stdexcept>

/// Lets the caller end the reading or writing of a file. During the lifetime of an object, readers and writers on the
/// same thread ask `isInterrupted` from time to time. May be nested.
class ktReadInterrupt {
public:
    /// Leaves the reading or writing. Only ktSceneFile catches it; unlike a ktFileError it is no reason to leave out a
    /// part.
    class Interrupted : public std::runtime_error {
    public:
        explicit Interrupted(const char* what = "was not read: interrupted") : std::runtime_error(what) {}
    };

    /// @param isInterrupted may be empty: then nothing ends it
    /// @param what          the reason that the caller gives for the end; a text that is never destroyed
    explicit ktReadInterrupt(std::function<bool()> isInterrupted, const char* what = "was not read: interrupted");
    ~ktReadInterrupt();
    ktReadInterrupt(const ktReadInterrupt&) = delete;
    ktReadInterrupt& operator=(const ktReadInterrupt&) = delete;

    /// Whether somebody may end it.
    static bool isPossible();
    /// Whether it is to end.
    static bool isRequested();
    /// Throws Interrupted if it is to end.
    static void check();

private:
    std::function<bool()> isInterrupted;
    const char* const what;
    ktReadInterrupt* const outer;
};
