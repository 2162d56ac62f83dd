// SPDX-License-Identifier: LGPL-2.1-or-later
#include "ktInterruptGuard.h"

#include "ktCancelToken.h"

#include <cerrno>
#include <csignal>
#include <fcntl.h>
#include <QSocketNotifier>
#include <unistd.h>
#include <utility>

namespace {

int wakeUp[2] = {-1, -1}; // a pipe: the handler writes, the event loop reads
struct sigaction former;

/// Only what a signal handler may do.
void onSignal(int signal, siginfo_t* info, void* context) {
    const int error = errno;
    ktCancelToken::the().cancel();
    const char byte = 0;
    [[maybe_unused]] const ssize_t written = write(wakeUp[1], &byte, 1);
    if (former.sa_flags & SA_SIGINFO)
        former.sa_sigaction(signal, info, context);
    else
        former.sa_handler(signal);
    errno = error;
}

} // namespace

ktInterruptGuard::ktInterruptGuard(std::function<void()> onInterrupt) : onInterrupt(std::move(onInterrupt)) {
    sigaction(SIGINT, nullptr, &former);
    if (former.sa_handler == SIG_DFL || former.sa_handler == SIG_IGN || pipe2(wakeUp, O_CLOEXEC | O_NONBLOCK) != 0)
        return;
    notifier = std::make_unique<QSocketNotifier>(wakeUp[0], QSocketNotifier::Read);
    QObject::connect(notifier.get(), &QSocketNotifier::activated, notifier.get(), [this] {
        char bytes[16];
        while (read(wakeUp[0], bytes, sizeof bytes) > 0) {
        }
        this->onInterrupt();
    });
    struct sigaction action = former;
    action.sa_flags |= SA_SIGINFO | SA_RESTART;
    action.sa_sigaction = onSignal;
    sigaction(SIGINT, &action, nullptr);
}

ktInterruptGuard::~ktInterruptGuard() {
    if (!notifier)
        return;
    sigaction(SIGINT, &former, nullptr);
    notifier.reset();
    close(wakeUp[0]);
    close(wakeUp[1]);
}
