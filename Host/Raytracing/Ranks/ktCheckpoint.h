// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

#include "ktCheckpointFile.h"
#include "ktGeometryJob.h"
#include "ktHostExport.h"
#include "ktTracer.h"
#include "ktVertexBatch.h"

#include <cstddef>
#include <cstdint>
#include <map>
#include <optional>
#include <string>
#include <utility>
#include <vector>

/// Keeps what is traced in a file, so that a bake that was interrupted goes on from there: batches of loops, and whole
/// geometries that ranks trace. What the file has is not traced again. All else is calculated again, so results have
/// the bits of an undisturbed bake. Results are known by a hash of all that they depend on. The file grows by 4 to 28
/// bytes per vertex and loop.
class KT_HOST_EXPORT ktCheckpoint : public ktLoopHelpers {
public:
    /// Reads the file, or makes a new one. What a killed process left at its end is cut off.
    /// @param identity what results depend on besides scene and vertices: version, settings, fingerprint
    /// @throws std::runtime_error with the reason, without the file's name: it cannot be read or written, is no
    ///         checkpoint, or has another identity
    ktCheckpoint(const std::string& fileName, const std::string& identity);

    /// The scene of what follows. Worker thread.
    /// @throws std::runtime_error if it is the first scene, and the file began with another one
    void beginScene(const std::vector<ktTracerMesh>& meshes);
    /// Worker thread. @throws ktCanceled, std::runtime_error if the file is damaged
    void run(const ktBatchLoop& loop) override;

    /// @name Whole geometries
    /// @{
    /// A hash of all that the light of this geometry depends on. Main thread, while no loop runs.
    std::uint64_t hashOf(const ktGeometryPass& pass, const ktGeometryJob& job);
    /// Whether the file had any when it was opened.
    bool hasGeometries() const { return !geometries.empty(); }
    /// The light that the file had. @return nothing: it must be traced @throws std::runtime_error
    std::optional<ktGeometryResult> restore(std::uint64_t hash, const ktGeometryPass& pass, const ktGeometryJob& job);
    /// Keeps the light of a geometry. Any thread. @throws std::bad_alloc
    void keep(std::uint64_t hash, const ktGeometryResult& result);
    /// @}

    /// Vertices and points that the file had.
    std::uint64_t restoredVertices() const { return restored; }
    /// Why the file cannot be written any more; empty: it can. The bake goes on without.
    std::string writeError() const { return file.writeError(); }

    /// The checkpoint of all calculations of this process; null if there is none. The application sets it, on the main
    /// thread, while nothing is calculated.
    static ktCheckpoint* current() noexcept;
    static void setCurrent(ktCheckpoint* checkpoint) noexcept;

private:
    struct Record {
        std::uint64_t begin, end; // items
        std::vector<char> results;
    };
    using LoopName = std::pair<std::uint64_t, std::uint32_t>; // hash, how many with this hash came before

    void add(const ktCheckpointFile::Head& head, std::vector<char>&& bytes, ktCheckpointFile::Place place);
    std::uint64_t hashOf(const ktBatchLoop& loop);
    std::uint64_t hashOf(const ktReflectedLight* light);
    std::uint64_t restore(const ktBatchLoop& loop, const Record& record) const;
    void runGap(const ktBatchLoop& loop, std::uint64_t begin, std::uint64_t end);
    void keep(const ktBatchLoop& loop, const ktVertexBatch& batch);

    std::map<LoopName, std::vector<Record>> loops;               // that the file had; taken out when restored
    std::map<std::uint64_t, ktCheckpointFile::Place> geometries; // likewise, by hash
    std::optional<std::uint64_t> firstScene;                     // hash of the one that the file began with
    std::map<std::uint64_t, std::uint32_t> repetitions;          // of loops so far, by hash
    LoopName loopName;                                           // of the loop that runs
    std::uint64_t sceneHash = 0, lightHash = 0, lightVersion = 0;
    std::uint64_t restored = 0;
    std::size_t mostUnflushed = 1; // batches
    bool hasScene = false;
    ktCheckpointFile file; // last: it fills those above
};
