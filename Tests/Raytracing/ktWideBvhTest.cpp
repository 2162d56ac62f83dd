// SPDX-License-Identifier: LGPL-2.1-or-later
// Builds of the binary and the wide BVH: layout, patches, unusable triangles, stop and progress.
#include "ktWideBvh.h"
#include "ktBinaryBvh.h"
#include "ktHostileMeshes.h"
#include "ktWideBvhWalk.h"

#include <algorithm>
#include <atomic>
#include <chrono>
#include <cmath>
#include <cstring>
#include <gtest/gtest.h>
#include <limits>
#include <set>
#include <tbb/global_control.h>
#include <tbb/task_arena.h>
#include <thread>

namespace {

std::vector<ktTracerMesh> viewsOf(std::vector<ktTestMesh>& meshes) {
    std::vector<ktTracerMesh> views;
    for (ktTestMesh& mesh : meshes)
        views.push_back(mesh.view());
    return views;
}

std::vector<ktTestMesh> fineSphere() {
    std::vector<ktTestMesh> meshes(1);
    meshes[0].addSphere(3, 200, 400); // 159,200 triangles
    return meshes;
}

void buildOn(int threads, ktWideBvh& bvh, const std::vector<ktTracerMesh>& meshes,
             ktLeafKind kind = ktLeafKind::ByCount) {
    const tbb::global_control limit(tbb::global_control::max_allowed_parallelism, static_cast<std::size_t>(threads));
    tbb::task_arena arena(threads);
    arena.execute([&] { EXPECT_TRUE(bvh.build(meshes, {}, kind)); });
}

constexpr ktLeafKind leafKinds[] = {ktLeafKind::Unindexed, ktLeafKind::Patches};

void expectSame(const ktWideBvh& a, const ktWideBvh& b) {
    EXPECT_EQ(a.memory(), b.memory());
    EXPECT_EQ(a.depth(), b.depth());
    EXPECT_EQ(a.nodeCount(), b.nodeCount());
    EXPECT_EQ(a.cacheLineCount(), b.cacheLineCount());
    const ktWideBvhWalk left(a), right(b);
    ASSERT_EQ(left.nodes.size(), right.nodes.size());
    ASSERT_EQ(left.leaves.size(), right.leaves.size());
    for (std::size_t i = 0; i < left.nodes.size(); ++i) {
        ASSERT_EQ(left.nodes[i] - left.nodes[0], right.nodes[i] - right.nodes[0]) << i;
        ASSERT_EQ(std::memcmp(left.nodes[i]->lower, right.nodes[i]->lower, sizeof(ktWideBvhNode::lower)), 0) << i;
        ASSERT_EQ(std::memcmp(left.nodes[i]->upper, right.nodes[i]->upper, sizeof(ktWideBvhNode::upper)), 0) << i;
    }
    const ktCacheLine *const firstLeft = left.firstLine(), *const firstRight = right.firstLine();
    for (std::size_t i = 0; i < left.leaves.size(); ++i) {
        const ktStoredTriangles &l = left.leaves[i], &r = right.leaves[i];
        ASSERT_EQ(l.line - firstLeft, r.line - firstRight) << i;
        ASSERT_EQ(l.cacheLineCount, r.cacheLineCount) << i;
        ASSERT_EQ(std::memcmp(l.line, r.line, l.cacheLineCount * sizeof *l.line), 0) << i;
    }
}

} // namespace

TEST(WideBvh, GivenOneThreadOrFour_BuildsTheSame) {
    for (std::vector<ktTestMesh> meshes : {fineSphere(), ktHostileMeshes::soup(), ktHostileMeshes::largeUneven()}) {
        const std::vector<ktTracerMesh> views = viewsOf(meshes);
        for (const ktLeafKind kind : leafKinds) {
            ktWideBvh one, four;
            buildOn(1, one, views, kind);
            buildOn(4, four, views, kind);
            expectSame(one, four);
        }
    }
}

TEST(WideBvh, GivenManyTriangles_StoresNodesAndLeavesWithoutOverlap) {
    std::vector<ktTestMesh> meshes = fineSphere();
    const std::vector<ktTracerMesh> views = viewsOf(meshes);
    for (const ktLeafKind kind : leafKinds) {
        ktWideBvh bvh;
        buildOn(4, bvh, views, kind);
        ktWideBvhWalk walk(bvh);
        EXPECT_EQ(std::set<const ktWideBvhNode*>(walk.nodes.begin(), walk.nodes.end()).size(), bvh.nodeCount());
        EXPECT_EQ(walk.nodes.size(), bvh.nodeCount());
        ASSERT_EQ(walk.ids.size(), views[0].triangleCount);
        std::uint32_t next = 0;
        for (const std::uint32_t id : walk.ids)
            ASSERT_EQ(id, next++);
        // The arrays have no gaps; the root comes first.
        for (const ktWideBvhNode* node : walk.nodes)
            ASSERT_TRUE(node >= walk.nodes[0] && node < walk.nodes[0] + bvh.nodeCount());
        std::sort(walk.leaves.begin(), walk.leaves.end(),
                  [](const ktStoredTriangles& a, const ktStoredTriangles& b) { return a.line < b.line; });
        const ktCacheLine *const first = walk.leaves[0].line, *line = first;
        for (const ktStoredTriangles& leaf : walk.leaves) {
            ASSERT_EQ(leaf.line, line);
            line += leaf.cacheLineCount;
        }
        EXPECT_EQ(line - first, static_cast<std::ptrdiff_t>(bvh.cacheLineCount()));
    }
}

