// SPDX-License-Identifier: LGPL-2.1-or-later
// Runs work in a forked process with limits on memory and time, and returns the bytes that it writes.
#include "ktLimitedProcess.h"

#include "ktDescriptor.h"
#include "ktFileError.h"
#include "ktProcessSandbox.h"
#include "ktReadInterrupt.h"

#include <algorithm>
#include <cerrno>
#include <chrono>
#include <csignal>
#include <cstdio>
#include <fcntl.h>
#include <new>
#include <sys/mman.h>
#include <sys/prctl.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <system_error>
#include <thread>
#include <unistd.h>

namespace {

enum ExitCode { done = 0, threw = 1, outOfMemory = 2, noRoom = 3, tooLarge = 4 };

std::size_t addressSpaceNow() {
    unsigned long pages = 0;
    if (std::FILE* file = std::fopen("/proc/self/statm", "r")) {
        if (std::fscanf(file, "%lu", &pages) != 1)
            pages = 0;
        std::fclose(file);
    }
    return pages * static_cast<std::size_t>(sysconf(_SC_PAGESIZE));
}

void limit(int resource, std::size_t value) {
    rlimit now;
    if (getrlimit(resource, &now) == 0) {
        now.rlim_cur = std::min<rlim_t>(now.rlim_max, value);
        setrlimit(resource, &now);
    }
}

[[noreturn]] void runCopy(const ktProcessLimits& limits, const std::function<void(ktByteSink&)>& work, int descriptor) {
    limit(RLIMIT_AS, addressSpaceNow() + limits.memory_bytes);
    limit(RLIMIT_CPU, limits.time_s);
    limit(RLIMIT_CORE, 0);
    for (const int number : {SIGSEGV, SIGABRT, SIGBUS, SIGFPE, SIGILL, SIGXCPU, SIGALRM, SIGINT, SIGTERM})
        std::signal(number, SIG_DFL);
    std::signal(SIGXFSZ, SIG_IGN); // then the write fails, which gets a message
    sigset_t none;
    sigemptyset(&none);
    pthread_sigmask(SIG_SETMASK, &none, nullptr);
    alarm(limits.wait_s);
    // Output of a crashing library would only confuse. The caller reports the reason.
    const int nowhere = open("/dev/null", O_WRONLY);
    if (nowhere >= 0) {
        dup2(nowhere, STDOUT_FILENO);
        dup2(nowhere, STDERR_FILENO);
    }
    ktProcessSandbox::closeOthers(descriptor); // such as the connection to the window system
    ktProcessSandbox::forbidNetwork();
    if (!limits.readableFolders.empty())
        ktProcessSandbox::restrictFiles(limits.readableFolders);
    // Importers catch exceptions, and would go on with a part of the scene.
    std::set_new_handler([] { _exit(outOfMemory); });
    int code = done;
    try {
        ktByteSink sink(descriptor);
        work(sink);
    } catch (const std::bad_alloc&) {
        code = outOfMemory;
    } catch (...) {
        code = threw;
    }
    _exit(code);
}

std::string reasonFor(int status) {
    if (WIFSIGNALED(status) && (WTERMSIG(status) == SIGXCPU || WTERMSIG(status) == SIGALRM))
        return "cannot be imported: it took too long";
    if (WIFSIGNALED(status) && (WTERMSIG(status) == SIGINT || WTERMSIG(status) == SIGTERM))
        return "was not imported: interrupted";
    if (WIFEXITED(status) && WEXITSTATUS(status) == tooLarge)
        return "cannot be imported: the limit on the size of files (ulimit -f) is too low for it";
    if (WIFEXITED(status) && (WEXITSTATUS(status) == outOfMemory || WEXITSTATUS(status) == noRoom))
        return "cannot be imported: it asks for too much memory";
    return "cannot be imported: the importer failed on it";
}

/// Waits for the process and returns its status. Ends the process if the reading is interrupted.
int waitForEnd(pid_t process) {
    int status = 0;
    const int options = ktReadInterrupt::isPossible() ? WNOHANG : 0;
    for (;;) {
        const pid_t ended = waitpid(process, &status, options);
        if (ended == process)
            return status;
        if (ended < 0 && errno != EINTR)
            throw ktFileError("file", "cannot be imported: " + std::generic_category().message(errno));
        if (ktReadInterrupt::isRequested()) {
            kill(process, SIGKILL);
            while (waitpid(process, &status, 0) < 0 && errno == EINTR) {
            }
            throw ktReadInterrupt::Interrupted();
        }
        if (ended == 0)
            std::this_thread::sleep_for(std::chrono::milliseconds(2));
    }
}

} // namespace

void ktByteSink::write(const void* data, std::size_t size) {
    const char* at = static_cast<const char*>(data);
    while (size > 0) {
        const ssize_t written = ::write(descriptor, at, size);
        if (written < 0 && errno == EINTR)
            continue;
        if (written <= 0)
            _exit(written < 0 && errno == EFBIG ? tooLarge : noRoom);
        at += written;
        size -= static_cast<std::size_t>(written);
    }
}

ktBytes ktRunLimited(const ktProcessLimits& limits, const std::function<void(ktByteSink&)>& work) {
    const ktDescriptor memory(memfd_create("ktLimitedProcess", MFD_CLOEXEC));
    if (memory.number < 0)
        throw ktFileError("file", "cannot be imported: " + std::generic_category().message(errno));
    std::fflush(nullptr);
    const pid_t self = getpid();
    const pid_t copy = fork();
    if (copy < 0)
        throw ktFileError("file", "cannot be imported: " + std::generic_category().message(errno));
    if (copy == 0) {
        prctl(PR_SET_PDEATHSIG, SIGKILL);
        if (getppid() != self)
            _exit(threw); // the parent ended before the line above
        runCopy(limits, work, memory.number);
    }

    const int status = waitForEnd(copy);
    if (!WIFEXITED(status) || WEXITSTATUS(status) != done)
        throw ktFileError("file", reasonFor(status));

    struct stat info;
    if (fstat(memory.number, &info) != 0)
        throw ktFileError("file", "cannot be imported: " + std::generic_category().message(errno));
    ktBytes bytes(static_cast<std::size_t>(info.st_size));
    std::size_t at = 0;
    while (at < bytes.size()) {
        const ssize_t got = pread(memory.number, bytes.data() + at, bytes.size() - at, static_cast<off_t>(at));
        if (got < 0 && errno == EINTR)
            continue;
        if (got <= 0)
            throw ktFileError("file", "cannot be imported: its data were lost");
        at += static_cast<std::size_t>(got);
    }
    return bytes;
}
