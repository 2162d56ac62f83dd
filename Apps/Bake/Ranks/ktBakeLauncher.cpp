// SPDX-License-Identifier: LGPL-2.1-or-later
// Recognises launchers of MPI, and watches over the process of a rank.
#include "ktBakeLauncher.h"

#include "ktBakeExit.h"

#include <algorithm>
#include <cerrno>
#include <charconv>
#include <csignal>
#include <cstdlib>
#include <cstring>
#include <fcntl.h>
#include <sys/prctl.h>
#include <sys/wait.h>
#include <unistd.h>

namespace {

constexpr int passedSignals[] = {SIGINT, SIGTERM, SIGHUP, SIGUSR1, SIGUSR2};

volatile pid_t child = 0;
volatile std::sig_atomic_t lastPassed = 0;
int errorStream = STDERR_FILENO;

// A number of the environment; -1 if it is not set.
int numberOf(const char* name) {
    const char* const text = std::getenv(name); // nobody changes the environment. NOLINT(concurrency-mt-unsafe)
    int number = -1;
    if (text)
        std::from_chars(text, text + std::strlen(text), number);
    return number;
}

void passOn(int signal) {
    lastPassed = signal;
    if (child > 0)
        kill(child, signal);
}

void closeOutput() {
    errorStream = fcntl(STDERR_FILENO, F_DUPFD_CLOEXEC, 3);
    const int nothing = open("/dev/null", O_WRONLY | O_CLOEXEC);
    dup2(nothing, STDOUT_FILENO);
    dup2(nothing, STDERR_FILENO);
    close(nothing);
}

[[noreturn]] void waitForChild(const ktBakeLauncher& launcher) {
    int status = 0;
    while (waitpid(child, &status, 0) < 0 && errno == EINTR) {
    }
    if (WIFEXITED(status))
        _exit(WEXITSTATUS(status));
    const int signal = WTERMSIG(status);
    if (signal == lastPassed || signal == SIGINT || signal == SIGTERM || signal == SIGHUP) { // as asked
        std::signal(signal, SIG_DFL);
        std::raise(signal);
    }
    // The only thread. NOLINTNEXTLINE(concurrency-mt-unsafe)
    const char* const name = strsignal(signal);
    ktSayAsRank(launcher, "signal " + std::to_string(signal) + " (" + name + ") ended it; the bake ends");
    _exit(ktBakeExit::failed);
}

} // namespace

ktBakeLauncher ktBakeLauncher::find() {
    constexpr const char* names[][2] = {{"OMPI_COMM_WORLD_SIZE", "OMPI_COMM_WORLD_RANK"},
                                        {"PMI_SIZE", "PMI_RANK"},
                                        {"SLURM_STEP_NUM_TASKS", "PMIX_RANK"}};
    for (const auto& [size, rank] : names)
        if (numberOf(size) > 1 && numberOf(rank) >= 0)
            return {numberOf(rank), numberOf(size)};
    return {};
}

std::string ktHostName() {
    char name[256] = "";
    gethostname(name, sizeof name - 1);
    return name;
}

bool ktAreRanksOff(const std::vector<std::string>& arguments) {
    const auto end = std::find(arguments.begin(), arguments.end(), "--");
    for (auto argument = arguments.begin(); argument != end; ++argument)
        if (*argument == "--ranks=off" || (*argument == "--ranks" && argument + 1 != end && *(argument + 1) == "off"))
            return true;
    return false;
}

void ktSayAsRank(const ktBakeLauncher& launcher, const std::string& reason) {
    const std::string line =
        "error: rank " + std::to_string(launcher.rank) + " on " + ktHostName() + ": " + reason + "\n";
    [[maybe_unused]] const ssize_t written = write(errorStream, line.data(), line.size());
}

// The only thread. NOLINTBEGIN(concurrency-mt-unsafe)
void ktGuardRank(const ktBakeLauncher& launcher) {
    const pid_t parent = getpid();
    sigset_t passed, before;
    sigemptyset(&passed);
    for (const int signal : passedSignals)
        sigaddset(&passed, signal);
    sigprocmask(SIG_BLOCK, &passed, &before);
    child = fork();
    if (child == 0) {
        // An own group: launchers signal the whole group, and this process would get each signal twice.
        setpgid(0, 0);
        prctl(PR_SET_PDEATHSIG, SIGKILL);
        if (getppid() != parent)
            _exit(ktBakeExit::failed);
        sigprocmask(SIG_SETMASK, &before, nullptr);
        if (launcher.rank != 0)
            closeOutput();
        return;
    }
    if (child > 0) {
        struct sigaction action = {};
        action.sa_handler = passOn;
        sigemptyset(&action.sa_mask);
        for (const int signal : passedSignals)
            sigaction(signal, &action, nullptr);
    }
    sigprocmask(SIG_SETMASK, &before, nullptr);
    if (child > 0)
        waitForChild(launcher);
}
// NOLINTEND(concurrency-mt-unsafe)
