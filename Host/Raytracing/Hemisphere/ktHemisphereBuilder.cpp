// SPDX-License-Identifier: LGPL-2.1-or-later
#include "ktHemisphereBuilder.h"

#include "ktEmbreeBvh.h"
#include "ktHemisphereClip.h"
#include "ktHemisphereCut.h"
#include "ktHemispherePlan.h"

#include <algorithm>
#include <cmath>
#include <limits>
#include <stdexcept>

namespace {

using Limits = ktHemisphereLimits;

// Where the sizes of triangles differ widely, they are cut where their boxes overlap others: on assemblies of large
// thin triangles that makes tracing a sixth faster. On scans it gains nothing.
constexpr double minSizeSpread = 2.0;

// Up to this many triangles the builder chooses the cuts, which takes it five times as long; beyond, the triangles that
// gain most by it are cut beforehand, which is nearly as good and takes no time.
constexpr std::size_t maxTrianglesToSplit = 1000000;
constexpr double maxMoreParts = 0.25; // of the number of triangles

// Beyond this products of coordinates overflow.
constexpr float maxCoordinate = 1.844e18f;

struct Corner {
    const float* p[3];
};

Corner cornersOf(const ktTracerMesh& mesh, std::uint32_t triangle) {
    const std::uint32_t* index = mesh.indices + std::size_t(3) * triangle;
    return {{mesh.positions + std::size_t(3) * index[0], mesh.positions + std::size_t(3) * index[1],
             mesh.positions + std::size_t(3) * index[2]}};
}

bool equal(const float* a, const float* b) {
    return a[0] == b[0] && a[1] == b[1] && a[2] == b[2];
}

bool usable(const ktTracerMesh& mesh, std::uint32_t triangle) {
    const std::uint32_t* index = mesh.indices + std::size_t(3) * triangle;
    if (std::max({index[0], index[1], index[2]}) >= mesh.vertexCount)
        return false;
    const Corner corner = cornersOf(mesh, triangle);
    for (const float* p : corner.p)
        for (int axis = 0; axis < 3; ++axis)
            if (!(std::fabs(p[axis]) < maxCoordinate))
                return false;
    // Without an area it is never hit.
    return !equal(corner.p[0], corner.p[1]) && !equal(corner.p[1], corner.p[2]) && !equal(corner.p[2], corner.p[0]);
}

ktBvhBox boxOf(const Corner& corner) {
    ktBvhBox box;
    for (int axis = 0; axis < 3; ++axis) {
        const auto range = std::minmax({corner.p[0][axis], corner.p[1][axis], corner.p[2][axis]});
        box.lower[axis] = range.first;
        box.upper[axis] = range.second;
    }
    return box;
}

// A few units in the last place of the farthest coordinate, so that a ray along a box's face does not slip by.
ktBvhBox widened(const ktBvhBox& box) {
    float farthest = 0;
    for (int axis = 0; axis < 3; ++axis)
        farthest = std::max({farthest, std::fabs(box.lower[axis]), std::fabs(box.upper[axis])});
    const float margin = farthest * 2.5e-7f;
    ktBvhBox wide;
    for (int axis = 0; axis < 3; ++axis) {
        wide.lower[axis] = box.lower[axis] - margin;
        wide.upper[axis] = box.upper[axis] + margin;
    }
    return wide;
}

float longestSide(const ktBvhBox& box) {
    return std::max({box.upper[0] - box.lower[0], box.upper[1] - box.lower[1], box.upper[2] - box.lower[2]});
}

/// The boxes of all usable triangles.
/// @param first      number of each mesh's first triangle
/// @param sizeSpread mean of their squared size over the square of the mean: 1 when all are equal
std::vector<ktBvhPrimitive> collect(const std::vector<ktTracerMesh>& meshes, const std::vector<std::uint32_t>& first,
                                    double& sizeSpread) {
    double sizes = 0, squares = 0;
    std::vector<ktBvhPrimitive> primitives;
    primitives.reserve(first.back());
    for (std::size_t m = 0; m < meshes.size(); ++m) {
        for (std::uint32_t i = 0; i < meshes[m].triangleCount; ++i) {
            if (!usable(meshes[m], i))
                continue;
            const ktBvhBox box = boxOf(cornersOf(meshes[m], i));
            const double size = longestSide(box);
            sizes += size;
            squares += size * size;
            primitives.push_back({{box.lower[0], box.lower[1], box.lower[2]},
                                  0,
                                  {box.upper[0], box.upper[1], box.upper[2]},
                                  first[m] + i});
        }
    }
    sizeSpread = sizes > 0 ? squares * static_cast<double>(primitives.size()) / (sizes * sizes) : 1;
    return primitives;
}

/// Of a leaf whose blocks are not yet where they will stay: number instead of address.
ktHemisphereRef leafRef(std::size_t firstBlock, std::size_t blockCount) {
    return ktHemisphereRef(firstBlock) << Limits::addressShift |
           ktHemisphereRef(blockCount - 1) << Limits::leafCountShift | Limits::leafFlag;
}

} // namespace

