// SPDX-License-Identifier: LGPL-2.1-or-later
// Runs the refinement rounds of a group of meshes: traces probes and splits edges where light changes.
#include "ktRefinementGroup.h"

#include "ktCancelPoint.h"
#include "ktParallel.h"
#include "ktParallelSort.h"

#include <algorithm>
#include <cmath>
#include <limits>

namespace {

constexpr double spacingShare = 1.0 / 128; // desired spacing of the first round's points, by the scene's diagonal
constexpr int mostPointsAlong = 24;        // largest number of points along a row, and of rows

bool differs(const ktIllumination& a, const ktIllumination& b, float threshold) {
    return std::fabs(a[0] - b[0]) > threshold || std::fabs(a[1] - b[1]) > threshold;
}

} // namespace

ktRefinementGroup::ktRefinementGroup(std::vector<std::unique_ptr<ktRefinementMesh>>& meshes_,
                                     const ktTracedScene& scene, const std::set<ktGeometryNumber>& inside,
                                     const ktRefinementTasks& tasks_)
    : ktRefinedMeshes(meshes_, scene, inside), tasks(tasks_), spacing(spacingShare * scene.diagonal) {
    float difference[2] = {std::numeric_limits<float>::max(), std::numeric_limits<float>::max()};
    for (const auto& mesh : meshes) {
        float& smallest = difference[mesh->request().indirect];
        smallest = std::min(smallest, mesh->request().threshold);
    }
    direct = std::make_unique<ktRefinementProbes>(tasks, difference[0], false);
    indirect = std::make_unique<ktRefinementProbes>(tasks, difference[1], true);
    samples.resize(refiner.triangles().size());
    isSmooth.resize(refiner.triangles().size(), false);
}

void ktRefinementGroup::refine(ktRefinementProgress& progress) {
    int rounds = 0;
    for (const auto& mesh : meshes)
        rounds = std::max(rounds, mesh->request().rounds);
    progress.setRounds(rounds);
    active.resize(refiner.triangles().size());
    for (Index t = 0; t < active.size(); ++t)
        active[t] = t;
    for (round = 0; round < rounds && !active.empty(); ++round) {
        progress.beginRound(round + 1);
        chooseEdges();
        splitEdges();
        addNewVertices();
        traceNewVertices();
        progress.setNewVertices(newVertexCount());
    }
}

// Chooses the edges to split in this round. Traces no probes where an edge is already chosen.
void ktRefinementGroup::chooseEdges() {
    edgesToSplit.clear();
    candidates.clear();
    forEach(active, [this](Index triangle) { addCandidate(triangle); });
    if (round == 0) {
        forEach(candidates, [this](const Candidate& candidate) { addGridProbes(candidate.triangle); });
        traceProbes();
    }
    forEach(candidates, [this](const Candidate& candidate) { testFace(candidate); });
    forEach(candidates, [this](const Candidate& candidate) { addEdgeProbes(candidate); });
    traceProbes();
    forEach(candidates, [this](const Candidate& candidate) { testEdges(candidate); });
    forEach(candidates, [this](const Candidate& candidate) {
        if (samples[candidate.triangle].empty() && !hasEdgeToSplit(candidate.triangle))
            addFaceProbe(candidate.triangle, 1.0f / 3, 1.0f / 3, 1.0f / 3);
    });
    traceProbes();
    forEach(candidates, [this](const Candidate& candidate) { testFace(candidate); });
    for (const Candidate& candidate : candidates)
        if (!hasEdgeToSplit(candidate.triangle)) {
            isSmooth[candidate.triangle] = true;
            std::vector<Sample>().swap(samples[candidate.triangle]);
        }
}

template <class Things, class Action>
void ktRefinementGroup::forEach(const Things& things, Action&& action) {
    for (std::size_t i = 0; i < things.size(); ++i) {
        if (i % cancelInterval == 0)
            ktThrowIfCanceled();
        action(things[i]);
    }
}

// Traces all probes that were added and stores their light.
void ktRefinementGroup::traceProbes() {
    direct->trace();
    indirect->trace();
    for (const FaceProbe& probe : faceProbes)
        samples[probe.triangle].push_back({probe.weights, probesOf(probe.triangle)[probe.number]});
    for (const EdgeProbe& probe : edgeProbes)
        *midpointLight.find(probe.ends) = probesOf(probe.triangle)[probe.number];
    faceProbes.clear();
    edgeProbes.clear();
    direct->clear();
    indirect->clear();
}

bool ktRefinementGroup::hasEdgeToSplit(Index triangle) const {
    return edgesToSplit.count(refiner.edge(triangle, 0)) || edgesToSplit.count(refiner.edge(triangle, 1)) ||
           edgesToSplit.count(refiner.edge(triangle, 2));
}

