// SPDX-License-Identifier: LGPL-2.1-or-later
// A library to preload: calls of the system fail. KT_FAULT_CALL is one of open, mmap, write, fsync, close, rename,
// pthread_create. Calls from number KT_FAULT_FROM on (0 is the first one after the start of main()), KT_FAULT_COUNT of
// them, fail with the error KT_FAULT_ERRNO. KT_FAULT_TOTAL names a file that gets the number of calls at the end.
// A program can also call ktFailCalls(). Child processes count together with their parent. Calls on the standard
// streams are neither counted nor failed.
#include <atomic>
#include <cerrno>
#include <climits>
#include <cstdarg>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <dlfcn.h>
#include <fcntl.h>
#include <new>
#include <pthread.h>
#include <sys/mman.h>
#include <sys/uio.h>
#include <unistd.h>

namespace {

/// Shared with child processes.
struct State {
    std::atomic<bool> isCounting{false};
    std::atomic<long> number{0};
    std::atomic<long> first{LONG_MAX}, last{LONG_MAX}; // the calls [first, last) fail
    char call[32] = {};
    int error = EIO;
};

State ownState;
State* state = &ownState;

template <class Function>
Function* next(const char* name) {
    return reinterpret_cast<Function*>(dlsym(RTLD_NEXT, name));
}

/// Counts a call. Whether it fails; errno is then set.
bool mustFail(const char* call) {
    if (!state->isCounting || std::strcmp(state->call, call) != 0)
        return false;
    const long now = state->number++;
    if (now < state->first || now >= state->last)
        return false;
    errno = state->error;
    return true;
}

bool mustFail(const char* call, int file) {
    return file > STDERR_FILENO && mustFail(call);
}

void begin(const char* call, long first, long count, int error) {
    state->isCounting = false;
    std::snprintf(state->call, sizeof state->call, "%s", call);
    state->number = 0;
    state->first = first;
    state->last = count > LONG_MAX - first ? LONG_MAX : first + count;
    state->error = error;
    state->isCounting = true;
}

const char* variable(const char* name) {
    return std::getenv(name); // NOLINT(concurrency-mt-unsafe)
}

long numberIn(const char* name, long otherwise) {
    const char* const text = variable(name);
    return text ? std::strtol(text, nullptr, 10) : otherwise;
}

void writeTotal() {
    state->isCounting = false;
    const char* const name = variable("KT_FAULT_TOTAL");
    const int file = name ? open(name, O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, 0666) : -1;
    if (file < 0)
        return;
    dprintf(file, "%ld\n", state->number.load());
    close(file);
}

int (*realMain)(int, char**, char**) = nullptr;

int countedMain(int argc, char** argv, char** environment) {
    void* const shared = mmap(nullptr, sizeof(State), PROT_READ | PROT_WRITE, MAP_SHARED | MAP_ANONYMOUS, -1, 0);
    if (shared != MAP_FAILED)
        state = new (shared) State;
    std::atexit(writeTotal);
    if (const char* const call = variable("KT_FAULT_CALL"))
        begin(call, numberIn("KT_FAULT_FROM", LONG_MAX), numberIn("KT_FAULT_COUNT", 1),
              static_cast<int>(numberIn("KT_FAULT_ERRNO", EIO)));
    return realMain(argc, argv, environment);
}

/// The permissions of a new file, the last argument of open().
mode_t modeIn(int flags, va_list arguments) {
    return (flags & (O_CREAT | O_TMPFILE)) != 0 ? va_arg(arguments, mode_t) : 0;
}

} // namespace

