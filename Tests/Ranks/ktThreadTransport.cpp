// SPDX-License-Identifier: LGPL-2.1-or-later
// Carries messages between threads that act as ranks.
#include "ktThreadTransport.h"

#include <condition_variable>
#include <deque>
#include <mutex>
#include <utility>

struct ktThreadTransport::Hub {
    std::mutex mutex;
    std::condition_variable changed;
    std::vector<std::deque<std::pair<int, ktMessageBytes>>> queues; // by receiver
    int abortCode = -1;
};

std::vector<std::unique_ptr<ktThreadTransport>> ktThreadTransport::makeAll(int size) {
    const auto hub = std::make_shared<Hub>();
    hub->queues.resize(static_cast<std::size_t>(size));
    std::vector<std::unique_ptr<ktThreadTransport>> all;
    for (int rank = 0; rank < size; ++rank)
        all.push_back(std::make_unique<ktThreadTransport>(hub, rank));
    return all;
}

ktThreadTransport::ktThreadTransport(std::shared_ptr<Hub> hub_, int rank) : hub(std::move(hub_)), ownRank(rank) {}

int ktThreadTransport::size() const {
    return static_cast<int>(hub->queues.size());
}

void ktThreadTransport::send(int to, ktMessageBytes message) {
    const std::lock_guard<std::mutex> lock(hub->mutex);
    hub->queues[static_cast<std::size_t>(to)].emplace_back(ownRank, std::move(message));
    hub->changed.notify_all();
}

void ktThreadTransport::broadcast(ktMessageBytes message) {
    for (int rank = 0; rank < size(); ++rank)
        if (rank != ownRank)
            send(rank, message);
}

bool ktThreadTransport::receive(int& from, std::vector<char>& message, std::chrono::milliseconds longest) {
    std::unique_lock<std::mutex> lock(hub->mutex);
    auto& queue = hub->queues[static_cast<std::size_t>(ownRank)];
    if (!hub->changed.wait_for(lock, longest, [&] { return !queue.empty(); }))
        return false;
    from = queue.front().first;
    message = *queue.front().second;
    queue.pop_front();
    return true;
}

void ktThreadTransport::abort(int exitCode) {
    const std::lock_guard<std::mutex> lock(hub->mutex);
    if (hub->abortCode < 0)
        hub->abortCode = exitCode;
}

int ktThreadTransport::abortCode() const {
    const std::lock_guard<std::mutex> lock(hub->mutex);
    return hub->abortCode;
}
