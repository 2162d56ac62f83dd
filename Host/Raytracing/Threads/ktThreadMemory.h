// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

/// Memory for the thread-local variables of libraries. In a library that a program loads while it runs, a thread gets
/// it at its first use of such a variable, for example when it throws. If there is none then, the C library ends the
/// process. So a thread takes it before it works. Thread-safe.
class ktThreadMemory {
public:
    /// Takes it for the calling thread: that of the C++ library and that of this library. Costs nothing from the second
    /// time on. @return false if memory is short; the thread must not throw then, and may ask again later
    static bool take() noexcept;

    ktThreadMemory() = delete;
};
