// SPDX-License-Identifier: LGPL-2.1-or-later
// Catches SIGINT and SIGTERM, cancels the current ray-tracing call, and calls the previous handler.
#include "ktInterruptGuard.h"

#include "ktCancelToken.h"

#include <atomic>
#include <cerrno>
#include <csignal>
#include <cstdint>
#include <fcntl.h>
#include <QEvent>
#include <QSocketNotifier>
#include <unistd.h>
#include <utility>

namespace {

constexpr int handledSignals[] = {SIGINT, SIGTERM};

std::atomic<std::uint64_t> guardedRun{0}; // number of the run that a signal ends
int wakeUp[2] = {-1, -1};                 // a pipe: the handler writes, the event loop reads
struct sigaction former[2];

bool hasHandler(const struct sigaction& action) {
    return (action.sa_flags & SA_SIGINFO) || (action.sa_handler != SIG_DFL && action.sa_handler != SIG_IGN);
}

/// Calls only what is allowed in a signal handler.
void onSignal(int signal, siginfo_t* info, void* context) {
    const int error = errno;
    ktCancelToken::the().cancel(guardedRun);
    const char byte = 0;
    [[maybe_unused]] const ssize_t written = write(wakeUp[1], &byte, 1);
    const struct sigaction& next = former[signal == handledSignals[0] ? 0 : 1];
    if (next.sa_flags & SA_SIGINFO)
        next.sa_sigaction(signal, info, context);
    else
        next.sa_handler(signal);
    errno = error;
}

void closePipe() {
    for (int& end : wakeUp)
        close(std::exchange(end, -1));
}

/// Overrides the event instead of a connection: Qt's connections crash without memory.
class Notifier : public QSocketNotifier {
public:
    explicit Notifier(const std::function<void()>& onInterrupt_)
        : QSocketNotifier(wakeUp[0], QSocketNotifier::Read), onInterrupt(onInterrupt_) {}

protected:
    bool event(QEvent* event) override {
        if (event->type() != QEvent::SockAct)
            return QSocketNotifier::event(event);
        char bytes[16];
        while (read(wakeUp[0], bytes, sizeof bytes) > 0) {
        }
        onInterrupt();
        return true;
    }

private:
    const std::function<void()>& onInterrupt;
};

} // namespace

ktInterruptGuard::ktInterruptGuard(std::function<void()> onInterrupt_) : onInterrupt(std::move(onInterrupt_)) {
    if (wakeUp[1] >= 0)
        return; // another object
    guardedRun = ktCancelToken::the().getRun();
    if (pipe2(wakeUp, O_CLOEXEC | O_NONBLOCK) != 0)
        return;
    try {
        notifier = std::make_unique<Notifier>(onInterrupt);
    } catch (...) { // no memory
        closePipe();
        throw;
    }
    for (int i = 0; i < 2; ++i) {
        sigaction(handledSignals[i], nullptr, &former[i]);
        if (!hasHandler(former[i]))
            continue;
        struct sigaction action = former[i];
        action.sa_flags |= SA_SIGINFO | SA_RESTART;
        action.sa_sigaction = onSignal;
        sigaction(handledSignals[i], &action, nullptr);
    }
}

ktInterruptGuard::~ktInterruptGuard() {
    if (!notifier)
        return;
    for (int i = 0; i < 2; ++i) {
        // Keeps a handler that somebody else has set meanwhile.
        struct sigaction now = {};
        sigaction(handledSignals[i], nullptr, &now);
        if ((now.sa_flags & SA_SIGINFO) && now.sa_sigaction == onSignal)
            sigaction(handledSignals[i], &former[i], nullptr);
    }
    notifier.reset();
    // Such a handler may still call ours. The write must then fail, not go to a file that reuses the number.
    closePipe();
}
