// SPDX-License-Identifier: LGPL-2.1-or-later
// Carries messages between ranks with MPI. One thread makes all calls of MPI.
#include "ktMpiTransport.h"

#include "ktMpiSegment.h"
#include "ktMpiSharedRing.h"
#include "ktTransport.h"

#include <algorithm>
#include <atomic>
#include <chrono>
#include <condition_variable>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <deque>
#include <list>
#include <mpi.h>
#include <mutex>
#include <thread>
#include <unistd.h>
#include <utility>

namespace {

using Clock = std::chrono::steady_clock;

constexpr std::size_t pieceSize = 64u << 20;     // of a long message, bytes
constexpr std::size_t leastBroadcast = 1u << 16; // bytes; shorter messages go to each rank by itself
constexpr std::size_t mostEager = 30u << 10;     // bytes; longer messages need looks of both sides
// Between two looks for messages. A look of the own thread takes about 30 microseconds from a thread that traces, with
// the change to another thread and back; one of the thread itself takes few. If threads wait, or messages are on their
// way, the interval is a part of the time for which nothing has happened. If all threads trace, it is a part of that
// time or of the usual time between two messages. While they look themselves, it is the `relievedInterval`.
constexpr std::chrono::microseconds shortInterval{50}, lookInterval{250}, tracingInterval{500}, longInterval{2000},
    relievedInterval{20000};
constexpr int partOfIdleTime = 16, partOfTracingTime = 4;
constexpr std::chrono::seconds longestEnd{5}; // of MPI's own end; then the process ends without
enum Tag : int { wholeMessage = 1, announcedSize, piece, announcedBroadcast };
constexpr int toAll = -1;

class MpiTransport : public ktTransport {
public:
    MpiTransport() : thread([this] { run(); }) {
        std::unique_lock<std::mutex> lock(mutex);
        changed.wait(lock, [this] { return state != State::Starting; });
    }
    ~MpiTransport() override {
        if (thread.joinable())
            MpiTransport::finish();
    }

    bool hasStarted() const { return isUsable; }
    int rank() const override { return ownRank; }
    int size() const override { return rankCount; }

    void send(int to, ktMessageBytes message) override {
        {
            const std::lock_guard<std::mutex> lock(mutex);
            outgoing.emplace_back(to, std::move(message));
        }
        // Another thread would take the processor from a thread that traces.
        if (!exchangeIfFree())
            wake();
    }

    void look() override {
        if (Clock::now().time_since_epoch() - lastLook.load() < lookInterval)
            return;
        if (exchangeIfFree())
            isRelieved = true;
        else
            wake();
    }

    void broadcast(ktMessageBytes message) override { send(toAll, std::move(message)); }

    bool receive(int& from, std::vector<char>& message, std::chrono::milliseconds longest) override {
        std::unique_lock<std::mutex> lock(mutex);
        if (!arrived.wait_for(lock, longest, [this] { return !incoming.empty(); }))
            return false;
        from = incoming.front().first;
        message = std::move(incoming.front().second);
        incoming.pop_front();
        return true;
    }

    void setWaiting(bool isWaiting_) override {
        if (!isWaiting.exchange(isWaiting_) && isWaiting_)
            wake();
    }

    void finish() override { end(State::Finishing, 0); }
    void abort(int code) override { end(State::Aborting, code); }

private:
    enum class State { Starting, Running, Finishing, Aborting, Ended };
    struct Sending {
        ktMessageBytes bytes;
        std::uint64_t size = 0;
        MPI_Request request = MPI_REQUEST_NULL;
    };
    // A long message that arrives in pieces.
    struct Partial {
        std::vector<char> bytes;
        std::size_t arrived = 0;
    };
    // A message to all ranks on its way.
    struct Broadcast {
        ktMessageBytes sent;        // on rank 0
        std::vector<char> received; // on the others
        std::vector<MPI_Request> requests;
        std::size_t done = 0; // bytes that went through the ring
    };

    void wake() {
        const std::lock_guard<std::mutex> lock(mutex);
        isWoken = true;
        changed.notify_all();
    }

    void end(State how, int code) {
        {
            std::unique_lock<std::mutex> lock(mutex);
            if (state != State::Ended) {
                state = how;
                exitCode = code;
                changed.notify_all();
                // Another rank may be lost, and MPI would wait for it.
                if (!changed.wait_for(lock, longestEnd, [this] { return state == State::Ended; }))
                    _exit(code);
            }
        }
        if (thread.joinable())
            thread.join();
    }

