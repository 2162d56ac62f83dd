// SPDX-License-Identifier: LGPL-2.1-or-later
// The main function of tests that need a display: starts one that nobody sees, and an application on it.
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <gtest/gtest.h>
#include <OpenSG/OSGBaseFunctions.h>
#include <QApplication>
#include <string>
#include <sys/prctl.h>
#include <sys/wait.h>
#include <unistd.h>

namespace {

/// A display of the X virtual frame buffer. It ends with this process, even if that crashes.
class VirtualDisplay {
public:
    /// Returns false, with a message, if it cannot start.
    bool start() {
        int ends[2];
        if (pipe(ends) != 0)
            return false;
        const pid_t parent = getpid();
        process = fork();
        if (process == 0) {
            prctl(PR_SET_PDEATHSIG, SIGTERM);
            if (getppid() != parent)
                _exit(1);
            close(ends[0]);
            const std::string end = std::to_string(ends[1]);
            execlp("Xvfb", "Xvfb", "-displayfd", end.c_str(), "-screen", "0", "1400x1000x24", "-nolisten", "tcp",
                   static_cast<char*>(nullptr));
            _exit(127);
        }
        close(ends[1]);
        std::string number; // the server writes it when it is ready
        char letter = 0;
        while (process > 0 && read(ends[0], &letter, 1) == 1 && letter != '\n')
            number += letter;
        close(ends[0]);
        if (number.empty()) {
            std::fprintf(stderr, "Xvfb does not start; on Debian: apt-get install xvfb libgl1-mesa-dri\n");
            return false;
        }
        return setenv("DISPLAY", (":" + number).c_str(), 1) == 0;
    }

    ~VirtualDisplay() {
        if (process > 0) {
            kill(process, SIGTERM);
            waitpid(process, nullptr, 0);
        }
    }

private:
    pid_t process = -1;
};

} // namespace

int main(int count, char** arguments) {
    testing::InitGoogleTest(&count, arguments);
    if (GTEST_FLAG_GET(list_tests))
        return RUN_ALL_TESTS();
    VirtualDisplay display;
    if (!display.start())
        return 1;
    const QApplication application(count, arguments);
    osg::osgInit(count, arguments);
    return RUN_ALL_TESTS();
}
