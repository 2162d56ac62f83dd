// SPDX-License-Identifier: LGPL-2.1-or-later
// Keeps the main thread's event loop running during long calculations.
#include "ktEventPump.h"

#include <QCoreApplication>
#include <QThread>
#include <utility>

ktEventPump::ktEventPump(std::function<void()> meanwhile_)
    : meanwhile(std::move(meanwhile_)), last(std::chrono::steady_clock::now()) {}

void ktEventPump::handleEventsIfDue() {
    if (std::chrono::steady_clock::now() - last >= interval)
        handleEvents();
}

void ktEventPump::handleEvents() {
    const QCoreApplication* application = QCoreApplication::instance();
    if (application && application->thread() == QThread::currentThread())
        QCoreApplication::processEvents();
    if (meanwhile)
        meanwhile();
    last = std::chrono::steady_clock::now();
}