    void run() {
        int provided = 0;
        isUsable = MPI_Init_thread(nullptr, nullptr, MPI_THREAD_SERIALIZED, &provided) == MPI_SUCCESS &&
                   provided >= MPI_THREAD_SERIALIZED;
        if (isUsable) {
            MPI_Comm_set_errhandler(MPI_COMM_WORLD, MPI_ERRORS_RETURN);
            MPI_Comm_rank(MPI_COMM_WORLD, &ownRank);
            MPI_Comm_size(MPI_COMM_WORLD, &rankCount);
            MPI_Comm_dup(MPI_COMM_WORLD, &forBroadcasts);
            if (MPI_Comm_split_type(MPI_COMM_WORLD, MPI_COMM_TYPE_SHARED, ownRank, MPI_INFO_NULL, &machine) !=
                MPI_SUCCESS)
                machine = MPI_COMM_NULL;
            segment.unlink(machine);
            ring.open(machine);
            partials.resize(static_cast<std::size_t>(rankCount));
        }
        {
            const std::lock_guard<std::mutex> lock(mutex);
            state = isUsable ? State::Running : State::Ended;
            changed.notify_all();
        }
        if (!isUsable)
            return;
        while (step()) {
        }
        const std::lock_guard<std::mutex> lock(mutex);
        state = State::Ended;
        changed.notify_all();
    }

    // Sends, receives, or waits for a moment. @return false when MPI has ended
    bool step() {
        State now = State::Running;
        {
            const std::lock_guard<std::mutex> lock(mutex);
            now = state;
        }
        std::unique_lock<std::mutex> calling(mpiMutex);
        if (now == State::Aborting) {
            MPI_Abort(MPI_COMM_WORLD, exitCode);
            _exit(exitCode);
        }
        const bool hasMoved = exchange();
        if (now == State::Finishing && !hasMoved && sending.empty() && broadcasts.empty()) {
            hasEnded = true;
            waitForAll();
            ring.close();
            segment.restore();
            MPI_Finalize();
            return false;
        }
        if (!broadcasts.empty() && !ring.isOpen()) {
            calling.unlock();
            std::this_thread::yield(); // each step of a broadcast needs a call
        } else if (!hasMoved) {
            const Clock::duration interval = pollInterval();
            calling.unlock();
            std::unique_lock<std::mutex> lock(mutex);
            changed.wait_for(lock, interval, [&] { return isWoken || (state != now && state != State::Running); });
            isWoken = false;
        }
        return true;
    }

    // For other threads than the own. @return false if the own thread has to do it
    bool exchangeIfFree() {
        const std::unique_lock<std::mutex> calling(mpiMutex, std::try_to_lock);
        if (!calling || hasEnded)
            return false;
        exchange();
        return !isSendingLong() && broadcasts.empty();
    }

    // Sends and receives what can be sent and received now. The mutex of MPI is locked. @return whether there was any
    bool exchange() {
        std::deque<std::pair<int, ktMessageBytes>> toSend;
        {
            const std::lock_guard<std::mutex> lock(mutex);
            toSend.swap(outgoing);
        }
        for (auto& [to, bytes] : toSend)
            to == toAll ? startBroadcast(bytes) : startSending(to, bytes);
        const bool hasSent = dropSent(), hasReceived = receiveOne(), hasCopied = endBroadcasts();
        const Clock::time_point now = Clock::now();
        lastLook = now.time_since_epoch();
        if (hasReceived) {
            usualGap = (3 * usualGap + (now - lastReceived)) / 4;
            lastReceived = now;
        }
        const bool hasMoved = hasSent || hasReceived || hasCopied || !toSend.empty();
        if (hasMoved)
            lastActive = now;
        return hasMoved;
    }

    // A short message is on its way as soon as it is sent, although its request is complete only later.
    bool isSendingLong() const {
        return std::any_of(sending.begin(), sending.end(),
                           [](const Sending& each) { return each.bytes && each.bytes->size() > mostEager; });
    }

    Clock::duration pollInterval() {
        const bool wasRelieved = isRelieved.exchange(false);
        if (!broadcasts.empty())
            return shortInterval;
        const Clock::duration idle = Clock::now() - lastActive;
        if (!isWaiting && !isSendingLong())
            return wasRelieved ? relievedInterval
                               : std::clamp<Clock::duration>(std::max(idle, usualGap) / partOfTracingTime,
                                                             tracingInterval, longInterval);
        return std::clamp<Clock::duration>(idle / partOfIdleTime, shortInterval, longInterval);
    }

