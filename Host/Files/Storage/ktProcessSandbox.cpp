// SPDX-License-Identifier: LGPL-2.1-or-later
// Restricts a process with Landlock and seccomp. The C library has no functions for the calls of Landlock.
#include "ktProcessSandbox.h"

#include "ktDescriptor.h"

#include <climits>
#include <cstddef>
#include <fcntl.h>
#include <linux/audit.h>
#include <linux/filter.h>
#include <linux/landlock.h>
#include <linux/seccomp.h>
#include <sys/prctl.h>
#include <sys/syscall.h>
#include <unistd.h>

namespace {

#if defined(__x86_64__)
constexpr unsigned thisArchitecture = AUDIT_ARCH_X86_64;
#elif defined(__aarch64__)
constexpr unsigned thisArchitecture = AUDIT_ARCH_AARCH64;
#else
constexpr unsigned thisArchitecture = 0; // unknown: no filter
#endif
// Numbers from here on are those of another interface of the same processor.
constexpr unsigned firstForeignCall = 0x40000000;

bool forbidNewRights() {
    return prctl(PR_SET_NO_NEW_PRIVS, 1, 0, 0, 0) == 0;
}

bool allow(int rules, const std::string& folder) {
    const ktDescriptor opened(open(folder.c_str(), O_PATH | O_DIRECTORY | O_CLOEXEC));
    landlock_path_beneath_attr rule = {};
    rule.allowed_access = LANDLOCK_ACCESS_FS_READ_FILE | LANDLOCK_ACCESS_FS_READ_DIR;
    rule.parent_fd = opened.number;
    return opened.number >= 0 && syscall(SYS_landlock_add_rule, rules, LANDLOCK_RULE_PATH_BENEATH, &rule, 0) == 0;
}

} // namespace

bool ktProcessSandbox::restrictFiles(const std::vector<std::string>& readableFolders) {
    const long version = syscall(SYS_landlock_create_ruleset, nullptr, 0, LANDLOCK_CREATE_RULESET_VERSION);
    if (version < 1)
        return false;
    landlock_ruleset_attr handled = {};
    handled.handled_access_fs = (LANDLOCK_ACCESS_FS_MAKE_SYM << 1) - 1; // all of the first version
    if (version >= 2)
        handled.handled_access_fs |= LANDLOCK_ACCESS_FS_REFER;
    if (version >= 3)
        handled.handled_access_fs |= LANDLOCK_ACCESS_FS_REFER << 1; // to truncate; the header may be older
    const ktDescriptor rules(static_cast<int>(syscall(SYS_landlock_create_ruleset, &handled, sizeof handled, 0)));
    if (rules.number < 0)
        return false;
    for (const std::string& folder : readableFolders)
        allow(rules.number, folder); // what cannot be opened needs no rule
    return forbidNewRights() && syscall(SYS_landlock_restrict_self, rules.number, 0) == 0;
}

bool ktProcessSandbox::forbidNetwork() {
    // A filter that returns EPERM for the named calls. io_uring could create sockets, too.
    constexpr unsigned refused = SECCOMP_RET_ERRNO | 1;
    const unsigned calls[] = {SYS_socket, SYS_io_uring_setup, SYS_execve, SYS_execveat, SYS_ptrace};
    constexpr unsigned char count = sizeof calls / sizeof *calls;
    sock_filter filter[count + 6] = {
        BPF_STMT(BPF_LD | BPF_W | BPF_ABS, offsetof(seccomp_data, arch)),
        BPF_JUMP(BPF_JMP | BPF_JEQ | BPF_K, thisArchitecture, 0, count + 3),
        BPF_STMT(BPF_LD | BPF_W | BPF_ABS, offsetof(seccomp_data, nr)),
        BPF_JUMP(BPF_JMP | BPF_JGE | BPF_K, firstForeignCall, count + 1, 0),
    };
    for (unsigned char i = 0; i < count; ++i)
        filter[4 + i] = BPF_JUMP(BPF_JMP | BPF_JEQ | BPF_K, calls[i], static_cast<unsigned char>(count - i), 0);
    filter[4 + count] = BPF_STMT(BPF_RET | BPF_K, SECCOMP_RET_ALLOW);
    filter[5 + count] = BPF_STMT(BPF_RET | BPF_K, refused);
    sock_fprog program = {count + 6, filter};
    return thisArchitecture != 0 && forbidNewRights() && prctl(PR_SET_SECCOMP, SECCOMP_MODE_FILTER, &program) == 0;
}

void ktProcessSandbox::closeOthers(int kept) {
    close_range(STDERR_FILENO + 1, static_cast<unsigned>(kept) - 1, 0);
    close_range(static_cast<unsigned>(kept) + 1, UINT_MAX, 0);
}
