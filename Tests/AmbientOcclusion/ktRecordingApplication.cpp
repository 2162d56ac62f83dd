// SPDX-License-Identifier: LGPL-2.1-or-later
// Main program of the plug-in's tests; records standard output and runs of the event loop.
#include "ktRecordingApplication.h"

#include "ktRecordingHost.h"

#include <gtest/gtest.h>
#include <iostream>
#include <OpenSG/OSGBaseFunctions.h>
#include <QAbstractEventDispatcher>
#include <QCoreApplication>

ktRecordingOutput::ktRecordingOutput() : replaced(std::cout.rdbuf(this)) {}

ktRecordingOutput::~ktRecordingOutput() {
    std::cout.rdbuf(replaced);
    if (!pending.empty())
        ktRecordingHost::the().record("unflushed: " + pending);
}

ktRecordingOutput::int_type ktRecordingOutput::overflow(int_type character) {
    if (character != traits_type::eof())
        pending += static_cast<char>(character);
    return traits_type::not_eof(character);
}

int ktRecordingOutput::sync() {
    if (!pending.empty()) {
        const std::string line = pending;
        pending.clear();
        ktRecordingHost::the().record("out: " + line);
    }
    return 0;
}

namespace {

/// An event loop that records each run and delivers posted events as usual.
class RecordingDispatcher : public QAbstractEventDispatcher {
public:
    bool processEvents(QEventLoop::ProcessEventsFlags flags) override {
        ktRecordingHost::the().record("processEvents(" + std::to_string(int(flags)) + ")");
        QCoreApplication::sendPostedEvents();
        return true;
    }
    bool hasPendingEvents() override { return false; }
    void registerSocketNotifier(QSocketNotifier*) override {}
    void unregisterSocketNotifier(QSocketNotifier*) override {}
    void registerTimer(int, int, Qt::TimerType, QObject*) override {}
    bool unregisterTimer(int) override { return true; }
    bool unregisterTimers(QObject*) override { return true; }
    QList<TimerInfo> registeredTimers(QObject*) const override { return {}; }
    int remainingTime(int) override { return -1; }
    void wakeUp() override {}
    void interrupt() override {}
    void flush() override {}
};

} // namespace

int main(int argc, char** argv) {
    testing::InitGoogleTest(&argc, argv);
    QCoreApplication::setEventDispatcher(new RecordingDispatcher); // the application takes ownership
    QCoreApplication application(argc, argv);
    osg::osgInit(argc, argv);
    return RUN_ALL_TESTS();
}
