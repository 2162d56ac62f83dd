// SPDX-License-Identifier: LGPL-2.1-or-later
// Uses a variable of each library, after a trial allocation has shown that there is memory.
#include "ktThreadMemory.h"

#include <cstddef>
#include <cstdlib>
#include <exception>
#include <pthread.h>

namespace {

constexpr std::size_t trialSize = std::size_t(1) << 16; // more than those libraries take

thread_local volatile bool isInUse = false; // in one block with all such variables of this library

// Notes which threads have the memory. Unlike a thread-local variable, asking it never allocates.
struct Key {
    pthread_key_t key = 0;
    bool isValid = pthread_key_create(&key, nullptr) == 0;
};
const Key done;

} // namespace

bool ktThreadMemory::take() noexcept {
    if (done.isValid && pthread_getspecific(done.key))
        return true;
    void* volatile trial = std::malloc(trialSize); // volatile: compilers drop an allocation that nothing uses
    if (!trial)
        return false;
    std::free(trial);
    isInUse = true;
    static_cast<void>(std::current_exception());
    if (done.isValid)
        pthread_setspecific(done.key, &done);
    return true;
}
