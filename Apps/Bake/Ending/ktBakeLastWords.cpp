// SPDX-License-Identifier: LGPL-2.1-or-later
// The message and the exit code if memory runs out or the program fails, and the handlers that need them.
#include "ktBakeLastWords.h"

#include "ktBakeExit.h"
#include "ktBakeMessages.h"
#include "ktMemoryShortage.h"
#include "ktSafeFile.h"

#include <algorithm>
#include <atomic>
#include <climits>
#include <csignal>
#include <cstdio>
#include <cstring>
#include <exception>
#include <new>
#include <QJsonArray>
#include <QJsonDocument>
#include <sys/resource.h>
#include <unistd.h>

namespace {

constexpr int unknown = -1;
constexpr std::size_t mostPaths = 4;
constexpr int failureSignals[] = {SIGSEGV, SIGBUS, SIGFPE, SIGILL, SIGABRT};
constexpr int cancelSignals[] = {SIGINT, SIGTERM};

/// Text of a fixed size, which needs no memory. What is too long is cut.
class Text {
public:
    void clear() { size = 0; }
    void add(const char* text) { add(text, std::strlen(text)); }
    void add(const char* text, std::size_t length) {
        const std::size_t count = std::min(length, sizeof bytes - 1 - size);
        std::memcpy(bytes + size, text, count);
        size += count;
        bytes[size] = '\0';
    }
    const char* get() const { return bytes; }
    void write() const {
        std::size_t at = 0;
        while (at < size) {
            const ssize_t written = ::write(STDERR_FILENO, bytes + at, size - at);
            if (written <= 0)
                return;
            at += static_cast<std::size_t>(written);
        }
    }

private:
    char bytes[4 * PATH_MAX] = {};
    std::size_t size = 0;
};

/// The file and what is done with it; in JSON, without quotes at the ends.
struct Step {
    Text file, what;
};

Step steps[2]; // one is whole while the other is replaced
std::atomic<const Step*> current{&steps[0]};
Text line;
std::atomic<bool> isSaid{false};
std::atomic<int> result{unknown};
bool isJson = false;
char paths[mostPaths][PATH_MAX];
std::atomic<std::size_t> pathCount{0};
[[maybe_unused]] alignas(64) char signalStack[1 << 16];

std::string escaped(const std::string& text) {
    if (!isJson)
        return text;
    const QByteArray json = QJsonDocument(QJsonArray{QString::fromStdString(text)}).toJson(QJsonDocument::Compact);
    return json.mid(2, json.size() - 4).toStdString(); // without [" and "]
}

void put(const std::string& file, const std::string& what) {
    Step& next = current == &steps[0] ? steps[1] : steps[0];
    next.file.clear();
    next.what.clear();
    next.file.add(file.data(), file.size());
    next.what.add(what.data(), what.size());
}

/// Writes "error: FILE: CAUSE while WHAT", once.
void say(const char* cause) {
    if (isSaid.exchange(true))
        return;
    const Step& step = *current;
    const auto add = [](std::initializer_list<const char*> parts) {
        for (const char* part : parts)
            line.add(part);
    };
    line.clear();
    if (isJson) {
        static_assert(ktBakeExit::failed == 1, "the text names the code");
        add({"{\"file\":\"", step.file.get(), "\",\"level\":\"error\",\"reason\":\"", cause, " while ", step.what.get(),
             "\",\"text\":\"", step.file.get(), ": ", cause, " while ", step.what.get(), "\"}\n",
             "{\"exitCode\":1,\"level\":\"result\",\"result\":\"failed\",\"text\":\"failed\"}\n"});
    } else
        add({"error: ", step.file.get(), ": ", cause, " while ", step.what.get(), "\n"});
    line.write();
}

/// Ends the process after a failure. One thread does that; others wait.
[[noreturn]] void end(const char* cause) {
    static std::atomic<bool> isEnding{false};
    if (isEnding.exchange(true))
        for (;;)
            pause();
    ktBakeLastWords::deleteFiles();
    if (result != unknown)
        _exit(result);
    say(cause);
    _exit(ktBakeExit::failed);
}

[[maybe_unused]] void onFailureSignal(int signal) {
    rlimit cores = {};
    if (getrlimit(RLIMIT_CORE, &cores) == 0 && cores.rlim_cur > 0) { // somebody wants to look into it
        ktBakeLastWords::deleteFiles();
        std::signal(signal, SIG_DFL);
        std::raise(signal);
        return;
    }
    end(signal == SIGSEGV   ? "internal error (signal SIGSEGV), perhaps out of memory,"
        : signal == SIGABRT ? "internal error (signal SIGABRT), perhaps out of memory,"
                            : "internal error (signal SIGBUS, SIGFPE or SIGILL)");
}

/// A request to end while no bake listens to it.
void onCancelSignal(int signal) {
    if (result != unknown) { // the process is about to end
        std::signal(signal, SIG_DFL);
        return;
    }
    ktBakeLastWords::deleteFiles();
    if (!isSaid.exchange(true)) {
        static_assert(ktBakeExit::cancelled == 130, "the text names the code");
        line.clear();
        line.add(isJson ? "{\"level\":\"error\",\"text\":\"Cancelled.\"}\n"
                          "{\"exitCode\":130,\"level\":\"result\",\"result\":\"cancelled\",\"text\":\"cancelled\"}\n"
                        : "error: Cancelled.\n");
        line.write();
    }
    _exit(ktBakeExit::cancelled);
}

/// Replaces a handler of SIGINT and SIGTERM by another one.
void exchangeCancelHandler(void (*from)(int), void (*to)(int)) {
    for (const int signal : cancelSignals) {
        struct sigaction now = {};
        if (sigaction(signal, nullptr, &now) != 0 || now.sa_handler != from)
            continue;
        struct sigaction action = {};
        action.sa_handler = to;
        action.sa_flags = SA_RESTART;
        sigemptyset(&action.sa_mask);
        sigaction(signal, &action, nullptr);
    }
}

/// The exception that is being handled; "out of memory" if there is none: it was thrown where none may be thrown.
const char* causeOfEnd() noexcept {
    const std::exception_ptr error = std::current_exception();
    try {
        if (error)
            std::rethrow_exception(error);
    } catch (const std::bad_alloc&) {
        return "out of memory";
    } catch (...) {
        return "internal error (an exception that nothing handles)";
    }
    return "out of memory";
}

/// The time until the process must have ended. The first alarm of a shortage only looks how far the bake is.
enum class Deadline { None, Shortage, ShortageWithoutProgress, Failure };

constexpr unsigned patience_s = 5, firstPatience_s = 2;
std::atomic<Deadline> deadline{Deadline::None};
std::atomic<unsigned> factor{1};
std::atomic<std::uint64_t> lastAmount{0}, progress{0}, progressAtFirst{0};

void onAlarm(int) {
    Deadline now = Deadline::Shortage;
    if (deadline.compare_exchange_strong(now, Deadline::ShortageWithoutProgress)) {
        progressAtFirst = progress.load();
        alarm((patience_s - firstPatience_s) * factor);
        return;
    }
    if (now == Deadline::None)
        return;
    if (now == Deadline::ShortageWithoutProgress && progress != progressAtFirst) {
        deadline.compare_exchange_strong(now, Deadline::None);
        return;
    }
    end("out of memory");
}

void onShortage() {
    Deadline now = Deadline::None;
    if (deadline.compare_exchange_strong(now, Deadline::Shortage))
        alarm(firstPatience_s * factor);
}

void onTerminate() {
    end(causeOfEnd());
}

} // namespace

