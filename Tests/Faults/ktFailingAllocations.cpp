// SPDX-License-Identifier: LGPL-2.1-or-later
// A library to preload: allocations fail, from number KT_FAILING_FROM on (0 is the first one after the start of
// main()), KT_FAILING_COUNT of them. KT_ALLOCATION_COUNT names a file that gets the number of allocations at the end.
// KT_FAILING_TRACE=1 prints the calls that lead to the first one. A program can also call ktFailAllocations(). With
// KT_FAILING_REQUESTS and KT_FAILING_ANSWERS, the numbers of two pipes, main() runs once for each request.
// KT_FAILING_BUILD=N instead lets all allocations fail while Embree builds its structure number N, from 1. With
// KT_HANG=spin or KT_HANG=wait, Embree never says from then on what went wrong. The next build says whether an
// alarm is set. With KT_FAILING_ARENA=N, N allocations fail from the first one on that TBB makes for
// an arena.
#include "ktFailingRun.h"

#include <atomic>
#include <cerrno>
#include <climits>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <dlfcn.h>
#include <execinfo.h>
#include <fcntl.h>
#include <initializer_list>
#include <malloc.h>
#include <sys/mman.h>
#include <sys/resource.h>
#include <sys/time.h>
#include <sys/wait.h>
#include <unistd.h>

namespace {

std::atomic<bool> isCounting{false};
std::atomic<long> number{0};
std::atomic<long> first{LONG_MAX}, last{LONG_MAX}; // the allocations [first, last) fail
bool isTraced = false;

long numberIn(const char* variable, long otherwise) {
    const char* const text = std::getenv(variable); // NOLINT(concurrency-mt-unsafe)
    return text ? std::strtol(text, nullptr, 10) : otherwise;
}

void trace() {
    isCounting = false; // this allocates
    void* calls[60];
    backtrace_symbols_fd(calls, backtrace(calls, 60), STDERR_FILENO);
    isCounting = true;
}

/// Counts an allocation. Whether it fails; errno is then set.
bool mustFail() {
    if (!isCounting.load(std::memory_order_relaxed))
        return false;
    const long now = number++;
    if (now < first || now >= last)
        return false;
    if (isTraced && now == first)
        trace();
    errno = ENOMEM;
    return true;
}

void writeCount() {
    isCounting = false;
    const char* const name = std::getenv("KT_ALLOCATION_COUNT"); // NOLINT(concurrency-mt-unsafe)
    const int file = name ? open(name, O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, 0666) : -1;
    if (file < 0)
        return;
    dprintf(file, "%ld\n", number.load());
    close(file);
}

void letFail(long from, long count) {
    first = from;
    last = count > LONG_MAX - from ? LONG_MAX : from + count;
}

/// Forks for each request. Returns in the child processes; the server ends with its requests.
void serve(int requests, int answers) {
    ktFailingRunRequest request;
    while (read(requests, &request, sizeof request) == sizeof request) {
        const pid_t process = fork();
        if (process == 0) {
            close(requests);
            close(answers);
            const int file = open(request.errorFile, O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, 0600);
            dup2(file, STDERR_FILENO);
            close(file);
            letFail(request.first, request.count);
            return;
        }
        ktFailingRunEnd end = {};
        rusage usage = {};
        if (write(answers, &process, sizeof process) != sizeof process || wait4(process, &end.status, 0, &usage) < 0)
            break;
        for (const timeval& time : {usage.ru_utime, usage.ru_stime})
            end.processorSeconds += static_cast<double>(time.tv_sec) + 1e-6 * static_cast<double>(time.tv_usec);
        if (write(answers, &end, sizeof end) != sizeof end)
            break;
    }
    _exit(0);
}

long buildNumber = 0, failingBuild = 0;
std::atomic<long> failingInArena{0};
enum class Hang { None, Spin, Wait } hang = Hang::None;
std::atomic<bool> isHanging{false};

void readHang() {
    failingBuild = numberIn("KT_FAILING_BUILD", 0);
    failingInArena = numberIn("KT_FAILING_ARENA", 0);
    const char* const text = std::getenv("KT_HANG"); // NOLINT(concurrency-mt-unsafe)
    if (text)
        hang = std::strcmp(text, "spin") == 0 ? Hang::Spin : Hang::Wait;
}

/// A function of a library that is loaded, perhaps only for a module of Python.
template <class Function>
Function* ofLibrary(const char* library, const char* name) {
    const bool wasCounting = isCounting.exchange(false); // this allocates
    void* const loaded = dlopen(library, RTLD_LAZY | RTLD_NOLOAD);
    auto* const function = reinterpret_cast<Function*>(dlsym(loaded ? loaded : RTLD_NEXT, name));
    isCounting = wasCounting;
    return function;
}

void sayIfAlarmed() {
    itimerval alarm = {};
    getitimer(ITIMER_REAL, &alarm);
    dprintf(STDERR_FILENO, "%s\n", alarm.it_value.tv_sec + alarm.it_value.tv_usec > 0 ? "alarm: on" : "alarm: off");
}

int (*realMain)(int, char**, char**) = nullptr;

int countedMain(int argc, char** argv, char** environment) {
    isTraced = numberIn("KT_FAILING_TRACE", 0) != 0;
    if (isTraced) {
        void* calls[1];
        backtrace(calls, 1); // loads what it needs
    }
    std::atexit(writeCount);
    letFail(numberIn("KT_FAILING_FROM", LONG_MAX), numberIn("KT_FAILING_COUNT", 1));
    if (const long requests = numberIn("KT_FAILING_REQUESTS", 0))
        serve(static_cast<int>(requests), static_cast<int>(numberIn("KT_FAILING_ANSWERS", 0)));
    readHang();
    isCounting = true;
    return realMain(argc, argv, environment);
}

} // namespace