    // dropSent() waits for the requests. NOLINTBEGIN(clang-analyzer-optin.mpi.MPI-Checker)
    void startSending(int to, const ktMessageBytes& bytes) {
        const auto start = [&](const void* from, std::size_t size, Tag tag, Sending& entry) {
            MPI_Isend(from, static_cast<int>(size), MPI_BYTE, to, tag, MPI_COMM_WORLD, &entry.request);
        };
        const std::size_t size = bytes->size();
        if (size <= pieceSize) {
            Sending& entry = sending.emplace_back();
            entry.bytes = bytes;
            start(bytes->data(), size, wholeMessage, entry);
            return;
        }
        Sending& head = sending.emplace_back();
        head.size = size;
        start(&head.size, sizeof head.size, announcedSize, head);
        for (std::size_t first = 0; first < size; first += pieceSize) {
            Sending& entry = sending.emplace_back();
            entry.bytes = bytes;
            start(bytes->data() + first, std::min(pieceSize, size - first), piece, entry);
        }
    }

    // All ranks call MPI_Ibcast in the same order, because rank 0 announces it and announcements keep their order.
    void startBroadcast(const ktMessageBytes& bytes) {
        const bool isLong = bytes->size() >= leastBroadcast;
        for (int rank = 0; rank < rankCount; ++rank) {
            if (rank == ownRank)
                continue;
            if (!isLong) {
                startSending(rank, bytes);
                continue;
            }
            Sending& head = sending.emplace_back();
            head.size = bytes->size();
            MPI_Isend(&head.size, sizeof head.size, MPI_BYTE, rank, announcedBroadcast, MPI_COMM_WORLD, &head.request);
        }
        if (!isLong)
            return;
        Broadcast& entry = broadcasts.emplace_back();
        entry.sent = bytes;
        // Rank 0 only reads them.
        startPieces(entry, const_cast<char*>(bytes->data()), bytes->size());
    }

    // The ring sends the bytes later, in isComplete().
    void startPieces(Broadcast& entry, char* bytes, std::size_t size) {
        if (ring.isOpen())
            return;
        for (std::size_t first = 0; first < size; first += pieceSize)
            MPI_Ibcast(bytes + first, static_cast<int>(std::min(pieceSize, size - first)), MPI_BYTE, 0, forBroadcasts,
                       &entry.requests.emplace_back(MPI_REQUEST_NULL));
    }
    // NOLINTEND(clang-analyzer-optin.mpi.MPI-Checker)

    // Goes on with the first broadcast. @param hasCopied set if bytes went through the ring
    bool isComplete(Broadcast& first, bool& hasCopied) {
        if (ring.isOpen()) {
            const std::size_t size = first.sent ? first.sent->size() : first.received.size();
            const std::size_t count = first.sent ? ring.write(first.sent->data() + first.done, size - first.done)
                                                 : ring.read(first.received.data() + first.done, size - first.done);
            first.done += count;
            hasCopied = hasCopied || count > 0;
            return first.done == size;
        }
        int isDone = 0;
        return MPI_Testall(static_cast<int>(first.requests.size()), first.requests.data(), &isDone,
                           MPI_STATUSES_IGNORE) != MPI_SUCCESS ||
               isDone;
    }

    // Delivers broadcasts that are complete, and what rank 0 sent after them. @return whether the ring has moved bytes
    bool endBroadcasts() {
        bool hasCopied = false;
        while (!broadcasts.empty()) {
            Broadcast& first = broadcasts.front();
            if (!isComplete(first, hasCopied))
                break;
            if (!first.sent)
                deliver(0, std::move(first.received));
            broadcasts.pop_front();
            for (; !held.empty() && held.front().first == broadcastsEnded + 1; held.pop_front())
                deliver(0, std::move(held.front().second));
            ++broadcastsEnded;
        }
        return hasCopied;
    }

    bool dropSent() {
        bool any = false;
        for (auto entry = sending.begin(); entry != sending.end();) {
            int isDone = 0;
            // A rank that has ended gets no message: its request counts as done.
            if (MPI_Test(&entry->request, &isDone, MPI_STATUS_IGNORE) == MPI_SUCCESS && !isDone) {
                ++entry;
                continue;
            }
            entry = sending.erase(entry);
            any = true;
        }
        return any;
    }