void ktHemisphereStructure::clear() {
    // Assigning {} would keep the memory.
    nodes = decltype(nodes)();
    blocks = decltype(blocks)();
    first = decltype(first)();
    bucket = decltype(bucket)();
    root = 0;
    levels = 0;
}

std::size_t ktHemisphereStructure::memory() const {
    return nodes.capacity() * sizeof(ktHemisphereNode) + blocks.capacity() * sizeof(ktHemisphereBlock) +
           (first.capacity() + bucket.capacity()) * sizeof(std::uint32_t);
}

void ktHemisphereStructure::numberMeshes(const std::vector<ktTracerMesh>& meshes) {
    std::uint64_t total = 0;
    for (const ktTracerMesh& mesh : meshes) {
        first.push_back(static_cast<std::uint32_t>(total));
        total += mesh.triangleCount;
        if (total >= std::numeric_limits<std::uint32_t>::max())
            throw std::length_error("the scene has " + std::to_string(total) +
                                    " triangles or more; at most 4294967294 can be traced");
    }
    first.push_back(static_cast<std::uint32_t>(total));
    std::uint32_t mesh = 0;
    for (std::uint64_t id = 0; id < total; id += 1u << bucketShift) {
        while (first[mesh + 1] <= id)
            ++mesh;
        bucket.push_back(mesh);
    }
}

std::uint32_t ktHemisphereStructure::meshOf(std::uint32_t id) const {
    std::uint32_t mesh = bucket[id >> bucketShift];
    while (first[mesh + 1] <= id)
        ++mesh;
    return mesh;
}

bool ktHemisphereStructure::build(const std::vector<ktTracerMesh>& meshes, const ktTracer::Progress& progress) try {
    const auto goOn = [&](float share) { return !progress || progress(share); };
    clear();
    if (!goOn(0.0f))
        return false;
    numberMeshes(meshes);
    double sizeSpread = 1;
    std::vector<ktBvhPrimitive> primitives = collect(meshes, first, sizeSpread);
    if (primitives.empty())
        return true;
    ktBvhTree::Split split;
    if (sizeSpread >= minSizeSpread && primitives.size() <= maxTrianglesToSplit)
        split = [&](std::uint32_t id, int axis, float position, const ktBvhBox& box, ktBvhBox& left, ktBvhBox& right) {
            const std::uint32_t mesh = meshOf(id);
            ktSplitTriangle(cornersOf(meshes[mesh], id - first[mesh]).p, axis, position, box, left, right);
        };
    else if (sizeSpread >= minSizeSpread)
        ktCutWastefulTriangles(primitives, maxMoreParts, [&](std::uint32_t id, const float* corner[3]) {
            const std::uint32_t mesh = meshOf(id);
            const Corner corners = cornersOf(meshes[mesh], id - first[mesh]);
            std::copy(corners.p, corners.p + 3, corner);
        });
    ktBvhTree tree;
    const auto grow = [&](float share) { return goOn(0.05f + 0.7f * share); };
    bool built;
    try {
        built = tree.build(ktBvhTree::Kind::Fast, primitives, split, grow);
    } catch (const std::runtime_error&) {
        // Too deep, as with triangles at a hundred scales within each other; what else can go wrong goes wrong again.
        primitives = collect(meshes, first, sizeSpread);
        built = tree.build(ktBvhTree::Kind::Shallow, primitives, {}, grow);
    }
    primitives = decltype(primitives)();
    if (built && collapse(tree, meshes, goOn))
        return true;
    clear();
    return false;
} catch (...) {
    clear();
    throw;
}