// Adds a triangle that has edges that may be split. Chooses the edges whose ends differ.
void ktRefinementGroup::addCandidate(Index triangle) {
    const ktRefinementRequest& request = meshOf(triangle).request();
    if (refiner.isCollapsed(triangle) || round >= request.rounds)
        return;
    const ktConformingRefiner::Triangle& t = refiner.triangles()[triangle];
    Candidate candidate = {triangle, {false, false, false}};
    bool hasAny = false;
    for (int corner = 0; corner < 3; ++corner) {
        const Edge edge = refiner.edge(triangle, corner);
        if (!canSplit(edge, request))
            continue;
        hasAny = candidate.isOpen[corner] = true;
        if (differs(lightAt(t.vertices[corner]), lightAt(t.vertices[(corner + 1) % 3]), request.threshold))
            edgesToSplit.insert(edge);
    }
    if (hasAny)
        candidates.push_back(candidate);
}

void ktRefinementGroup::addEdgeProbes(const Candidate& candidate) {
    const ktConformingRefiner::Triangle& t = refiner.triangles()[candidate.triangle];
    for (int corner = 0; corner < 3; ++corner) {
        const Index a = t.vertices[corner], b = t.vertices[(corner + 1) % 3];
        const Edge ends = ktConformingRefiner::edgeBetween(a, b);
        if (!candidate.isOpen[corner] || edgesToSplit.count(refiner.edge(candidate.triangle, corner)) ||
            !midpointLight.insert(ends, {}).second)
            continue; // the neighbour may have added it
        edgeProbes.push_back(
            {candidate.triangle, ends,
             probesOf(candidate.triangle).add(meshOf(candidate.triangle).worldMidpoint(localIndex[a], localIndex[b]))});
    }
}

// Adds rows of points parallel to the longest edge, close enough to find small shadows.
void ktRefinementGroup::addGridProbes(Index triangle) {
    double squared[3];
    for (int corner = 0; corner < 3; ++corner)
        squared[corner] = refiner.squaredLength(refiner.edge(triangle, corner));
    const int first = static_cast<int>(std::max_element(squared, squared + 3) - squared);
    const double longest = std::sqrt(squared[first]);
    // Heron's formula, after W. Kahan.
    double sides[3] = {std::sqrt(squared[0]), std::sqrt(squared[1]), std::sqrt(squared[2])};
    std::sort(sides, sides + 3);
    const double height =
        std::sqrt(std::max(0.0, (sides[2] + (sides[1] + sides[0])) * (sides[0] - (sides[2] - sides[1])) *
                                    (sides[0] + (sides[2] - sides[1])) * (sides[2] + (sides[1] - sides[0])))) /
        (2 * longest);
    const auto countFor = [this](double length) {
        return std::clamp(static_cast<int>(std::ceil(length / spacing)), 1, mostPointsAlong);
    };
    const int rows = countFor(height);
    for (int row = 0; row < rows; ++row) {
        const double share = rows == 1 ? 2.0 / 3 : (row + 0.5) / rows; // 0 at the far corner, 1 on the edge
        const int points = countFor(share * longest);
        for (int i = 0; i < points; ++i) {
            const double along = (i + 0.5) / points;
            float weights[3];
            weights[first] = static_cast<float>(share * (1 - along));
            weights[(first + 1) % 3] = static_cast<float>(share * along);
            weights[(first + 2) % 3] = static_cast<float>(1 - share);
            addFaceProbe(triangle, weights[0], weights[1], weights[2]);
        }
    }
}

void ktRefinementGroup::addFaceProbe(Index triangle, float a, float b, float c) {
    const ktConformingRefiner::Triangle& t = refiner.triangles()[triangle];
    const Index vertices[3] = {localIndex[t.vertices[0]], localIndex[t.vertices[1]], localIndex[t.vertices[2]]};
    const std::array<float, 3> weights = {a, b, c};
    faceProbes.push_back(
        {triangle, weights, probesOf(triangle).add(meshOf(triangle).worldPoint(vertices, weights.data()))});
}

