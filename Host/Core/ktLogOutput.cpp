// SPDX-License-Identifier: LGPL-2.1-or-later
// Delivers log lines to a sink or to standard error, counts them, and announces them by a signal.
#include "ktLogOutput.h"

#include "ktHostSignals.h"

#include <array>
#include <atomic>
#include <cstdio>
#include <mutex>
#include <utility>

namespace {

struct State {
    std::mutex mutex; // guards sink and serialises its calls
    ktLogSink sink;
    std::atomic<bool> quiet{false};
    std::array<std::atomic<std::uint64_t>, 3> counts{};
};

State& state() {
    // Never destroyed: destructors of other static objects may still log.
    static State* const instance = new State;
    return *instance;
}

// True while this thread is in the sink or in receivers of logged(). Both may log.
thread_local bool insideSink = false;
thread_local bool insideSignal = false;

struct Scope {
    explicit Scope(bool& flagToSet) : flag(flagToSet) { flag = true; }
    ~Scope() { flag = false; }
    bool& flag;
};

// Keeps a call on one line: names from files may contain line ends or terminal control sequences.
std::string toOneLine(const std::string& text) {
    std::string line = text;
    while (!line.empty() && (line.back() == '\n' || line.back() == '\r'))
        line.pop_back();
    for (char& c : line) {
        const auto byte = static_cast<unsigned char>(c);
        if (byte < 0x20 || byte == 0x7f)
            c = ' ';
    }
    return line;
}

void writeToStandardError(ktLogLevel level, const std::string& line) {
    static const char* const prefixes[] = {"error: ", "warning: ", ""};
    // A single call, so that lines of several threads do not mix.
    const std::string whole = prefixes[static_cast<int>(level)] + line + '\n';
    std::fwrite(whole.data(), 1, whole.size(), stderr);
    std::fflush(stderr);
}

void deliver(ktLogLevel level, const std::string& line) {
    if (insideSink) {
        writeToStandardError(level, line);
        return;
    }
    State& s = state();
    const std::lock_guard<std::mutex> lock(s.mutex);
    if (!s.sink) {
        writeToStandardError(level, line);
        return;
    }
    const Scope scope(insideSink);
    try {
        s.sink(level, line);
    } catch (...) {
        writeToStandardError(level, line);
    }
}

void announce(ktLogLevel level, const std::string& line) {
    if (insideSignal)
        return;
    const Scope scope(insideSignal);
    emit ktHostSignals::the().logged(static_cast<int>(level), QString::fromStdString(line));
}

} // namespace

void ktLogOutput::setSink(ktLogSink sink) noexcept {
    if (insideSink)
        return; // a sink that replaces itself would be destroyed while it runs
    State& s = state();
    {
        const std::lock_guard<std::mutex> lock(s.mutex);
        s.sink.swap(sink);
    }
    // The old sink is destroyed here, outside the lock, because its captures may log.
}

void ktLogOutput::setQuiet(bool quiet) noexcept {
    state().quiet = quiet;
}

bool ktLogOutput::isQuiet() noexcept {
    return state().quiet;
}

std::uint64_t ktLogOutput::getCount(ktLogLevel level) noexcept {
    return state().counts[static_cast<std::size_t>(level)];
}

void ktLogOutput::resetCounts() noexcept {
    for (auto& count : state().counts)
        count = 0;
}

void ktLogOutput::write(ktLogLevel level, const std::string& text) noexcept {
    try {
        ++state().counts[static_cast<std::size_t>(level)];
        const std::string line = toOneLine(text);
        if (level == ktLogLevel::Error || !isQuiet())
            deliver(level, line);
        announce(level, line);
    } catch (...) {
        std::fputs("the log ran out of memory\n", stderr);
    }
}