extern "C" {

// Names of the C library. NOLINTBEGIN(clang-diagnostic-reserved-identifier)
void* __libc_malloc(size_t);
void* __libc_calloc(size_t, size_t);
void* __libc_realloc(void*, size_t);
void* __libc_memalign(size_t, size_t);
int __libc_start_main(int (*)(int, char**, char**), int, char**, void (*)(), void (*)(), void (*)(), void*);
// NOLINTEND(clang-diagnostic-reserved-identifier)

void rtcJoinCommitScene(void* scene);
int rtcGetDeviceError(void* device);
void ktInitializeArena(void* arena) __asm__("_ZN3tbb6detail2r110initializeERNS0_2d115task_arena_baseE");

// Python calls these.
void ktFailAllocations(long after, long count);
long ktEndFailingAllocations();

/// From now on, lets `count` allocations fail after `after` more.
void ktFailAllocations(long after, long count) {
    isCounting = false;
    number = 0;
    letFail(after, count);
    isCounting = true;
}

/// Ends the failures. The number of allocations since ktFailAllocations().
long ktEndFailingAllocations() {
    isCounting = false;
    return number;
}

void* malloc(size_t size) noexcept {
    return mustFail() ? nullptr : __libc_malloc(size);
}

void* calloc(size_t count, size_t size) noexcept {
    return mustFail() ? nullptr : __libc_calloc(count, size);
}

void* realloc(void* memory, size_t size) noexcept {
    return size > 0 && mustFail() ? nullptr : __libc_realloc(memory, size);
}

void* memalign(size_t alignment, size_t size) noexcept {
    return mustFail() ? nullptr : __libc_memalign(alignment, size);
}

void* aligned_alloc(size_t alignment, size_t size) noexcept {
    return mustFail() ? nullptr : __libc_memalign(alignment, size);
}

int posix_memalign(void** memory, size_t alignment, size_t size) noexcept {
    void* const made = mustFail() ? nullptr : __libc_memalign(alignment, size);
    if (!made)
        return ENOMEM;
    *memory = made;
    return 0;
}

void* mmap(void* address, size_t size, int protection, int flags, int file, off_t offset) noexcept {
    static const auto next = reinterpret_cast<decltype(&mmap)>(dlsym(RTLD_NEXT, "mmap"));
    return (flags & MAP_ANONYMOUS) != 0 && mustFail() ? MAP_FAILED
                                                      : next(address, size, protection, flags, file, offset);
}

/// Embree's. Its handles are pointers.
void rtcJoinCommitScene(void* scene) {
    static const auto next = ofLibrary<decltype(rtcJoinCommitScene)>("libembree3.so.3", "rtcJoinCommitScene");
    if (++buildNumber != failingBuild) {
        if (failingBuild > 0 && buildNumber > failingBuild)
            sayIfAlarmed();
        next(scene);
        return;
    }
    letFail(number, LONG_MAX);
    next(scene);
    letFail(LONG_MAX, 1);
    isHanging = hang != Hang::None;
}

int rtcGetDeviceError(void* device) {
    static const auto next = ofLibrary<decltype(rtcGetDeviceError)>("libembree3.so.3", "rtcGetDeviceError");
    while (isHanging)
        if (hang == Hang::Wait)
            pause();
    return next(device);
}

/// tbb::task_arena::initialize().
void ktInitializeArena(void* arena) {
    static const auto next = ofLibrary<decltype(ktInitializeArena)>(
        "libtbb.so.12", "_ZN3tbb6detail2r110initializeERNS0_2d115task_arena_baseE");
    if (const long which = failingInArena.exchange(0))
        letFail(number, which);
    next(arena);
}

int __libc_start_main(int (*main)(int, char**, char**), int argc, char** argv, void (*begin)(), void (*end)(),
                      void (*endLoader)(), void* stack) {
    realMain = main;
    const auto next = reinterpret_cast<decltype(&__libc_start_main)>(dlsym(RTLD_NEXT, "__libc_start_main"));
    return next(countedMain, argc, argv, begin, end, endLoader, stack);
}
}
