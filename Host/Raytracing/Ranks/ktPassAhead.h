// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

#include "ktEventPump.h"
#include "ktRankPool.h"

#include <cstddef>
#include <cstdint>
#include <functional>
#include <map>
#include <memory>
#include <optional>
#include <vector>

/// Traces geometries of a pass before the pass asks for them, on ranks and on this process. A pass asks for one
/// geometry after the other; a small one does not keep many ranks busy, and its fit keeps one. So each rank gets whole
/// geometries. Larger ones are left to the loops that all ranks share.
///
/// What was traced ahead is used only if the pass asks for exactly that. If it asks in another order than planned,
/// nothing more is traced ahead until the next pass. Main thread.
class ktPassAhead {
public:
    /// A geometry for which the pass will probably ask.
    struct Planned {
        std::uint32_t geometry = 0; ///< its ktGeometryNumber
        std::uint64_t vertices = 0;
    };
    /// Copies what tracing a planned geometry needs. @param index in the plan @return null: it cannot be traced ahead
    using MakeJob = std::function<std::shared_ptr<ktRankJob>(std::size_t index)>;

    bool hasBegun() const { return begun; }
    /// Begins a pass. @param pool must live until end() @param plan the geometries, in the order of the pass
    void begin(ktRankPool& pool, std::vector<Planned> plan, MakeJob makeJob);
    /// Ends the pass: forgets what was not asked for.
    void end();

    /// Gives the light of the geometry for which the pass asks now. Traces the next ones meanwhile.
    /// @param pass   how the pass traces; what it refers to must live until end()
    /// @param task   the vertices
    /// @param shared as in ktFitTask; may be null
    /// @return nothing if the caller must trace it
    /// @throws ktCanceled, std::runtime_error if a rank is lost
    std::optional<ktGeometryResult> take(std::uint32_t geometry, const ktGeometryPass& pass, const ktVertexTask& task,
                                         const std::uint32_t* shared, ktEventPump& pump);

private:
    std::size_t indexOf(std::uint32_t geometry) const;
    bool isJob(std::size_t index) const;
    void fill(std::size_t first);
    bool restore(ktRankJob& job) const;
    void traceHere(ktRankJob& job, ktEventPump& pump);
    void finish(ktRankJob& job, ktEventPump& pump);

    ktRankPool* pool = nullptr; // null: nothing is traced ahead
    bool begun = false, hasPass = false;
    ktGeometryPass how;
    MakeJob makeJob;
    std::vector<Planned> plan;
    std::vector<std::uint64_t> verticesAfter;                 // by index: of all that follow
    std::uint64_t shares = 1;                                 // as many as the threads of this process make one
    std::map<std::uint32_t, std::size_t> indices;             // in the plan, by geometry
    std::map<std::size_t, std::shared_ptr<ktRankJob>> window; // that are traced or will soon be, by index
    std::uint64_t windowRays = 0, mostWindowRays = 0;
    std::uint64_t mostRays = 0, mostEarlyRays = 0; // of a geometry; the latter while enough follows
    std::size_t next = 0;                          // index of the next to add to the window
    std::size_t expected = 0;                      // index for which the pass should ask
    int surprises = 0;
};
