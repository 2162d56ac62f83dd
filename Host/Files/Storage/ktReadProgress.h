// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

#include <cstddef>
#include <functional>

/// Tells the caller how much of a file is read. During the lifetime of an object, readers on the same thread tell their
/// share. Main functions of reading choose the stages. May be nested.
class ktReadProgress {
public:
    /// @param told called on the same thread with the share that is done, 0 to 1; never with a smaller one than before.
    ///             May be empty
    explicit ktReadProgress(std::function<void(double)> told);
    ~ktReadProgress();
    ktReadProgress(const ktReadProgress&) = delete;
    ktReadProgress& operator=(const ktReadProgress&) = delete;

    /// What follows is this part of the work.
    static void beginStage(double begin, double end);
    /// So much of the stage is done. Does nothing without an object.
    static void tell(std::size_t done, std::size_t all);

private:
    const std::function<void(double)> told;
    ktReadProgress* const outer;
    double stageBegin = 0, stageEnd = 1, last = 0;
};