void ktRefinementGroup::testFace(const Candidate& candidate) {
    const ktConformingRefiner::Triangle& t = refiner.triangles()[candidate.triangle];
    const float threshold = meshOf(candidate.triangle).request().threshold;
    const std::array<ktIllumination, 3> corners = {lightAt(t.vertices[0]), lightAt(t.vertices[1]),
                                                   lightAt(t.vertices[2])};
    const auto isUneven = [&](const Sample& sample) {
        ktIllumination expected = {0, 0};
        for (std::size_t corner = 0; corner < 3; ++corner)
            for (std::size_t k = 0; k < expected.size(); ++k)
                expected[k] += sample.weights[corner] * corners[corner][k];
        return differs(sample.light, expected, threshold);
    };
    const std::vector<Sample>& inFace = samples[candidate.triangle];
    if (std::none_of(inFace.begin(), inFace.end(), isUneven))
        return;
    for (int corner = 0; corner < 3; ++corner)
        if (candidate.isOpen[corner])
            edgesToSplit.insert(refiner.edge(candidate.triangle, corner));
}

void ktRefinementGroup::testEdges(const Candidate& candidate) {
    const ktConformingRefiner::Triangle& t = refiner.triangles()[candidate.triangle];
    for (int corner = 0; corner < 3; ++corner) {
        const Index a = t.vertices[corner], b = t.vertices[(corner + 1) % 3];
        const ktIllumination* const light = midpointLight.find(ktConformingRefiner::edgeBetween(a, b));
        if (!candidate.isOpen[corner] || !light)
            continue;
        const ktIllumination &lightA = lightAt(a), &lightB = lightAt(b);
        const ktIllumination expected = {0.5f * (lightA[0] + lightB[0]), 0.5f * (lightA[1] + lightB[1])};
        if (differs(*light, expected, meshOf(candidate.triangle).request().threshold))
            edgesToSplit.insert(refiner.edge(candidate.triangle, corner));
    }
}

// Sorted by position only.
std::vector<ktRefinementGroup::Edge> ktRefinementGroup::sortedEdgesToSplit() const {
    using Ends = std::pair<ktConformingRefiner::Point, ktConformingRefiner::Point>;
    std::vector<std::pair<Ends, Edge>> keyed;
    keyed.reserve(edgesToSplit.size());
    for (Edge edge : edgesToSplit)
        keyed.emplace_back(std::minmax(refiner.position(static_cast<Index>(edge >> 32)),
                                       refiner.position(static_cast<Index>(edge & 0xFFFFFFFFu))),
                           edge);
    ktParallel::sort(keyed.begin(), keyed.end(), std::less<>());
    std::vector<Edge> edges;
    edges.reserve(keyed.size());
    for (const auto& entry : keyed)
        edges.push_back(entry.second);
    return edges;
}

void ktRefinementGroup::splitEdges() {
    ktThrowIfCanceled();
    const std::vector<Edge> edges = sortedEdgesToSplit();
    for (std::size_t i = 0; i < edges.size(); ++i) {
        if (i % cancelInterval == 0)
            ktThrowIfCanceled();
        refiner.split(edges[i]);
    }
    distributeSamples();
}

// Passes the samples of a triangle to the parts that they lie in. Smooth triangles are not probed again, even if the
// split of a neighbour has split them.
void ktRefinementGroup::distributeSamples() {
    active.clear();
    samples.resize(refiner.triangles().size());
    isSmooth.resize(refiner.triangles().size(), false);
    for (const ktConformingRefiner::Bisection& bisection : refiner.takeBisections()) {
        isSmooth[bisection.newTriangle] = isSmooth[bisection.triangle];
        if (isSmooth[bisection.triangle])
            continue;
        const std::size_t a = static_cast<std::size_t>(bisection.corner), b = (a + 1) % 3, c = (a + 2) % 3;
        const std::vector<Sample> whole = std::move(samples[bisection.triangle]);
        samples[bisection.triangle].clear();
        for (const Sample& sample : whole) {
            const std::array<float, 3>& w = sample.weights;
            const float rest = w[a] - w[b];
            // Weights in the order of the corners: a, midpoint, c or midpoint, b, c.
            if (rest >= 0)
                samples[bisection.triangle].push_back({{rest, 2 * w[b], w[c]}, sample.light});
            else
                samples[bisection.newTriangle].push_back({{2 * w[a], -rest, w[c]}, sample.light});
        }
        active.push_back(bisection.triangle);
        active.push_back(bisection.newTriangle);
    }
    std::sort(active.begin(), active.end());
    active.erase(std::unique(active.begin(), active.end()), active.end());
}

void ktRefinementGroup::traceNewVertices() {
    // In parallel, because many small meshes must keep all workers busy, too.
    ktParallel::forRange(meshes.size(), 1, [this](std::size_t begin, std::size_t end) {
        for (std::size_t i = begin; i < end; ++i)
            meshes[i]->traceNewVertices(tasks);
    });
}

ktRayCounts ktRefinementGroup::rays() const {
    ktRayCounts sum = direct->rays();
    sum += indirect->rays();
    for (const auto& mesh : meshes)
        sum += mesh->rays();
    return sum;
}
