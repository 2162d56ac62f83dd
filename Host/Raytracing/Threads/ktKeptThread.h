// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

/// Threads that stay for the next task: a thread that ends gives back memory that it needs to throw an exception or to
/// build a structure, and without that memory the C library ends the process. They never end. Thread-safe.
class ktKeptThread {
public:
    class Task {
    public:
        virtual ~Task() = default;
        /// Runs on the thread, and calls giveBack() once near its end. The thread does not use the task afterwards, so
        /// others may destroy it as soon as it tells them that it has ended.
        virtual void execute() noexcept = 0;

    protected:
        /// The next task may take the thread once this one ends; call it before others know that it ends, as they may
        /// have the next one ready.
        void giveBack() noexcept;

    private:
        friend class ktKeptThread;
        void* thread = nullptr;
    };

    /// Runs a task on a thread that has none, or on a new one. The caller keeps the task until it has ended.
    /// @throws std::system_error, std::bad_alloc if no thread can be started
    static void start(Task& task);

    ktKeptThread() = delete;
};
