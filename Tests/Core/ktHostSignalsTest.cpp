// SPDX-License-Identifier: LGPL-2.1-or-later
// Tests that one object sends all signals, and that queued receivers get them on their own thread.
#include "ktHostSignals.h"

#include <gtest/gtest.h>
#include <QCoreApplication>
#include <thread>

TEST(HostSignals, GivenEmissionOnWorkerThread_QueuedReceiverGetsItOnItsOwnThread) {
    int argc = 1;
    char name[] = "test";
    char* argv[] = {name, nullptr};
    const QCoreApplication app(argc, argv);

    QObject receiver;
    quint64 received = 0;
    std::thread::id receivedOn;
    QObject::connect(
        &ktHostSignals::the(), &ktHostSignals::tracingProgress, &receiver,
        [&](quint64 done, quint64 total) {
            received = done + total;
            receivedOn = std::this_thread::get_id();
        },
        Qt::QueuedConnection);

    std::thread worker([] { emit ktHostSignals::the().tracingProgress(Q_UINT64_C(1) << 40, 1); });
    worker.join();
    EXPECT_EQ(received, 0u);
    QCoreApplication::processEvents();
    EXPECT_EQ(received, (Q_UINT64_C(1) << 40) + 1);
    EXPECT_EQ(receivedOn, std::this_thread::get_id());
}

TEST(HostSignals, GivenTwoCalls_IsOneObject) {
    EXPECT_EQ(&ktHostSignals::the(), &ktHostSignals::the());
}
