// SPDX-License-Identifier: LGPL-2.1-or-later
// Asks a process with ktFailingAllocations to fork runs, and says how each ended.
#include "ktForkedRuns.h"

#include "ktFailingRun.h"

#include <chrono>
#include <csignal>
#include <cstdio>
#include <fcntl.h>
#include <gtest/gtest.h>
#include <poll.h>
#include <sys/wait.h>
#include <unistd.h>

namespace {

/// Waits for an answer and reads it. False if there is none in time.
template <class Answer>
bool readAnswer(int file, int patience_ms, Answer& answer) {
    pollfd waited = {file, POLLIN, 0};
    return poll(&waited, 1, patience_ms) == 1 && read(file, &answer, sizeof answer) == sizeof answer;
}

} // namespace

ktForkedRuns::ktForkedRuns(const std::filesystem::path& folder, const std::string& program,
                           const std::vector<std::string>& arguments, const std::vector<std::string>& environment)
    : errorFile(folder.string() + "-error") {
    std::signal(SIGPIPE, SIG_IGN); // write() then says that the process has ended
    int toProcess[2], fromProcess[2];
    if (pipe2(toProcess, O_CLOEXEC) != 0 || pipe2(fromProcess, O_CLOEXEC) != 0) {
        ADD_FAILURE() << "no pipes";
        return;
    }
    std::vector<std::string> all = environment;
    all.push_back("LD_BIND_NOW=1"); // once, not in each run
    all.push_back("KT_FAILING_REQUESTS=" + std::to_string(toProcess[0]));
    all.push_back("KT_FAILING_ANSWERS=" + std::to_string(fromProcess[1]));
    process = startWatched(folder, program, arguments, all, errorFile, {toProcess[0], fromProcess[1]});
    close(toProcess[0]);
    close(fromProcess[1]);
    requests = toProcess[1];
    answers = fromProcess[0];
}

ktForkedRuns::~ktForkedRuns() {
    close(requests);
    close(answers);
    if (process > 0)
        waitpid(process, nullptr, 0);
    unlink(errorFile.c_str());
}

ktWatchedResult ktForkedRuns::run(long first, long count) const {
    ktFailingRunRequest request = {first, count, {}};
    std::snprintf(request.errorFile, sizeof request.errorFile, "%s", errorFile.c_str());
    const auto begin = std::chrono::steady_clock::now();
    pid_t run = -1;
    ktFailingRunEnd end = {};
    ktWatchedResult result;
    if (write(requests, &request, sizeof request) != sizeof request ||
        !readAnswer(answers, ktWatchedResult::patience_ms, run)) {
        ADD_FAILURE() << "the process that forks has ended";
        return result;
    }
    if (readAnswer(answers, ktWatchedResult::patience_ms, end))
        result.setStatus(end.status);
    else {
        kill(run, SIGKILL);
        readAnswer(answers, ktWatchedResult::patience_ms, end);
        result.exitCode = ktWatchedResult::hangs;
    }
    result.seconds = std::chrono::duration<double>(std::chrono::steady_clock::now() - begin).count();
    result.processorSeconds = end.processorSeconds;
    result.setError(errorFile);
    return result;
}