namespace ktBakeLastWords {

void prepare(bool asJson) noexcept {
    isJson = asJson;
    put("ktbake", "starting"); // short enough for strings without memory
    beginPreparedStep();
    std::set_terminate(onTerminate);
    std::signal(SIGALRM, onAlarm);
    listen();
    ktMemoryShortage::setListener(onShortage);
#if !defined(__SANITIZE_ADDRESS__) && !defined(__SANITIZE_THREAD__) // they have their own handlers
    stack_t stack = {};
    stack.ss_sp = signalStack; // the other one may be full
    stack.ss_size = sizeof signalStack;
    sigaltstack(&stack, nullptr);
    struct sigaction action = {};
    action.sa_handler = onFailureSignal;
    action.sa_flags = SA_ONSTACK;
    sigemptyset(&action.sa_mask);
    for (const int signal : failureSignals)
        sigaction(signal, &action, nullptr);
#endif
}

void listen() noexcept {
    exchangeCancelHandler(SIG_DFL, onCancelSignal);
}

void deleteFiles() noexcept {
    ktSafeFile::deleteTemporaryFiles();
    for (std::size_t i = pathCount; i > 0; --i)
        std::remove(paths[i - 1]);
}

void setStep(const std::string& file, const std::string& what) {
    prepareStep(file, what);
    beginPreparedStep();
    if (deadline == Deadline::Shortage || deadline == Deadline::ShortageWithoutProgress)
        goOn(); // whoever ran out of memory did without
}

void prepareStep(const std::string& file, const std::string& what) {
    put(escaped(ktBakeMessages::shown(file)), escaped(what));
}

void beginPreparedStep() noexcept {
    current = current == &steps[0] ? &steps[1] : &steps[0];
}

void setResult(int exitCode) noexcept {
    result = exitCode;
}

void endSoon() noexcept {
    if (deadline.exchange(Deadline::Failure) != Deadline::Failure)
        alarm(patience_s * factor);
}

void goOn() noexcept {
    deadline = Deadline::None;
    alarm(0);
}

void noteProgress(std::uint64_t amount) noexcept {
    if (lastAmount.exchange(amount) != amount)
        ++progress;
}

void waitLonger() noexcept {
    factor = 12;
}

void letRun() noexcept {
    exchangeCancelHandler(onCancelSignal, SIG_DFL);
    ktMemoryShortage::setListener(nullptr);
    goOn();
}

void deleteAtEnd(const std::string& path) noexcept {
    const std::size_t i = pathCount;
    if (i == mostPaths || path.size() >= sizeof paths[i])
        return;
    std::memcpy(paths[i], path.c_str(), path.size() + 1);
    pathCount = i + 1;
}

int sayOutOfMemory() noexcept {
    say("out of memory");
    return ktBakeExit::failed;
}

} // namespace ktBakeLastWords
