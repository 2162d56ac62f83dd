// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

#include <chrono>
#include <memory>
#include <vector>

/// The bytes of one message. Shared, so that a message to all ranks exists once.
using ktMessageBytes = std::shared_ptr<const std::vector<char>>;

/// Carries messages between the ranks of a bake: processes with the numbers 0 to size() - 1. Messages of one rank to
/// another arrive whole and in the order in which they were sent.
class ktTransport {
public:
    virtual ~ktTransport() = default;
    ktTransport() = default;
    ktTransport(const ktTransport&) = delete;
    ktTransport& operator=(const ktTransport&) = delete;

    virtual int rank() const = 0;
    virtual int size() const = 0;
    /// Sends a message soon; does not wait. Any thread. A message to a rank that has ended is lost.
    virtual void send(int to, ktMessageBytes message) = 0;
    /// Sends a message to all other ranks. A long one goes through memory that they share, or they pass it on to each
    /// other. In order with those of send(). Only rank 0. Any thread.
    virtual void broadcast(ktMessageBytes message) = 0;
    /// Waits for the next message from any rank. One thread at a time.
    /// @return false if none came in time
    virtual bool receive(int& from, std::vector<char>& message, std::chrono::milliseconds longest) = 0;
    /// Whether threads of this process wait for a message. Then it looks for messages all the time; otherwise seldom,
    /// because that takes time from the threads that trace. Any thread.
    virtual void setWaiting(bool isWaiting) { static_cast<void>(isWaiting); }
    /// Sends and receives what is there, if it was not done a moment ago. For threads that trace, between two batches:
    /// it costs less than a change to another thread. Any thread.
    virtual void look() {}
    /// Ends the connection in order, when all ranks call this: waits until all messages are sent.
    /// Neither send() nor receive() may follow.
    virtual void finish() = 0;
    /// Ends all ranks at once, whatever they do. The calling process ends with this exit code. May return, if the ranks
    /// are threads of one process.
    virtual void abort(int exitCode) = 0;
};