bool ktHemisphereStructure::collapse(const ktBvhTree& tree, const std::vector<ktTracerMesh>& meshes,
                                     const ktTracer::Progress& goOn) {
    const auto addLeaf = [&](ktBvhLeaf leaf) {
        std::sort(leaf.ids, leaf.ids + leaf.count); // the builder's order depends on its threads
        for (std::uint32_t start = 0; start < leaf.count; start += Limits::blockTriangles) {
            ktHemisphereBlock block{};
            for (std::uint32_t lane = 0; lane < Limits::blockTriangles && start + lane < leaf.count; ++lane) {
                const std::uint32_t id = leaf.ids[start + lane], mesh = meshOf(id);
                const Corner corner = cornersOf(meshes[mesh], id - first[mesh]);
                for (int c = 0; c < 3; ++c)
                    for (int axis = 0; axis < 3; ++axis)
                        block.corner[c][axis][lane] = corner.p[c][axis];
                block.id[lane] = id;
            }
            blocks.push_back(block);
        }
    };
    static_assert(ktBvhTree::maxDepth <= Limits::depth, "stacks are large enough");
    if (ktBvhTree::isLeaf(tree.root())) {
        addLeaf(ktBvhTree::leaf(tree.root()));
        root = leafRef(0, blocks.size());
        link();
        return true;
    }

    const ktHemispherePlan plan(tree.root());
    blocks.reserve(plan.blockCount());
    struct Pending {
        std::uintptr_t node;
        std::size_t index;
        std::uint32_t level;
    };
    std::vector<Pending> pending{{tree.root(), 0, 1}};
    nodes.emplace_back();
    while (!pending.empty()) {
        const Pending here = pending.back();
        pending.pop_back();
        if (nodes.size() % 1024 == 0 &&
            !goOn(0.75f + 0.25f * static_cast<float>(blocks.size() / (first.back() / 3.0 + 1))))
            return false;
        levels = std::max(levels, here.level);

        ktHemisphereChild child[Limits::children];
        const std::uint32_t count = ktHemispherePlan::children(here.node, child);

        ktHemisphereNode node;
        const float none = std::numeric_limits<float>::quiet_NaN();
        std::fill(&node.lower[0][0], &node.lower[0][0] + 24, none);
        std::fill(&node.upper[0][0], &node.upper[0][0] + 24, none);
        std::fill(node.child, node.child + 8, ktHemisphereRef(0));
        for (std::uint32_t i = 0; i < count; ++i) {
            const ktBvhBox box = widened(child[i].box);
            for (int axis = 0; axis < 3; ++axis) {
                node.lower[axis][i] = box.lower[axis];
                node.upper[axis][i] = box.upper[axis];
            }
            if (ktBvhTree::isLeaf(child[i].node)) {
                const ktBvhLeaf& leaf = ktBvhTree::leaf(child[i].node);
                node.child[i] = leafRef(blocks.size(), ktHemispherePlan::blockCount(leaf));
                addLeaf(leaf);
            } else {
                node.child[i] = ktHemisphereRef(nodes.size()) << Limits::addressShift;
                pending.push_back({child[i].node, nodes.size(), here.level + 1});
                nodes.emplace_back();
            }
        }
        nodes[here.index] = node;
    }
    nodes.shrink_to_fit();
    link();
    return true;
}

void ktHemisphereStructure::link() {
    const auto address = [&](ktHemisphereRef ref) {
        const std::size_t index = ref >> Limits::addressShift;
        return (ref & Limits::leafFlag ? reinterpret_cast<std::uintptr_t>(blocks.data() + index)
                                       : reinterpret_cast<std::uintptr_t>(nodes.data() + index)) |
               (ref & ~Limits::addressMask);
    };
    for (ktHemisphereNode& node : nodes)
        for (std::uint32_t i = 0; i < Limits::children; ++i)
            if (node.lower[0][i] <= node.upper[0][i]) // no child: not a number
                node.child[i] = address(node.child[i]);
    root = address(root);
}
