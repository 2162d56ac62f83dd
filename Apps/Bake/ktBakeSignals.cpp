// SPDX-License-Identifier: LGPL-2.1-or-later
// Cancels a calculation on SIGINT or SIGTERM: a pipe passes the signal from its handler to the event loop.
#include "ktBakeSignals.h"

#include "ktAmbientOcclusion.h"
#include "ktBakeLastWords.h"
#include "ktCancelToken.h"

#include <cerrno>
#include <csignal>
#include <fcntl.h>
#include <memory>
#include <QCoreApplication>
#include <QSocketNotifier>
#include <unistd.h>
#include <utility>

namespace {

constexpr int handledSignals[] = {SIGINT, SIGTERM};

volatile std::sig_atomic_t interrupted = 0;
volatile std::sig_atomic_t isHeldBack = 0;
int wakeUp[2] = {-1, -1}; // a pipe: the handler writes, the event loop reads
std::unique_ptr<QSocketNotifier> notifier;

/// Signal handler: stops the tracing threads at once. The event loop cancels the plug-in, which is not safe here.
void onSignal(int signal) {
    const int error = errno;
    if (interrupted && !isHeldBack) {
        ktBakeLastWords::deleteFiles();
        std::signal(signal, SIG_DFL);
        std::raise(signal);
        return;
    }
    interrupted = 1;
    ktCancelToken::the().cancel();
    const char byte = 0;
    [[maybe_unused]] const ssize_t written = write(wakeUp[1], &byte, 1);
    errno = error;
}

} // namespace

ktBakeSignals::ktBakeSignals() {
    // A cancel through the plug-in also stops the tracing threads.
    QObject::connect(ktAmbientOcclusion::the(), &ktAmbientOcclusion::calculationCanceled, QCoreApplication::instance(),
                     [] { ktCancelToken::the().cancel(); });
    if (pipe2(wakeUp, O_CLOEXEC | O_NONBLOCK) != 0)
        return; // ktBakeLastWords still handles signals
    notifier = std::make_unique<QSocketNotifier>(wakeUp[0], QSocketNotifier::Read);
    QObject::connect(notifier.get(), &QSocketNotifier::activated, QCoreApplication::instance(), [] {
        char bytes[16];
        while (read(wakeUp[0], bytes, sizeof bytes) > 0) {
        }
        ktAmbientOcclusion::the()->cancelCalculation();
    });
    struct sigaction action = {};
    action.sa_handler = onSignal;
    action.sa_flags = SA_RESTART;
    sigemptyset(&action.sa_mask);
    for (const int signal : handledSignals)
        sigaction(signal, &action, nullptr);
}

ktBakeSignals::~ktBakeSignals() {
    letThrough();
    notifier.reset();
    // The handler stays. It must not write to a file that reuses the descriptor's number.
    for (int& end : wakeUp)
        close(std::exchange(end, -1));
}

bool ktBakeSignals::isInterrupted() const {
    return interrupted != 0;
}

void ktBakeSignals::holdBack() {
    isHeldBack = 1;
}

void ktBakeSignals::letThrough() {
    isHeldBack = 0;
}
