// SPDX-License-Identifier: LGPL-2.1-or-later
// A library to preload: the call that KT_FAILING_CALL names fails. Calls on files fail for temporary files of outputs,
// read() for the presets file. Threads fail from number KT_FAILING_FROM on, KT_FAILING_COUNT of them. With "statvfs",
// all file systems have KT_FREE_BYTES bytes.
#include <atomic>
#include <cerrno>
#include <climits>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <dlfcn.h>
#include <pthread.h>
#include <sys/statvfs.h>
#include <unistd.h>

namespace {

bool isChosen(const char* call) {
    const char* const chosen = std::getenv("KT_FAILING_CALL"); // NOLINT(concurrency-mt-unsafe)
    return chosen && std::strcmp(chosen, call) == 0;
}

long numberIn(const char* variable) {
    const char* const text = std::getenv(variable); // NOLINT(concurrency-mt-unsafe)
    return text ? std::strtol(text, nullptr, 10) : 0;
}

bool mustFail(const char* call, int file) {
    if (!isChosen(call))
        return false;
    char link[64], name[PATH_MAX];
    std::snprintf(link, sizeof link, "/proc/self/fd/%d", file);
    const ssize_t size = readlink(link, name, sizeof name - 1);
    if (size < 0)
        return false;
    name[size] = '\0';
    return std::strstr(name, ".tmp-") != nullptr;
}

int fail() {
    errno = EIO;
    return -1;
}

template <class Function>
Function* next(const char* name) {
    return reinterpret_cast<Function*>(dlsym(RTLD_NEXT, name));
}

} // namespace

extern "C" {

ssize_t read(int file, void* data, size_t size) {
    char link[64], name[PATH_MAX];
    std::snprintf(link, sizeof link, "/proc/self/fd/%d", file);
    const ssize_t length = isChosen("read") ? readlink(link, name, sizeof name - 1) : -1;
    name[length < 0 ? 0 : length] = '\0';
    return std::strstr(name, "aotemplates.xml") ? fail() : next<decltype(read)>("read")(file, data, size);
}

ssize_t write(int file, const void* data, size_t size) {
    return mustFail("write", file) ? fail() : next<decltype(write)>("write")(file, data, size);
}

int fsync(int file) {
    return mustFail("fsync", file) ? fail() : next<decltype(fsync)>("fsync")(file);
}

int close(int file) {
    const bool fails = mustFail("close", file);
    const int result = next<decltype(close)>("close")(file);
    return fails ? fail() : result;
}

int pthread_create(pthread_t* thread, const pthread_attr_t* attributes, void* (*run)(void*), void* argument) noexcept {
    static std::atomic<long> number{0};
    const long first = numberIn("KT_FAILING_FROM"), now = number++;
    if (isChosen("pthread_create") && now >= first && now < first + numberIn("KT_FAILING_COUNT"))
        return EAGAIN;
    return next<decltype(pthread_create)>("pthread_create")(thread, attributes, run, argument);
}

int statvfs(const char* path, struct statvfs* space) noexcept {
    const int result = next<decltype(statvfs)>("statvfs")(path, space);
    if (isChosen("statvfs") && result == 0) {
        space->f_frsize = 1;
        space->f_bavail = static_cast<fsblkcnt_t>(numberIn("KT_FREE_BYTES"));
    }
    return result;
}

int rename(const char* from, const char* to) noexcept {
    const bool fails = isChosen("rename") && std::strstr(from, ".tmp-");
    return fails ? fail() : next<decltype(rename)>("rename")(from, to);
}
}