TEST(WideBvh, GivenAnyTriangles_KeepsTheirCornersBitForBit) {
    for (std::vector<ktTestMesh> meshes : {fineSphere(), ktHostileMeshes::soup()}) {
        const std::vector<ktTracerMesh> views = viewsOf(meshes);
        for (const ktLeafKind kind : leafKinds) {
            ktWideBvh bvh;
            buildOn(4, bvh, views, kind);
            const ktWideBvhWalk walk(bvh);
            ASSERT_FALSE(walk.leaves.empty());
            for (const ktStoredTriangles& leaf : walk.leaves) {
                ASSERT_EQ(leaf.pointCount != 0, kind == ktLeafKind::Patches);
                ASSERT_TRUE(leaf.restIsFlat);
                for (std::size_t i = 0; i < leaf.ids.size(); ++i) {
                    const std::uint32_t mesh = bvh.triangleNumbers().meshOf(leaf.ids[i]);
                    const std::uint32_t* index =
                        views[mesh].indices + 3 * (leaf.ids[i] - bvh.triangleNumbers().firstOf(mesh));
                    for (std::size_t c = 0; c < 3; ++c)
                        ASSERT_EQ(std::memcmp(&leaf.corners[i][3 * c], views[mesh].positions + 3 * index[c], 12), 0);
                }
            }
        }
    }
}

TEST(WideBvh, GivenPatches_StoresSharedCornersOnce) {
    ktTestMesh fan; // eight triangles around a point that share no vertices in the mesh
    ktTestMesh apart;
    for (int i = 0; i < 8; ++i) {
        const double a = i * M_PI / 4, b = (i + 1) % 8 * M_PI / 4, x = 1e-3 * i;
        fan.addTriangle(fan.addVertex(0, 0, 0), fan.addVertex(std::cos(a), std::sin(a), 0),
                        fan.addVertex(std::cos(b), std::sin(b), 0));
        apart.addTriangle(apart.addVertex(x, 0, x), apart.addVertex(x, 1, 0), apart.addVertex(x, 0, 1));
    }
    ktWideBvh one, two;
    buildOn(1, one, {fan.view()}, ktLeafKind::Patches);
    buildOn(1, two, {apart.view()}, ktLeafKind::Patches);
    const ktWideBvhWalk shared(one), separate(two);
    ASSERT_EQ(shared.nodes.size(), 0u);
    ASSERT_EQ(shared.leaves.size(), 1u);
    EXPECT_EQ(shared.leaves[0].pointCount, 9u);
    EXPECT_EQ(one.cacheLineCount(), 3u); // 172 bytes
    // 24 points do not fit into one patch: five triangles go into one, three into another.
    ASSERT_EQ(separate.nodes.size(), 0u);
    ASSERT_EQ(separate.leaves.size(), 2u);
    EXPECT_EQ(separate.leaves[0].pointCount, 15u);
    EXPECT_EQ(separate.leaves[0].ids.size(), 5u);
    EXPECT_EQ(separate.leaves[1].pointCount, 9u);
    EXPECT_EQ(separate.leaves[1].ids.size(), 3u);
    EXPECT_EQ(two.cacheLineCount(), 4u + 3u);
}

TEST(WideBvh, GivenMoreThanAMillionTriangles_MakesPatches) {
    std::vector<ktTestMesh> few = fineSphere(), many = ktHostileMeshes::largeUneven();
    for (std::vector<ktTestMesh>* meshes : {&few, &many}) {
        ktWideBvh bvh;
        buildOn(4, bvh, viewsOf(*meshes));
        EXPECT_EQ(ktWideBvhWalk(bvh).leaves[0].pointCount != 0, meshes == &many);
    }
}