extern "C" {

// A name of the C library. NOLINTNEXTLINE(clang-diagnostic-reserved-identifier)
int __libc_start_main(int (*)(int, char**, char**), int, char**, void (*)(), void (*)(), void (*)(), void*);

// Python calls these.
void ktFailCalls(const char* call, long after, long count, int error);
long ktEndFailingCalls();

/// From now on, lets `count` of these calls fail after `after` more.
void ktFailCalls(const char* call, long after, long count, int error) {
    begin(call, after, count, error);
}

/// Ends the failures. The number of calls since ktFailCalls().
long ktEndFailingCalls() {
    state->isCounting = false;
    return state->number;
}

int open(const char* name, int flags, ...) {
    va_list arguments;
    va_start(arguments, flags);
    const mode_t mode = modeIn(flags, arguments);
    va_end(arguments);
    return mustFail("open") ? -1 : next<int(const char*, int, ...)>("open")(name, flags, mode);
}

int open64(const char* name, int flags, ...) {
    va_list arguments;
    va_start(arguments, flags);
    const mode_t mode = modeIn(flags, arguments);
    va_end(arguments);
    return mustFail("open") ? -1 : next<int(const char*, int, ...)>("open64")(name, flags, mode);
}

int openat(int folder, const char* name, int flags, ...) {
    va_list arguments;
    va_start(arguments, flags);
    const mode_t mode = modeIn(flags, arguments);
    va_end(arguments);
    return mustFail("open") ? -1 : next<int(int, const char*, int, ...)>("openat")(folder, name, flags, mode);
}

int openat64(int folder, const char* name, int flags, ...) {
    va_list arguments;
    va_start(arguments, flags);
    const mode_t mode = modeIn(flags, arguments);
    va_end(arguments);
    return mustFail("open") ? -1 : next<int(int, const char*, int, ...)>("openat64")(folder, name, flags, mode);
}

FILE* fopen(const char* name, const char* mode) {
    return mustFail("open") ? nullptr : next<decltype(fopen)>("fopen")(name, mode);
}

FILE* fopen64(const char* name, const char* mode) {
    return mustFail("open") ? nullptr : next<decltype(fopen)>("fopen64")(name, mode);
}

void* mmap(void* address, size_t size, int protection, int flags, int file, off_t offset) noexcept {
    return mustFail("mmap") ? MAP_FAILED : next<decltype(mmap)>("mmap")(address, size, protection, flags, file, offset);
}

void* mmap64(void* address, size_t size, int protection, int flags, int file, off64_t offset) noexcept {
    return mustFail("mmap") ? MAP_FAILED
                            : next<decltype(mmap)>("mmap64")(address, size, protection, flags, file, offset);
}

ssize_t write(int file, const void* data, size_t size) {
    return mustFail("write", file) ? -1 : next<decltype(write)>("write")(file, data, size);
}

ssize_t writev(int file, const iovec* parts, int count) {
    return mustFail("write", file) ? -1 : next<decltype(writev)>("writev")(file, parts, count);
}

int fsync(int file) {
    return mustFail("fsync", file) ? -1 : next<decltype(fsync)>("fsync")(file);
}

int fdatasync(int file) {
    return mustFail("fsync", file) ? -1 : next<decltype(fsync)>("fdatasync")(file);
}

/// A close() that fails has closed the file all the same.
int close(int file) {
    const int result = next<decltype(close)>("close")(file);
    return mustFail("close", file) ? -1 : result;
}

int rename(const char* from, const char* to) noexcept {
    return mustFail("rename") ? -1 : next<decltype(rename)>("rename")(from, to);
}

int renameat2(int fromFolder, const char* from, int toFolder, const char* to, unsigned flags) noexcept {
    return mustFail("rename") ? -1 : next<decltype(renameat2)>("renameat2")(fromFolder, from, toFolder, to, flags);
}

int pthread_create(pthread_t* thread, const pthread_attr_t* attributes, void* (*run)(void*), void* argument) noexcept {
    return mustFail("pthread_create")
               ? errno
               : next<decltype(pthread_create)>("pthread_create")(thread, attributes, run, argument);
}

int __libc_start_main(int (*main)(int, char**, char**), int argc, char** argv, void (*first)(), void (*end)(),
                      void (*endLoader)(), void* stack) {
    realMain = main;
    return next<decltype(__libc_start_main)>("__libc_start_main")(countedMain, argc, argv, first, end, endLoader,
                                                                  stack);
}
}
