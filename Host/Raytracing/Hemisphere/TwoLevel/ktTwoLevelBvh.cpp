// SPDX-License-Identifier: LGPL-2.1-or-later
// Builds the trees of the parts and of the other triangles, copies them to one block of memory, and builds the upper
// level over them.
#include "ktTwoLevelBvh.h"

#include "ktParallel.h"
#include "ktTopLevel.h"
#include "ktWideBvh.h"

#include <algorithm>
#include <atomic>
#include <cmath>
#include <cstring>
#include <limits>
#include <map>
#include <stdexcept>
#include <string>
#include <tuple>

namespace {

using Limits = ktWideBvhLayout;

// Together as many levels as the stacks of the kernels hold.
constexpr std::uint32_t maxPartLevels = 60, maxTopLevels = Limits::maxDepth - maxPartLevels;

// Relative rounding error of a float, and how many of them the world-space box around a part's box may have.
constexpr double rounding = 1.0 / (1 << 24), roundings = 12;

// Covers matrices so small that floats of them are zero.
constexpr float leastMargin = 1e-30f;

// Subtrees of the upper level per instance.
constexpr std::size_t subtreesPerInstance = 2;

constexpr float partsBuilt = 0.9f; // share of the build that is done then

/// A tree, before it is copied.
struct Tree {
    std::vector<ktTracerMesh> meshes; ///< one for a part
    std::vector<std::uint32_t> idOffsets;
    ktTriangleNumbers numbers;
    ktWideBvhArrays arrays;
    std::size_t firstLine = 0; ///< where it is copied to
    ktWideBvhRef root = 0;     ///< then
    ktBvhBox box{};
    float farthest[3] = {0, 0, 0}; ///< largest absolute coordinate on each axis
};

std::size_t lineCount(const ktWideBvhArrays& arrays) {
    return arrays.nodes.size() * (sizeof(ktWideBvhNode) / sizeof(ktCacheLine)) + arrays.cacheLines.size();
}

void findBox(Tree& tree) {
    const float huge = std::numeric_limits<float>::max();
    tree.box = {{huge, huge, huge}, {-huge, -huge, -huge}};
    for (const ktTracerMesh& mesh : tree.meshes) {
        for (std::size_t i = 0; i < std::size_t(3) * mesh.triangleCount; ++i) {
            if (mesh.indices[i] >= mesh.vertexCount)
                continue;
            const float* p = mesh.positions + std::size_t(3) * mesh.indices[i];
            for (int axis = 0; axis < 3; ++axis) {
                tree.box.lower[axis] = std::min(tree.box.lower[axis], p[axis]);
                tree.box.upper[axis] = std::max(tree.box.upper[axis], p[axis]);
            }
        }
    }
    for (int axis = 0; axis < 3; ++axis)
        tree.farthest[axis] = std::max(std::fabs(tree.box.lower[axis]), std::fabs(tree.box.upper[axis]));
}

// Returns false if rounding would be much larger in object space, or if there is no inverse.
bool invert(const double (*m)[4], float (*inverse)[3]) {
    constexpr double maxCondition = 1e4, maxScale = 1e9;
    double cofactor[3][3], size = 0, inverseSize = 0;
    for (int row = 0; row < 3; ++row) {
        for (int column = 0; column < 3; ++column) {
            const int r1 = (row + 1) % 3, r2 = (row + 2) % 3, c1 = (column + 1) % 3, c2 = (column + 2) % 3;
            cofactor[row][column] = m[r1][c1] * m[r2][c2] - m[r1][c2] * m[r2][c1];
        }
        size = std::max(size, std::fabs(m[row][0]) + std::fabs(m[row][1]) + std::fabs(m[row][2]));
    }
    const double determinant = m[0][0] * cofactor[0][0] + m[0][1] * cofactor[0][1] + m[0][2] * cofactor[0][2];
    for (int row = 0; row < 3; ++row) {
        double sum = 0;
        for (int column = 0; column < 3; ++column) {
            const double value = cofactor[column][row] / determinant;
            inverse[row][column] = static_cast<float>(value);
            sum += std::fabs(value);
        }
        inverseSize = std::max(inverseSize, sum);
    }
    return std::isnormal(determinant) && size * inverseSize < maxCondition && size < maxScale && inverseSize < maxScale;
}

ktBvhInstance makeInstance(const ktTracerMesh& mesh, const float* farthest, std::uint32_t firstTriangle) {
    ktBvhInstance instance{};
    for (int row = 0; row < 3; ++row) {
        const double* const from = mesh.toWorld[row];
        double magnitude = 2 * std::fabs(from[3]); // of the float, and of the sum
        for (int axis = 0; axis < 3; ++axis) {
            instance.center[row][axis] = static_cast<float>(0.5 * from[axis]);
            instance.extent[row][axis] = std::fabs(instance.center[row][axis]);
            magnitude += std::fabs(from[axis]) * double(farthest[axis]);
        }
        instance.center[row][3] = static_cast<float>(from[3]);
        instance.extent[row][3] = static_cast<float>(magnitude * roundings * rounding) + leastMargin;
        instance.reach[row] = static_cast<float>(magnitude);
        std::copy_n(from, 4, instance.toWorld[row]);
    }
    instance.firstTriangle = firstTriangle;
    instance.hasInverse = invert(mesh.toWorld, instance.inverse);
    return instance;
}

} // namespace

