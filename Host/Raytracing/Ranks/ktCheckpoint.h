// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

#include "ktHostExport.h"
#include "ktTracer.h"
#include "ktVertexBatch.h"

#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <map>
#include <mutex>
#include <string>
#include <vector>

/// Keeps what loops have traced in a file, so that a bake that was interrupted goes on from there. A bake repeats the
/// same loops in the same order; what the file has is not traced again. All else is calculated again, so results have
/// the bits of an undisturbed bake. The file grows by 4 to 28 bytes per vertex and loop.
class KT_HOST_EXPORT ktCheckpoint : public ktLoopHelpers {
public:
    /// Reads the file, or makes a new one. What a killed process left at its end is cut off.
    /// @param identity what results depend on besides scene and vertices: version, settings, fingerprint
    /// @throws std::runtime_error with the reason, without the file's name: it cannot be read or written, is no
    ///         checkpoint, or has another identity
    ktCheckpoint(const std::string& fileName, const std::string& identity);
    /// Writes the rest and keeps the file.
    ~ktCheckpoint() override;

    /// The scene of the loops that follow. Worker thread.
    void beginScene(const std::vector<ktTracerMesh>& meshes);
    /// Worker thread. @throws ktCanceled; std::runtime_error if the file has other loops: it is of another scene
    void run(const ktBatchLoop& loop) override;

    /// Vertices and points that the file had.
    std::uint64_t restoredVertices() const { return restored; }
    /// Why the file cannot be written any more; empty: it can. The bake goes on without.
    std::string writeError() const;

    /// The checkpoint of all calculations of this process; null if there is none. The application sets it, on the main
    /// thread, while nothing is calculated.
    static ktCheckpoint* current() noexcept;
    static void setCurrent(ktCheckpoint* checkpoint) noexcept;

private:
    struct Record {
        std::uint64_t begin, end; // items
        std::vector<char> results;
    };
    struct Kept {
        std::uint64_t hash = 0; // of the loop
        std::vector<Record> records;
    };

    void read(const std::string& identity);
    std::uint64_t hashOf(const ktBatchLoop& loop);
    std::uint64_t restore(const ktBatchLoop& loop, const Record& record) const;
    void runGap(const ktBatchLoop& loop, std::uint64_t begin, std::uint64_t end);
    void keep(const ktBatchLoop& loop, const ktVertexBatch& batch);
    void append(const void* bytes, std::size_t size);

    std::FILE* file = nullptr;
    std::map<std::uint32_t, Kept> loops; // that the file had, by their order; taken out when restored
    std::uint32_t nextLoop = 0;
    std::uint64_t sceneHash = 0, lightHash = 0, lightVersion = 0, loopHash = 0;
    std::uint64_t restored = 0;
    mutable std::mutex mutex; // for writing
    std::string error;
    std::size_t unflushed = 0, mostUnflushed = 1; // records
};
