// SPDX-License-Identifier: LGPL-2.1-or-later
// Runs work on another thread while the main thread handles events.
#include "ktBackgroundWork.h"

#include <memory>
#include <QEventLoop>
#include <QThread>

void ktRunInBackground(const std::function<void()>& work) {
    const std::unique_ptr<QThread> thread(QThread::create(work));
    QEventLoop loop;
    // The signal comes from the other thread, so it waits for the loop.
    QObject::connect(thread.get(), &QThread::finished, &loop, &QEventLoop::quit, Qt::QueuedConnection);
    thread->start();
    if (!thread->isRunning() && !thread->isFinished()) {
        work();
        return;
    }
    loop.exec();
    thread->wait();
}