class ktTwoLevelBvh::Builder {
public:
    Builder(ktTwoLevelBvh& bvh_, const std::vector<ktTracerMesh>& meshes_, ktLeafKind kind_, ktBuildProgress& progress_)
        : bvh(bvh_), meshes(meshes_), kind(kind_), progress(progress_) {}

    void run() {
        sortMeshes();
        buildTrees();
        if (progress.isStopped())
            return;
        copyTrees();
        makeInstances();
        if (!subtrees.empty())
            buildTop();
    }

private:
    // The first tree is that of the meshes in world space.
    void sortMeshes() {
        trees.resize(1);
        std::map<std::tuple<const float*, const std::uint32_t*, std::uint32_t>, std::size_t> partOf;
        for (std::size_t i = 0; i < meshes.size(); ++i) {
            const ktTracerMesh& mesh = meshes[i];
            if (!mesh.toWorld) {
                trees[0].meshes.push_back(mesh);
                trees[0].idOffsets.push_back(bvh.numbers.firstOf(static_cast<std::uint32_t>(i)));
                continue;
            }
            const auto [part, isNew] =
                partOf.try_emplace({mesh.positions, mesh.indices, mesh.triangleCount}, trees.size());
            if (isNew)
                trees.emplace_back().meshes.push_back(mesh);
            uses.push_back({i, part->second});
        }
        if (uses.size() > ktTwoLevelLayout::maxInstances)
            throw std::length_error("the scene has " + std::to_string(uses.size()) + " instances; at most " +
                                    std::to_string(ktTwoLevelLayout::maxInstances) + " can be traced");
        bvh.countOfParts = trees.size() - 1;
        for (Tree& tree : trees)
            tree.numbers.assign(tree.meshes);
        for (std::size_t m = 0; m < trees[0].idOffsets.size(); ++m)
            trees[0].idOffsets[m] -= trees[0].numbers.firstOf(static_cast<std::uint32_t>(m));
    }

    void buildTrees() {
        std::uint64_t triangles = 0;
        for (const Tree& tree : trees)
            triangles += tree.numbers.total();
        if (kind == ktLeafKind::ByCount)
            kind = ktLeafKindFor(triangles);
        std::atomic<std::uint64_t> done{0};
        ktParallel::forEach(trees.size(), [&](std::size_t i) {
            Tree& tree = trees[i];
            const ktTracer::Progress goOn = [&](float share) {
                const double now = static_cast<double>(done) + double(share) * tree.numbers.total();
                return progress.goOn(partsBuilt * static_cast<float>(now / std::max(1.0, double(triangles))));
            };
            ktBuildProgress own(goOn);
            const ktTriangleLeafWriter writer(tree.meshes, tree.numbers, kind, tree.idOffsets);
            tree.arrays = ktBuildTriangleBvh(tree.meshes, tree.numbers, writer, own, maxPartLevels);
            findBox(tree);
            done += tree.numbers.total();
        });
    }

    void copyTrees() {
        std::size_t count = 0;
        for (Tree& tree : trees) {
            tree.firstLine = count;
            count += lineCount(tree.arrays);
        }
        // Space for the upper level, too; what it does not need is never touched.
        constexpr std::size_t linesPerSubtree = 2 * sizeof(ktWideBvhNode) / sizeof(ktCacheLine);
        bvh.lines.reserve(count + linesPerSubtree * (subtreesPerInstance * (uses.size() + 1) + Limits::children));
        bvh.lines.resize(count);
        for (Tree& tree : trees) {
            tree.root = tree.arrays.root ? copyTree(tree.arrays, tree.firstLine, false) : 0;
            bvh.levels = std::max(bvh.levels, tree.arrays.levels);
            tree.arrays = {};
        }
    }

