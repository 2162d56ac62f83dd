// SPDX-License-Identifier: LGPL-2.1-or-later
// A library to preload: the process gets SIGINT, once, in the call that KT_INTERRUPT_IN names: read, write, fsync or
// rename of a file whose name contains KT_INTERRUPT_AT; or message: when standard error gets a text that contains it;
// or start: before main(). The signal is handled before the call goes on, so nothing depends on time.
#include <atomic>
#include <climits>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <dlfcn.h>
#include <unistd.h>

namespace {

const char* variable(const char* name) {
    const char* const text = std::getenv(name); // NOLINT(concurrency-mt-unsafe)
    return text ? text : "";
}

bool isChosen(const char* call) {
    return std::strcmp(variable("KT_INTERRUPT_IN"), call) == 0;
}

void interruptAt(const char* place) {
    static std::atomic<bool> isDone{false};
    if (std::strstr(place, variable("KT_INTERRUPT_AT")) && !isDone.exchange(true))
        raise(SIGINT);
}

void interruptIn(const char* call, int file) {
    if (!isChosen(call))
        return;
    char link[64], name[PATH_MAX];
    std::snprintf(link, sizeof link, "/proc/self/fd/%d", file);
    const ssize_t size = readlink(link, name, sizeof name - 1);
    if (size < 0)
        return;
    name[size] = '\0';
    interruptAt(name);
}

template <class Function>
Function* next(const char* name) {
    return reinterpret_cast<Function*>(dlsym(RTLD_NEXT, name));
}

ssize_t writeMessage(void*, const char* text, size_t size) {
    char copy[1024];
    std::snprintf(copy, sizeof copy, "%.*s", static_cast<int>(size), text);
    const ssize_t written = write(STDERR_FILENO, text, size);
    interruptAt(copy);
    return written;
}

/// The C library writes messages without a call that could be replaced, so standard error becomes a stream of ours.
[[gnu::constructor]] void replaceStandardError() {
    if (!isChosen("message"))
        return;
    cookie_io_functions_t functions = {};
    functions.write = writeMessage;
    FILE* const stream = fopencookie(nullptr, "w", functions);
    if (!stream)
        return;
    std::setvbuf(stream, nullptr, _IONBF, 0);
    stderr = stream;
}

/// Some shells let background jobs ignore SIGINT.
[[gnu::constructor]] void interruptStart() {
    std::signal(SIGINT, SIG_DFL);
    if (isChosen("start"))
        raise(SIGINT);
}

} // namespace

extern "C" {

ssize_t read(int file, void* data, size_t size) {
    interruptIn("read", file);
    return next<decltype(read)>("read")(file, data, size);
}

ssize_t write(int file, const void* data, size_t size) {
    interruptIn("write", file);
    return next<decltype(write)>("write")(file, data, size);
}

int fsync(int file) {
    interruptIn("fsync", file);
    return next<decltype(fsync)>("fsync")(file);
}

int rename(const char* from, const char* to) noexcept {
    if (isChosen("rename"))
        interruptAt(from);
    return next<decltype(rename)>("rename")(from, to);
}
}
