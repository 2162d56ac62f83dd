// SPDX-License-Identifier: LGPL-2.1-or-later
// Reads scene files on another thread, and leaves that thread alone after a cancel.
#include "ktSceneReader.h"

#include "ktBackgroundWork.h"
#include "ktLengthUnit.h"
#include "ktReservedMemory.h"

#include <algorithm>
#include <atomic>
#include <new>
#include <QEventLoop>
#include <QThread>
#include <QTimer>

static constexpr int progressInterval_ms = 50;

/// What both threads know. After a cancel, only the other thread has it.
struct ktSceneReader::Job {
    explicit Job(const Request& request_) : request(request_) {}

    void run() {
        ktOpenOptions options = request.options;
        options.isInterrupted = [this] { return isCancelled.load(); };
        options.progressed = [this](double done) { share = done; };
        result.file = ktSceneFile::open(request.path, options, result.report);
        if (result.file && request.hasGroundPlane)
            result.file->addGroundPlane(result.report);
        if (result.file && !isCancelled)
            result.diagonal = ktSceneDiagonal(result.file->getRoot());
        if (result.file && !isCancelled && request.prepare)
            try {
                result.prepared = request.prepare(result.file->getRoot(), options.isInterrupted);
            } catch (const std::bad_alloc&) { // who needs it makes it later, and says so
            }
    }

    const Request request;
    Result result; ///< after the end of the thread
    std::atomic<bool> isCancelled{false};
    std::atomic<double> share{0};
};

ktSceneReader::ktSceneReader() = default;

ktSceneReader::~ktSceneReader() {
    for (const std::unique_ptr<QThread>& thread : threads)
        thread->wait();
}

void ktSceneReader::forgetEnded() {
    threads.erase(
        std::remove_if(threads.begin(), threads.end(), [](const auto& thread) { return thread->isFinished(); }),
        threads.end());
}

ktSceneReader::Result ktSceneReader::read(const Request& request, const std::function<void(double)>& progressed) {
    forgetEnded();
    job = std::make_shared<Job>(request);
    // The scene of a cancelled reading ends in the thread.
    std::unique_ptr<QThread> thread = ktMakeSceneThread([mine = job] { mine->run(); });
    QEventLoop waiting;
    QTimer timer;
    double told = 0;
    QObject::connect(&timer, &QTimer::timeout, [&] {
        if (const double share = job->share; share > told)
            progressed(told = share);
    });
    QObject::connect(thread.get(), &QThread::finished, &waiting, &QEventLoop::quit, Qt::QueuedConnection);
    thread->start();
    if (!thread->isRunning() && !thread->isFinished()) {
        job->run();
    } else {
        timer.start(progressInterval_ms);
        loop = &waiting;
        waiting.exec();
        loop = nullptr;
    }
    const std::shared_ptr<Job> read = std::move(job);
    if (!read->isCancelled) {
        thread->wait();
        return std::move(read->result);
    }
    threads.push_back(std::move(thread));
    return {};
}

void ktSceneReader::cancel() {
    if (!job)
        return;
    job->isCancelled = true;
    if (loop)
        loop->quit();
}

void ktSceneReader::warmUp() {
    forgetEnded();
    threads.push_back(ktMakeSceneThread(ktReserveMemory));
    threads.back()->start();
}

void ktSceneReader::destroy(std::unique_ptr<ktSceneFile> file) {
    forgetEnded();
    const auto doomed = std::make_shared<std::unique_ptr<ktSceneFile>>(std::move(file));
    threads.push_back(ktMakeSceneThread([doomed] { doomed->reset(); }));
    threads.back()->start(); // if none starts, the scene ends with the thread's object
}