    // Replaces addresses by places, and in the upper level numbers of subtrees by their references.
    ktWideBvhRef copyTree(const ktWideBvhArrays& arrays, std::size_t firstLine, bool isTop) {
        constexpr std::size_t nodeLines = sizeof(ktWideBvhNode) / sizeof(ktCacheLine);
        const auto nodes = reinterpret_cast<std::uintptr_t>(arrays.nodes.data());
        const auto leaves = reinterpret_cast<std::uintptr_t>(arrays.cacheLines.data());
        const std::size_t nodeBytes = arrays.nodes.size() * sizeof(ktWideBvhNode);
        const std::size_t firstByte = firstLine * sizeof(ktCacheLine);
        const auto placeOf = [&](ktWideBvhRef ref) -> ktWideBvhRef {
            if (!ref)
                return 0;
            if (isTop && (ref & ktTopLevelLeaf))
                return subtrees[(ref & ~ktTopLevelLeaf) >> Limits::addressShift].ref;
            const std::uintptr_t address = ref & Limits::addressMask;
            const bool isInNodes = address - nodes < nodeBytes;
            const std::size_t offset = firstByte + (isInNodes ? address - nodes : nodeBytes + (address - leaves));
            return offset | (ref & ~Limits::addressMask);
        };
        const auto copyNode = [&](const void* from, ktCacheLine* to) {
            ktWideBvhNode node;
            std::memcpy(&node, from, sizeof node);
            for (ktWideBvhRef& child : node.child)
                child = placeOf(child);
            std::memcpy(to, &node, sizeof node);
        };
        ktCacheLine* to = bvh.lines.data() + firstLine;
        for (const ktWideBvhNode& node : arrays.nodes) {
            copyNode(&node, to);
            to += nodeLines;
        }
        if (isTop) // leaves of the upper level are nodes
            for (std::size_t i = 0; i < arrays.cacheLines.size(); i += nodeLines)
                copyNode(&arrays.cacheLines[i], to + i);
        else if (!arrays.cacheLines.empty())
            std::memcpy(to, arrays.cacheLines.data(), arrays.cacheLines.size() * sizeof(ktCacheLine));
        return placeOf(arrays.root);
    }

    void makeInstances() {
        bvh.instances.reserve(uses.size());
        if (trees[0].root)
            subtrees.push_back({trees[0].root, trees[0].box});
        for (const Use& use : uses) {
            const Tree& part = trees[use.tree];
            bvh.instances.push_back(makeInstance(meshes[use.mesh], part.farthest,
                                                 bvh.numbers.firstOf(static_cast<std::uint32_t>(use.mesh))));
            const ktWideBvhRef number = bvh.instances.size();
            if (part.root)
                subtrees.push_back({part.root | number << ktTwoLevelLayout::instanceShift, part.box});
        }
        const ktBvhView view = bvh.view();
        ktParallel::forEach(subtrees.size(), [&](std::size_t i) {
            subtrees[i].box = ktWorldBox(view, subtrees[i].ref, subtrees[i].box, 2);
        });
        ktOpenSubtrees(view, subtreesPerInstance * subtrees.size(), subtrees);
    }

    void buildTop() {
        const ktWideBvhArrays top = ktBuildTopLevel(subtrees, maxTopLevels, progress);
        if (progress.isStopped())
            return;
        const std::size_t firstLine = bvh.lines.size();
        bvh.lines.resize(firstLine + lineCount(top));
        bvh.root = copyTree(top, firstLine, true);
        bvh.levels += top.levels;
        progress.goOn(1.0f);
    }

    struct Use {
        std::size_t mesh, tree;
    };

    ktTwoLevelBvh& bvh;
    const std::vector<ktTracerMesh>& meshes;
    ktLeafKind kind;
    ktBuildProgress& progress;
    std::vector<Tree> trees;
    std::vector<Use> uses;
    std::vector<ktSubtree> subtrees;
};

bool ktTwoLevelBvh::build(const std::vector<ktTracerMesh>& meshes, const ktTracer::Progress& receiver,
                          ktLeafKind kind) try {
    ktBuildProgress progress(receiver);
    clear();
    if (!progress.goOn(0.0f))
        return false;
    numbers.assign(meshes);
    Builder(*this, meshes, kind, progress).run();
    if (!progress.isStopped())
        return true;
    clear();
    return false;
} catch (...) {
    clear();
    throw;
}

void ktTwoLevelBvh::clear() {
    numbers.clear();
    lines = decltype(lines)();
    instances = decltype(instances)();
    root = 0;
    levels = 0;
    countOfParts = 0;
}

ktBvhView ktTwoLevelBvh::view() const {
    return {root, reinterpret_cast<const unsigned char*>(lines.data()), instances.data()};
}

std::size_t ktTwoLevelBvh::memory() const {
    return nodeMemory() + instances.capacity() * sizeof(ktBvhInstance) + numbers.memory();
}

ktBvhHead ktTwoLevelBvh::head() const {
    ktBvhHead head;
    head.hasInstances = 1;
    head.root = root;
    head.levels = levels;
    head.parts = countOfParts;
    head.count[0] = lines.size();
    head.count[1] = instances.size();
    return head;
}

std::vector<ktStructureImage::Part> ktTwoLevelBvh::parts() {
    return {{reinterpret_cast<char*>(lines.data()), lines.size() * sizeof(ktCacheLine)},
            {reinterpret_cast<char*>(instances.data()), instances.size() * sizeof(ktBvhInstance)}};
}

void ktTwoLevelBvh::beginCopy(const std::vector<ktTracerMesh>& meshes, const ktBvhHead& original) {
    clear();
    numbers.assign(meshes);
    lines.resize(original.count[0]);
    instances.resize(original.count[1]);
}

// References are places in the memory, so they stay as they are.
void ktTwoLevelBvh::endCopy(const ktBvhHead& original) {
    root = original.root;
    levels = static_cast<std::uint32_t>(original.levels);
    countOfParts = original.parts;
}
