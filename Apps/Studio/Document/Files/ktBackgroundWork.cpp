// SPDX-License-Identifier: LGPL-2.1-or-later
// Runs work on another thread while the main thread handles events.
#include "ktBackgroundWork.h"

#include <OpenSG/OSGThread.h>
#include <QEventLoop>
#include <QThread>

std::unique_ptr<QThread> ktMakeSceneThread(std::function<void()> work) {
    // Without a name, OpenSG 1.8 makes a new object each time. It never frees it, but does not initialize one twice.
    osg::ExternalThread* const known = osg::ExternalThread::get(nullptr);
    return std::unique_ptr<QThread>(QThread::create([known, mine = std::move(work)]() mutable {
        known->initialize(0);
        mine();
        mine = nullptr; // what it holds ends here, and not with the thread's object
    }));
}

void ktRunInBackground(const std::function<void()>& work) {
    const std::unique_ptr<QThread> thread = ktMakeSceneThread(work);
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
