// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

#include <cstdio>
#include <malloc.h>
#include <sys/resource.h>
#include <unistd.h>

/// Makes free() return large blocks to the system. Otherwise memory that was freed before the limit was set would not
/// count towards the limit.
inline const int ktLargeBlocksAreReturned = mallopt(M_MMAP_THRESHOLD, 128 << 10);

/// During its lifetime the process may grow by a given number of bytes of address space; larger allocations fail. Does
/// nothing under the address and thread sanitizers, which reserve large amounts of memory themselves.
class ktMemoryLimit {
public:
    explicit ktMemoryLimit(rlim_t growth_bytes) {
        getrlimit(RLIMIT_AS, &before);
        malloc_trim(0);
#if !defined(__SANITIZE_ADDRESS__) && !defined(__SANITIZE_THREAD__)
        long pages = 0;
        if (FILE* status = std::fopen("/proc/self/statm", "r")) {
            if (std::fscanf(status, "%ld", &pages) != 1)
                pages = 0;
            std::fclose(status);
        }
        rlimit limited = before;
        limited.rlim_cur = static_cast<rlim_t>(pages) * static_cast<rlim_t>(sysconf(_SC_PAGESIZE)) + growth_bytes;
        if (pages > 0)
            setrlimit(RLIMIT_AS, &limited);
#else
        (void)growth_bytes;
#endif
    }
    ~ktMemoryLimit() {
        setrlimit(RLIMIT_AS, &before);
    }
    ktMemoryLimit(const ktMemoryLimit&) = delete;
    ktMemoryLimit& operator=(const ktMemoryLimit&) = delete;

private:
    rlimit before;
};
