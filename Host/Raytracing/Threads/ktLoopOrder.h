// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

#if defined(__SANITIZE_THREAD__) || defined(KT_THREAD_SANITIZER)
#include <sanitizer/tsan_interface.h>

/// Tells the thread sanitizer, which does not see into TBB and Embree, what a parallel loop of theirs promises: the
/// caller's work before the loop comes before all parts, and all parts come before its work after the loop. The parts
/// have no order among themselves. Lives as long as the loop. Without the sanitizer it does nothing.
class ktLoopOrder {
public:
    ktLoopOrder() { __tsan_release(&begun); }
    ~ktLoopOrder() { end(); }
    ktLoopOrder(const ktLoopOrder&) = delete;
    ktLoopOrder& operator=(const ktLoopOrder&) = delete;

    /// The loop is over. Only needed if the caller's work after it comes before the destructor.
    void end() const { __tsan_acquire(&ended); }

    /// One part of the loop, from its constructor to its destructor.
    class Part {
    public:
        explicit Part(const ktLoopOrder& loop) : ended(loop.ended) { __tsan_acquire(&loop.begun); }
        ~Part() { __tsan_release(&ended); }
        Part(const Part&) = delete;
        Part& operator=(const Part&) = delete;

    private:
        char& ended;
    };

private:
    mutable char begun = 0, ended = 0;
};
#else
struct ktLoopOrder {
    void end() const {}
    struct Part {
        explicit Part(const ktLoopOrder&) {}
        ~Part() {} // so that a part is no unused variable
    };
};
#endif
