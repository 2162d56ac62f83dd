// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

#include "ktReflectedLight.h"
#include "ktTransport.h"
#include "ktVertexBatch.h"
#include "ktWire.h"

#include <cstdint>
#include <map>
#include <memory>
#include <string>
#include <vector>

/// What a message is: its first four bytes.
enum class ktRankMessage : std::uint32_t {
    Hello = 1,      ///< to 0: ktRankHello
    Built,          ///< to 0: the structure of a scene is built; its generation
    Done,           ///< to 0: results of a block
    Beat,           ///< to 0: ktRankBeat; from 0: nothing. "I am alive."
    Failed,         ///< to 0: the reason
    Start,          ///< from 0: the lanes that the tracer uses
    Scene,          ///< from 0: generation, whether the structure follows, meshes
    Structure,      ///< from 0: generation, head of the structure
    StructurePiece, ///< from 0: generation, part, first byte, bytes
    Directions,     ///< from 0: a direction set
    Light,          ///< from 0: a snapshot of reflected light
    Begin,          ///< from 0: generation, how a loop is traced
    Block,          ///< from 0: vertices to trace
    Pass,           ///< from 0: generation, how the geometries of a pass are traced
    Geometry,       ///< from 0: a whole geometry to trace
    GeometryDone,   ///< to 0: its light
    Cancel,         ///< from 0: what belongs to this generation or an earlier one is of no use any more
    End,            ///< from 0: nothing follows
};

/// What a rank says of itself when it begins.
struct ktRankHello {
    std::string version; ///< of the program
    /// By width: ktCalculateFingerprint() of a tracer that uses 4, 8 or 16 lanes of the vector instructions; 0 if the
    /// processor does not have so many. Tracers of different widths may find different bits.
    std::uint64_t fingerprints[3] = {0, 0, 0};
    std::string host;
    std::uint64_t process = 0;
    std::uint32_t threads = 0;
};

/// What a rank has done so far. Seconds are added up over its threads.
struct ktRankBeat {
    std::uint64_t vertices = 0;
    double tracingSeconds = 0, waitingSeconds = 0, buildSeconds = 0;
    std::uint64_t peakMemory_bytes = 0; ///< of the process
};

/// The meshes of a scene, with own arrays.
struct ktRankScene {
    std::vector<std::vector<float>> positions;
    std::vector<std::vector<std::uint32_t>> triangles;
    std::vector<std::vector<double>> matrices; ///< twelve numbers each
    std::vector<ktTracerMesh> meshes;          ///< refer to the arrays above
    std::vector<std::size_t> trianglesOf;      ///< by mesh: index into `triangles`
};

/// A copy of reflected light that owns what it refers to.
struct ktRankLight {
    std::vector<std::vector<float>> received;
    std::vector<ktLitSide> litSides;
    std::vector<std::unique_ptr<ktReflectedLight::Lazy>> lazies;
    std::vector<std::vector<float>> lazyArrays; ///< positions and normals
    std::vector<ktSceneLight> lights;           ///< of direct light
    ktReflectedLight light;
};

/// How a rank traces the blocks of a loop; owns what it refers to, except tracer, directions and reflected light.
struct ktRankLoop {
    std::uint64_t generation = 0;
    std::vector<ktSceneLight> lights;
    ktBatchWork work;
};

/// Direction sets by their numbers.
struct ktRankDirections {
    ktDirectionSet set;
    std::unique_ptr<ktPreparedDirections> prepared;
};
using ktRankDirectionTable = std::map<std::uint64_t, std::unique_ptr<ktRankDirections>>;

/// Some batches of a loop.
struct ktRankBlock {
    std::uint64_t generation = 0;
    std::uint32_t number = 0;
    std::vector<ktVertexBatch> batches;

    std::uint64_t vertexCount() const;
};

/// Begins a message. @return a writer that has its kind
ktWireWriter ktBeginMessage(ktRankMessage kind);
/// Ends it.
ktMessageBytes ktEndMessage(ktWireWriter&& writer);

/// @name Writing and reading the content of messages. Readers throw ktBadMessage if values are out of range.
/// @{
void ktPut(ktWireWriter& to, const ktRankHello& hello);
void ktGet(ktWireReader& from, ktRankHello& hello);
void ktPutScene(ktWireWriter& to, const std::vector<ktTracerMesh>& meshes);
void ktGetScene(ktWireReader& from, ktRankScene& scene);
void ktPutDirections(ktWireWriter& to, const ktPreparedDirections& directions);
/// Adds the set to the table. @param tracer prepares it
void ktGetDirections(ktWireReader& from, const ktTracer& tracer, ktRankDirectionTable& table);
/// @param isForRank false: without what differs from process to process; only to compare
void ktPutLight(ktWireWriter& to, const ktReflectedLight& light, bool isForRank = true);
/// @param scene must outlive the light
std::unique_ptr<ktRankLight> ktGetLight(ktWireReader& from, const ktRankScene& scene, const ktTracer& tracer,
                                        const ktRankDirectionTable& table);
void ktPutLimits(ktWireWriter& to, const ktRayLimits& limits);
ktRayLimits ktGetLimits(ktWireReader& from);
void ktPutLoop(ktWireWriter& to, std::uint64_t generation, const ktBatchWork& work);
/// @param light for gathering; may be null for other loops
std::unique_ptr<ktRankLoop> ktGetLoop(ktWireReader& from, const ktTracer& tracer, const ktRankDirectionTable& table,
                                      const ktReflectedLight* light);
/// Only vertices are sent, not which items they belong to.
void ktPutBlock(ktWireWriter& to, const ktRankBlock& block, const ktBatchWork& work);
void ktGetBlock(ktWireReader& from, ktRankBlock& block, const ktBatchWork& work);
/// The generation and the number of a block, or of its results. Comes before their content.
void ktPutBlockName(ktWireWriter& to, const ktRankBlock& block);
void ktGetBlockName(ktWireReader& from, std::uint64_t& generation, std::uint32_t& number);
void ktPutResults(ktWireWriter& to, const ktRankBlock& block, const ktBatchWork& work);
/// The results of one of its batches.
void ktPutBatchResults(ktWireWriter& to, const ktVertexBatch& batch, const ktBatchWork& work);
/// Reads the results of the vertices of a block.
void ktGetResults(ktWireReader& from, ktRankBlock& block, const ktBatchWork& work);
/// @}