TEST(WideBvh, GivenUnusableTriangles_SkipsThemAndKeepsTheOtherIds) {
    ktTestMesh mesh;
    std::vector<std::uint32_t> usable;
    const float nan = std::numeric_limits<float>::quiet_NaN();
    const std::uint32_t bad = mesh.addVertex(nan, 0, 0);
    for (std::uint32_t i = 0; i < 60000; ++i) {
        const double x = i % 300, y = i / 300;
        const std::uint32_t a = mesh.addVertex(x, y, 0), b = mesh.addVertex(x + 0.8, y, 0),
                            c = mesh.addVertex(x, y + 0.8, 0);
        if (i % 3 == 0 || (i >= 14000 && i < 40000)) { // single ones and long runs
            const std::uint32_t wrong[3] = {a, bad, 4000000000u};
            mesh.addTriangle(a, b, wrong[i % 7 % 3]);
        } else {
            mesh.addTriangle(a, b, c);
            usable.push_back(i);
        }
    }
    ktTestMesh empty;
    std::vector<ktTestMesh> meshes{empty, mesh, empty, mesh};
    ktWideBvh bvh;
    buildOn(4, bvh, viewsOf(meshes));
    std::vector<std::uint32_t> expected = usable;
    for (const std::uint32_t id : usable)
        expected.push_back(60000 + id);
    EXPECT_EQ(ktWideBvhWalk(bvh).ids, expected);
    EXPECT_EQ(bvh.triangleNumbers().meshOf(59999), 1u);
    EXPECT_EQ(bvh.triangleNumbers().meshOf(60000), 3u);
}

TEST(WideBvh, GivenStopAtAnyStep_IsEmptyAndCallsNoMore) {
    struct Step {
        float from;
        bool isLarge;
    };
    // The steps: collect triangles, pre-split, binary tree, wide BVH.
    for (const Step step : {Step{0, false}, Step{0.001f, false}, Step{0.05f, true}, Step{0.2f, false},
                            Step{0.75f, false}, Step{0.8f, false}}) {
        std::vector<ktTestMesh> meshes = step.isLarge ? ktHostileMeshes::largeUneven() : fineSphere();
        const std::vector<ktTracerMesh> views = viewsOf(meshes);
        ktWideBvh bvh;
        ASSERT_TRUE(bvh.build({views[0]}, {})); // a stop must discard this BVH as well
        std::atomic<int> asking{0}, later{0};
        std::atomic<bool> stopped{false}, sideBySide{false};
        const auto stop = [&](float share) {
            sideBySide = sideBySide || asking++ > 0;
            later += stopped;
            std::this_thread::sleep_for(std::chrono::microseconds(100)); // gives other threads time to call
            stopped = stopped || share >= step.from;
            --asking;
            return !stopped;
        };
        // With many threads the last branches start before the first has finished.
        const tbb::global_control limit(tbb::global_control::max_allowed_parallelism, 2);
        tbb::task_arena(2).execute([&] { EXPECT_FALSE(bvh.build(views, stop)) << step.from; });
        EXPECT_TRUE(stopped) << step.from;
        EXPECT_EQ(later, 0) << step.from;
        EXPECT_FALSE(sideBySide) << step.from;
        EXPECT_EQ(bvh.memory(), 0u) << step.from;
        EXPECT_EQ(bvh.rootRef(), 0u) << step.from;
        EXPECT_EQ(bvh.nodeCount() + bvh.cacheLineCount(), 0u) << step.from;
    }
}

TEST(WideBvh, GivenProgress_ReportsSharesUpToOne) {
    std::vector<ktTestMesh> meshes = fineSphere();
    ktWideBvh bvh;
    std::vector<float> shares;
    EXPECT_TRUE(bvh.build(viewsOf(meshes), [&](float share) {
        shares.push_back(share); // the build makes one call at a time
        return true;
    }));
    for (const float share : shares)
        EXPECT_TRUE(share >= 0.0f && share <= 1.0f) << share;
    EXPECT_EQ(shares.front(), 0.0f);
    EXPECT_GT(shares.back(), 0.75f);
    EXPECT_GT(shares.size(), 8u);
}

TEST(BinaryBvh, GivenStop_EndsSoonAndIsEmpty) {
    ktBvhPrimitives boxes(100000);
    for (std::uint32_t i = 0; i < boxes.size(); ++i) {
        const float x = static_cast<float>(i % 317), y = static_cast<float>(i / 317);
        boxes[i] = {{x, y, 0}, 0, {x + 0.5f, y + 0.5f, 0.5f}, i};
    }
    ktBinaryBvh tree;
    std::atomic<bool> stopped{false};
    std::atomic<int> later{0};
    const auto stop = [&](float share) {
        later += stopped;
        stopped = stopped || share > 0.1f;
        return !stopped;
    };
    const tbb::global_control limit(tbb::global_control::max_allowed_parallelism, 4);
    tbb::task_arena arena(4);
    arena.execute([&] { EXPECT_FALSE(tree.build(ktBinaryBvh::Kind::Sah, boxes, {}, stop)); });
    EXPECT_TRUE(stopped);
    EXPECT_EQ(tree.root(), 0u);
    std::atomic<int> all{0};
    EXPECT_TRUE(tree.build(ktBinaryBvh::Kind::Sah, boxes, {}, [&all](float) { return ++all > 0; }));
    EXPECT_NE(tree.root(), 0u);
    // Other threads may have started calls, or tasks that make one.
    EXPECT_LT(10 * later, all) << later << " of " << all << " calls after the stop";
}