    bool receiveOne() {
        int isThere = 0, count = 0;
        MPI_Message handle = MPI_MESSAGE_NULL;
        MPI_Status status;
        if (MPI_Improbe(MPI_ANY_SOURCE, MPI_ANY_TAG, MPI_COMM_WORLD, &isThere, &handle, &status) != MPI_SUCCESS ||
            !isThere)
            return false;
        MPI_Get_count(&status, MPI_BYTE, &count);
        const auto size = static_cast<std::size_t>(count);
        Partial& partial = partials[static_cast<std::size_t>(status.MPI_SOURCE)];
        const auto take = [&](void* to) { return MPI_Mrecv(to, count, MPI_BYTE, &handle, &status) == MPI_SUCCESS; };
        if (status.MPI_TAG == announcedBroadcast) {
            std::uint64_t whole = 0;
            if (size == sizeof whole && take(&whole)) {
                Broadcast& entry = broadcasts.emplace_back();
                entry.received.resize(whole);
                startPieces(entry, entry.received.data(), whole);
                ++broadcastsBegun;
            }
            return true;
        }
        if (status.MPI_TAG == announcedSize) {
            std::uint64_t whole = 0;
            if (size == sizeof whole && take(&whole)) {
                partial.bytes.resize(whole);
                partial.arrived = 0;
            }
            return true;
        }
        if (status.MPI_TAG == piece) {
            if (partial.arrived + size <= partial.bytes.size() && take(partial.bytes.data() + partial.arrived))
                partial.arrived += size;
            if (partial.arrived == partial.bytes.size())
                arrive(status.MPI_SOURCE, std::exchange(partial, Partial()).bytes);
            return true;
        }
        std::vector<char> bytes(size);
        if (take(bytes.data()))
            arrive(status.MPI_SOURCE, std::move(bytes));
        return true;
    }

    // What rank 0 sent after a broadcast waits until that is complete.
    void arrive(int from, std::vector<char> bytes) {
        if (broadcasts.empty() || ownRank == 0)
            deliver(from, std::move(bytes));
        else
            held.emplace_back(broadcastsBegun, std::move(bytes));
    }

    void deliver(int from, std::vector<char> bytes) {
        const std::lock_guard<std::mutex> lock(mutex);
        incoming.emplace_back(from, std::move(bytes));
        arrived.notify_all();
    }

    // Until all ranks have come so far. Messages that still arrive are not read.
    static void waitForAll() {
        MPI_Request request = MPI_REQUEST_NULL;
        int isDone = 0;
        if (MPI_Ibarrier(MPI_COMM_WORLD, &request) != MPI_SUCCESS)
            return;
        for (const Clock::time_point begin = Clock::now(); !isDone && Clock::now() - begin < longestEnd;) {
            MPI_Test(&request, &isDone, MPI_STATUS_IGNORE);
            if (!isDone)
                std::this_thread::sleep_for(shortInterval);
        }
    }

    bool isUsable = false;
    int ownRank = 0, rankCount = 1;
    std::mutex mpiMutex; // for all calls of MPI after the start, and for what follows
    std::list<Sending> sending;
    std::vector<Partial> partials;                                   // by rank
    MPI_Comm forBroadcasts = MPI_COMM_NULL, machine = MPI_COMM_NULL; // the latter: the ranks on this machine
    std::list<Broadcast> broadcasts;                                 // in order
    std::uint64_t broadcastsBegun = 0, broadcastsEnded = 0;
    std::deque<std::pair<std::uint64_t, std::vector<char>>> held; // messages and the broadcast before them
    ktMpiSegment segment;
    ktMpiSharedRing ring;
    bool hasEnded = false;
    Clock::time_point lastActive = Clock::now(), lastReceived = lastActive;
    Clock::duration usualGap{0};                               // between two messages
    std::atomic<bool> isWaiting{true};                         // set by any thread
    std::atomic<bool> isRelieved{false};                       // whether other threads looked since its last look
    std::atomic<Clock::duration> lastLook{Clock::duration(0)}; // when, since the clock's epoch

    std::mutex mutex; // for all below
    std::condition_variable changed, arrived;
    State state = State::Starting;
    int exitCode = 0;
    bool isWoken = false;
    std::deque<std::pair<int, ktMessageBytes>> outgoing;
    std::deque<std::pair<int, std::vector<char>>> incoming;
    std::thread thread; // last: it uses all others
};

} // namespace

extern "C" __attribute__((visibility("default"))) ktTransport* ktOpenMpi(char* reason, std::size_t reasonSize);

ktTransport* ktOpenMpi(char* reason, std::size_t reasonSize) {
    // Settings of Open MPI that the user's environment may replace. Files of other formats are imported in a child
    // process, which does not use MPI. Copying between processes needs rights that containers do not give.
    // NOLINTBEGIN(concurrency-mt-unsafe)
    setenv("OMPI_MCA_mpi_warn_on_fork", "0", 0);
    setenv("OMPI_MCA_btl_vader_single_copy_mechanism", "none", 0);
    setenv("OMPI_MCA_btl_vader_eager_limit", "32768", 0); // most blocks: longer messages need several looks
    // NOLINTEND(concurrency-mt-unsafe)
    try {
        auto* const transport = new MpiTransport;
        if (transport->hasStarted())
            return transport;
        delete transport;
        std::snprintf(reason, reasonSize, "MPI does not start");
    } catch (const std::exception& error) {
        std::snprintf(reason, reasonSize, "%s", error.what());
    }
    return nullptr;
}
