// SPDX-License-Identifier: LGPL-2.1-or-later
// Joins the ranks of a bake: loads the MPI module, becomes rank 0 or serves it.
#include "ktBakeRanks.h"

#include "ktBakeExit.h"
#include "ktBakeLastWords.h"
#include "ktCancelToken.h"
#include "ktEmbreeTracer.h"
#include "ktEventPump.h"
#include "ktHemisphereTracer.h"
#include "ktLog.h"
#include "ktMpiTransport.h"
#include "ktRankFingerprint.h"
#include "ktRankPool.h"
#include "ktRankServer.h"
#include "ktThreadCount.h"
#include "ktTracerFactory.h"
#include "ktVersion.h"
#include "ktWorkers.h"

#include <dlfcn.h>
#include <stdexcept>
#include <unistd.h>

namespace {

// The module is in the folder of the library that has the host's classes.
std::string modulePath() {
    Dl_info library;
    if (!dladdr(reinterpret_cast<const void*>(&ktServeRank), &library) || !library.dli_fname)
        return ktMpiModuleName;
    const std::string path = library.dli_fname;
    return path.substr(0, path.rfind('/') + 1) + ktMpiModuleName;
}

std::unique_ptr<ktTransport> openTransport() {
    const std::string path = modulePath();
    void* const module = dlopen(path.c_str(), RTLD_NOW | RTLD_GLOBAL); // stays loaded; MPI loads parts that refer to it
    // dlerror() belongs to this thread. NOLINTNEXTLINE(concurrency-mt-unsafe)
    const std::string error = module ? "" : dlerror();
    const auto open = module ? reinterpret_cast<ktOpenMpiFunction>(dlsym(module, ktOpenMpiName)) : nullptr;
    if (!open)
        throw std::runtime_error(
            "the MPI module cannot be loaded: " + error +
            "; install the package ktambientocclusion-mpi, or bake in one process with --ranks off");
    char reason[512] = "";
    std::unique_ptr<ktTransport> transport(open(reason, sizeof reason));
    if (!transport)
        throw std::runtime_error(reason);
    return transport;
}

ktRankHello describeSelf(ktTracerKind kind) {
    ktRankHello self;
    self.version = ktProjectVersion();
    self.host = ktHostName();
    self.process = static_cast<std::uint64_t>(getpid());
    self.threads = ktThreadCount::get();
    ktEventPump pump;
    ktWorkers::run(
        [&] {
            for (std::uint32_t width = 0; width < 3; ++width) {
                ktHemisphereTracer hemisphere(4u << width);
                ktEmbreeTracer embree;
                if (kind == ktTracerKind::Embree)
                    self.fingerprints[width] = ktCalculateFingerprint(embree);
                else if (hemisphere.laneCount() == 4u << width)
                    self.fingerprints[width] = ktCalculateFingerprint(hemisphere);
            }
        },
        pump);
    return self;
}

// Does the work of a rank other than 0.
int serve(ktTransport& transport, const ktRankHello& self) {
    ktBakeLastWords::letRun(); // without memory it serves on, and rank 0 watches whether it hangs
    ktRankServerOptions options;
    options.self = self;
    options.makeTracer = [](std::uint32_t lanes) {
        ktLimitTracerLanes(lanes);
        return ktMakeTracer();
    };
    options.setCanceled = [](bool isCanceled) {
        isCanceled ? ktCancelToken::the().cancel() : ktCancelToken::the().reset();
    };
    if (!ktServeRank(transport, options))
        transport.abort(ktBakeExit::failed);
    transport.finish();
    return ktBakeExit::done;
}

} // namespace

ktBakeRanks::ktBakeRanks(const ktBakeLauncher& launcher_) : launcher(launcher_) {}

ktBakeRanks::~ktBakeRanks() {
    end();
}

void ktBakeRanks::end() {
    ktRankPool::setCurrent(nullptr);
    ktWorkers::borrowThreads(0);
    pool.reset();
}

std::optional<int> ktBakeRanks::join(const ktBakeOptions& options) {
    if (launcher.size < 2 || !options.ranks)
        return {};
    try {
        ktThreadCount::set(static_cast<unsigned int>(options.threads));
        ktChooseTracer(options.tracer);
        std::unique_ptr<ktTransport> transport = openTransport();
        if (transport->size() < 2)
            return {};
        const ktRankHello self = describeSelf(options.tracer);
        if (transport->rank() != 0)
            return serve(*transport, self);
        pool = std::make_unique<ktRankPool>(std::move(transport), self);
        ktLimitTracerLanes(pool->lanes());
        ktRankPool::setCurrent(pool.get());
        ktWorkers::borrowThreads(pool->threadsToBorrow());
        return {};
    } catch (const std::exception& error) {
        if (launcher.rank == 0)
            ktLog::error("The ranks cannot work together: %s", error.what());
        else
            ktSayAsRank(launcher, error.what());
        return ktBakeExit::failed;
    }
}
