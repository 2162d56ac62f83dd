// SPDX-License-Identifier: LGPL-2.1-or-later
// Runs a process that may hang, and says how it ended.
#include "ktWatchedProcess.h"

#include <chrono>
#include <csignal>
#include <fcntl.h>
#include <fstream>
#include <sstream>
#include <sys/resource.h>
#include <sys/wait.h>
#include <thread>
#include <unistd.h>

namespace {

[[noreturn]] void become(const std::filesystem::path& folder, const std::string& program,
                         const std::vector<std::string>& arguments, const std::vector<std::string>& environment,
                         const std::string& errorFile, const std::vector<int>& kept) {
    for (const int file : kept)
        fcntl(file, F_SETFD, 0);
    const rlimit none = {0, 0};
    setrlimit(RLIMIT_CORE, &none);
    dup2(open("/dev/null", O_WRONLY | O_CLOEXEC), STDOUT_FILENO);
    dup2(open(errorFile.c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, 0600), STDERR_FILENO);
    std::vector<char*> list = {const_cast<char*>(program.c_str())};
    for (const std::string& argument : arguments)
        list.push_back(const_cast<char*>(argument.c_str()));
    list.push_back(nullptr);
    for (const std::string& variable : environment)
        putenv(const_cast<char*>(variable.c_str())); // NOLINT(concurrency-mt-unsafe)
    if (chdir(folder.c_str()) == 0)
        execv(program.c_str(), list.data());
    _exit(127);
}

} // namespace

void ktWatchedResult::setStatus(int status) {
    exitCode = WIFEXITED(status) ? WEXITSTATUS(status) : -WTERMSIG(status);
}

void ktWatchedResult::setError(const std::string& file) {
    std::ostringstream text;
    text << std::ifstream(file).rdbuf();
    error = text.str();
    unlink(file.c_str());
}

pid_t startWatched(const std::filesystem::path& folder, const std::string& program,
                   const std::vector<std::string>& arguments, const std::vector<std::string>& environment,
                   const std::string& errorFile, const std::vector<int>& kept) {
    const pid_t process = fork();
    if (process == 0)
        become(folder, program, arguments, environment, errorFile, kept);
    return process;
}

ktWatchedResult runWatched(const std::filesystem::path& folder, const std::string& program,
                           const std::vector<std::string>& arguments, const std::vector<std::string>& environment) {
    const std::string errorFile = folder.string() + "-error";
    const auto begin = std::chrono::steady_clock::now();
    const pid_t process = startWatched(folder, program, arguments, environment, errorFile);

    ktWatchedResult result;
    int status = 0;
    rusage usage = {};
    while (wait4(process, &status, WNOHANG, &usage) == 0) {
        if (std::chrono::steady_clock::now() - begin > std::chrono::milliseconds(ktWatchedResult::patience_ms)) {
            kill(process, SIGKILL);
            wait4(process, &status, 0, &usage);
            result.exitCode = ktWatchedResult::hangs;
            break;
        }
        std::this_thread::sleep_for(std::chrono::milliseconds(2));
    }
    result.seconds = std::chrono::duration<double>(std::chrono::steady_clock::now() - begin).count();
    for (const timeval& time : {usage.ru_utime, usage.ru_stime})
        result.processorSeconds += static_cast<double>(time.tv_sec) + 1e-6 * static_cast<double>(time.tv_usec);
    if (result.exitCode != ktWatchedResult::hangs)
        result.setStatus(status);
    result.setError(errorFile);
    return result;
}
