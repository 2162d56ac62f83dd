// SPDX-License-Identifier: LGPL-2.1-or-later
// Bisects triangles where the interpolation of fitted values is off from the light at points of the surface.
#include "ktFittedRefinement.h"

#include "ktCancelPoint.h"
#include "ktContactCut.h"
#include "ktFitPoints.h"
#include "ktFitSampling.h"
#include "ktParallel.h"

#include <algorithm>
#include <cmath>

namespace {

constexpr std::uint8_t pointsPerTriangle = 2; // at least, of an original triangle that is not fine
constexpr std::uint8_t pointsPerPart = 4;     // at least, of a part of a bisected triangle
constexpr double growth = 0.35;               // most new triangles of a round, as a share
constexpr std::size_t leastGrowth = 32;       // likewise, where that is more
constexpr std::uint8_t deepest = 16;          // bisections of a triangle, if a number of triangles is given
constexpr float smallShare = 0.25f;           // then also this share of the threshold counts, as a mean over a triangle
// A bisection is expected to leave so much of the squared error, and of the difference, until the next fit tells.
constexpr float errorLeft = 0.3f, differenceLeft = 0.6f;
constexpr float mostLeverage = 0.8f;
constexpr std::size_t pointsAtOnce = 1 << 17; // bounds memory
constexpr double cutShare = 0.3;              // of the squared error that a line explains, where a triangle is cut
constexpr int mostMerges = 2;                 // times that unneeded splits are taken back

// Gathered light is noisier than w: its rays meet surfaces of unequal brightness. With less, bounces added three times
// as many triangles to the truck, without a smaller error.
constexpr float gatheredNoise = 10;

// With n times n stratified rays, the measured error of the visible sky fraction is about 0.37 / n^1.5.
float noiseOf(const ktPreparedDirections* directions) {
    const double perAxis = std::sqrt(double(directions->set.count));
    return static_cast<float>(0.37 * 0.37 / (perAxis * perAxis * perAxis));
}

} // namespace

ktFittedRefinement::ktFittedRefinement(std::vector<std::unique_ptr<ktRefinementMesh>>& meshes_,
                                       const ktTracedScene& scene_, const std::set<ktGeometryNumber>& inside,
                                       const ktRefinementTasks& tasks_, std::size_t most_)
    : ktRefinedMeshes(meshes_, scene_, inside), tasks(tasks_), most(most_), scene(scene_) {
    noise[0] = noise[1] = noiseOf(tasks.directFit->directions);
    if (tasks.gatherFit)
        noise[1] = gatheredNoise * noiseOf(tasks.gatherFit->directions);
    Index triangles = 0;
    for (const auto& mesh : meshes) {
        firstTriangle.push_back(triangles);
        triangles += static_cast<Index>(mesh->triangles().size() / 3);
    }
    const std::size_t count = refiner.triangles().size();
    samples.resize(count);
    error.resize(count);
    area.resize(count);
    difference.resize(count);
    fittedError.resize(count);
    depth.resize(count);
    version.resize(count);
    isFree.resize(count);
    wanted.resize(count, pointsPerTriangle);
    isMeshFresh.resize(meshes.size(), 1);
    for (Index t = 0; t < count; ++t)
        collapsedCount += refiner.isCollapsed(t);
}

std::size_t ktFittedRefinement::channelsOf(bool indirect) const {
    return indirect ? 3 : ktDirectChannels(*tasks.direct);
}

void ktFittedRefinement::refine(ktRefinementProgress& progress) {
    takePassSamples();
    fresh.resize(refiner.triangles().size());
    for (Index t = 0; t < fresh.size(); ++t)
        fresh[t] = t;
    if (most > 0 && triangleCount() >= most)
        return;
    int rounds = 0;
    for (const auto& mesh : meshes)
        rounds = std::max(rounds, most > 0 ? deepest / 2 : mesh->request().rounds);
    progress.setRounds(rounds);
    progress.beginRound(1);
    for (int merges = 0;;) {
        addPoints();
        traceNewPoints(false);
        traceNewPoints(true);
        newPoints.clear();
        fit();
        // Two bisections halve the edges of a triangle.
        progress.beginRound(std::min(rounds, 1 + *std::max_element(depth.begin(), depth.end()) / 2));
        if (!bisectWorst(progress) && (merges++ == mostMerges || !mergeUnneeded()))
            break;
    }
    removeUnusedVertices();
    progress.setNewVertices(newVertexCount());
    progress.beginRound(rounds);
}

// Puts the samples of the pass into their triangles. That of a fine unknown goes to one of the faces around it.
void ktFittedRefinement::takePassSamples() {
    struct Placed {
        Index triangle;
        ktSurfaceSample sample;
    };
    std::vector<std::vector<Placed>> placed(meshes.size());
    ktParallel::forEach(meshes.size(), [&](std::size_t m) {
        ktThrowIfCanceled();
        ktRefinementMesh& mesh = *meshes[m];
        mesh.startFit();
        const ktPassSamples* pass = mesh.passSamples();
        if (!pass || pass->indirect != mesh.request().indirect ||
            pass->samples.channels != channelsOf(mesh.request().indirect))
            return;
        ktVertexTask task = mesh.vertexTask();
        task.toWorld = pass->toWorld;
        const ktFitMesh fitMesh = ktMakeFitMesh(task, *pass->triangles, true,
                                                pass->sharedValues.empty() ? nullptr : pass->sharedValues.data());
        const ktFitPoints points(fitMesh, pass->density, pass->mostPoints);
        if (pass->samples.isValid.size() != points.size() + fitMesh.fine.size())
            return;
        std::vector<bool> isPlaced(fitMesh.fine.size(), false);
        for (std::size_t face = 0; face < fitMesh.faces.size(); ++face) {
            if (face % cancelInterval == 0)
                ktThrowIfCanceled();
            const ktFitMesh::Face& shape = fitMesh.faces[face];
            // The corners may be in another order.
            std::size_t cornerOf[3] = {3, 3, 3};
            if (3 * std::size_t(shape.triangle) + 2 >= mesh.triangles().size())
                continue;
            for (std::size_t corner = 0; corner < 3; ++corner)
                for (std::size_t other = 0; other < 3; ++other)
                    if (mesh.triangles()[3 * std::size_t(shape.triangle) + corner] == shape.vertices[other])
                        cornerOf[corner] = other;
            if (std::max({cornerOf[0], cornerOf[1], cornerOf[2]}) == 3)
                continue;
            const Index triangle = firstTriangle[m] + shape.triangle;
            const auto place = [&](std::size_t index, const float* weights) {
                Placed result;
                result.triangle = triangle;
                for (std::size_t corner = 0; corner < 3; ++corner)
                    result.sample.weights[corner] = weights[cornerOf[corner]];
                std::copy_n(&pass->samples.values[index * pass->samples.channels], pass->samples.channels,
                            result.sample.light.data());
                result.sample.isValid = pass->samples.isValid[index] != 0;
                placed[m].push_back(result);
            };
            for (std::uint32_t point = points.begin(face); point < points.begin(face + 1); ++point) {
                float weights[3];
                points.weightsAt(face, point - points.begin(face), weights);
                place(point, weights);
            }
            if (shape.isFine && isEven(mesh, shape.vertices))
                wanted[triangle] = 0;
            for (std::size_t corner = 0; corner < 3; ++corner) {
                const std::uint32_t fine = fitMesh.fineOf[shape.unknowns[corner]];
                if (fine == ktFitMesh::none || isPlaced[fine])
                    continue;
                isPlaced[fine] = true;
                float weights[3] = {0, 0, 0};
                weights[corner] = 1;
                place(points.size() + fine, weights);
            }
        }
    });
    for (const std::vector<Placed>& ofMesh : placed) {
        ktThrowIfCanceled();
        for (const Placed& one : ofMesh)
            samples.add(one.triangle, one.sample);
    }
}

// Whether the values at the corners of a face differ by less than half of the threshold.
bool ktFittedRefinement::isEven(ktRefinementMesh& mesh, const std::uint32_t* vertices) const {
    const std::size_t channels = channelsOf(mesh.request().indirect);
    ktIllumination least = {2, 1e30f}, greatest = {-1, -1};
    for (int corner = 0; corner < 3; ++corner) {
        const ktIllumination light =
            ktMeasureLight(valuesOf(mesh, vertices[corner]), channels, mesh.request().indirect);
        for (std::size_t k = 0; k < light.size(); ++k) {
            least[k] = std::min(least[k], light[k]);
            greatest[k] = std::max(greatest[k], light[k]);
        }
    }
    const float threshold = 0.5f * mesh.request().threshold;
    return greatest[0] - least[0] < threshold && greatest[1] - least[1] < threshold;
}

float* ktFittedRefinement::valuesOf(ktRefinementMesh& mesh, Index vertex) const {
    return mesh.fitted(vertex) + (mesh.request().indirect ? 0 : 4 - channelsOf(false));
}

void ktFittedRefinement::addPoints() {
    std::sort(fresh.begin(), fresh.end());
    fresh.erase(std::unique(fresh.begin(), fresh.end()), fresh.end());
    for (Index t : fresh) {
        if (t % cancelInterval == 0)
            ktThrowIfCanceled();
        if (refiner.isCollapsed(t))
            continue;
        const std::size_t known = samples.countOf(t);
        for (std::size_t i = known; i < wanted[t]; ++i) {
            NewPoint point;
            point.triangle = t;
            const std::uint64_t part = t | std::uint64_t(depth[t] + 1) << 32;
            ktFitPoints::weights(part, static_cast<std::uint32_t>(i), point.weights.data());
            newPoints.push_back(point);
        }
    }
    fresh.clear();
}

// Traces the new points of the meshes whose request is for direct or for indirect light.
void ktFittedRefinement::traceNewPoints(bool indirect) {
    std::vector<NewPoint> asked;
    for (const NewPoint& point : newPoints)
        if (meshOf(point.triangle).request().indirect == indirect)
            asked.push_back(point);
    if (asked.empty() || (indirect && !tasks.gatherFit))
        return;
    pointTotal += asked.size();
    for (std::size_t first = 0; first < asked.size(); first += pointsAtOnce) {
        const std::size_t count = std::min(pointsAtOnce, asked.size() - first);
        if (indirect)
            tracePoints(*tasks.gather, *tasks.gatherFit, &asked[first], count, traced.indirect);
        else
            tracePoints(*tasks.direct, *tasks.directFit, &asked[first], count, traced.direct);
    }
}

template <class Task>
void ktFittedRefinement::tracePoints(Task task, const ktFitTask& fit, const NewPoint* asked, std::size_t count,
                                     std::uint64_t& rays) {
    const std::size_t channels = channelsOf(meshOf(asked[0].triangle).request().indirect);
    std::vector<float> positions(3 * count), normals(3 * count);
    ktParallel::forRange(count, cancelInterval, [&](std::size_t begin, std::size_t end) {
        ktThrowIfCanceled();
        for (std::size_t i = begin; i < end; ++i) {
            const ktConformingRefiner::Triangle& t = refiner.triangles()[asked[i].triangle];
            const Index vertices[3] = {localIndex[t.vertices[0]], localIndex[t.vertices[1]], localIndex[t.vertices[2]]};
            const ktSurfacePoint point = meshOf(asked[i].triangle).worldPoint(vertices, asked[i].weights.data());
            std::copy_n(point.position, 3, &positions[3 * i]);
            std::copy_n(point.normal, 3, &normals[3 * i]);
        }
    });
    task.directions = fit.directions;
    task.setVertices(ktWorldTransform(), static_cast<std::uint32_t>(count), positions.data(), normals.data(), nullptr);
    ktFitSamples light(channels, count);
    const ktSampleCounts counts = ktTraceSamples(task, fit, light, 0);
    rays += std::uint64_t(task.directions->set.count) * counts.points.traced + counts.insideRays;
    for (std::size_t i = 0; i < count; ++i) {
        ktSurfaceSample sample;
        sample.weights = asked[i].weights;
        std::copy_n(&light.values[i * channels], channels, sample.light.data());
        sample.isValid = light.isValid[i] != 0;
        samples.add(asked[i].triangle, sample);
        isMeshFresh[refiner.triangles()[asked[i].triangle].mesh] = 1;
    }
}

// Fits the values of all meshes with new triangles or samples.
void ktFittedRefinement::fit() {
    ktThrowIfCanceled();
    std::vector<std::vector<Index>> parts(meshes.size());
    for (Index t = 0; t < refiner.triangles().size(); ++t)
        if (isMeshFresh[refiner.triangles()[t].mesh] && !refiner.isCollapsed(t))
            parts[refiner.triangles()[t].mesh].push_back(t);
    ktParallel::forEach(meshes.size(), [&](std::size_t mesh) {
        ktThrowIfCanceled();
        if (isMeshFresh[mesh] && !parts[mesh].empty())
            fitMesh(*meshes[mesh], parts[mesh]);
    });
    std::fill(isMeshFresh.begin(), isMeshFresh.end(), std::uint8_t(0));
}

void ktFittedRefinement::fitMesh(ktRefinementMesh& mesh, const std::vector<Index>& parts) {
    const bool indirect = mesh.request().indirect;
    const std::size_t channels = channelsOf(indirect);
    std::vector<std::uint32_t> corners;
    corners.reserve(3 * parts.size());
    for (Index t : parts)
        for (Index vertex : refiner.triangles()[t].vertices)
            corners.push_back(localIndex[vertex]);
    const ktVertexTask task = mesh.vertexTask();
    const ktFitMesh shape = ktMakeFitMesh(task, corners, false);
    std::vector<std::uint32_t> starts = {0};
    std::vector<std::array<float, 3>> weights;
    for (const ktFitMesh::Face& face : shape.faces) {
        samples.forEach(parts[face.triangle],
                        [&](const ktSurfaceSample& sample) { weights.push_back(sample.weights); });
        starts.push_back(static_cast<std::uint32_t>(weights.size()));
    }
    ktThrowIfCanceled();
    const ktFitPoints points(shape, std::move(starts), std::move(weights));
    ktFitSamples light(channels, points.size());
    for (std::size_t face = 0; face < shape.faces.size(); ++face) {
        std::size_t i = points.begin(face);
        samples.forEach(parts[shape.faces[face].triangle], [&](const ktSurfaceSample& sample) {
            std::copy_n(sample.light.data(), channels, &light.values[i * channels]);
            light.isValid[i++] = sample.isValid;
        });
    }
    const std::vector<float> fitted = ktSolveFit(
        shape, points, light, indirect ? std::vector<ktFitLimits>(3) : ktDirectLimits(channels), ktDirectKinks);
    for (Index vertex = 0; vertex < mesh.vertexCount(); ++vertex)
        if (shape.unknownOf[vertex] != ktFitMesh::none)
            std::copy_n(&fitted[shape.unknownOf[vertex] * channels], channels, valuesOf(mesh, vertex));
    measureErrors(mesh, parts, shape, points);
}

// A fit comes closer to its samples than to the surface. A sample's leverage says how much: the sum of all leverages is
// the number of unknowns (D. C. Hoaglin, R. E. Welsch, "The Hat Matrix in Regression and ANOVA", 1978). Here it is
// estimated from the diagonal of the equations.
void ktFittedRefinement::measureErrors(ktRefinementMesh& mesh, const std::vector<Index>& parts, const ktFitMesh& shape,
                                       const ktFitPoints& points) {
    const bool indirect = mesh.request().indirect;
    const std::size_t channels = channelsOf(indirect);
    const float variance = noise[indirect];
    const float deviation = 2 * std::sqrt(variance);
    std::vector<double> diagonal(shape.unknownCount, 0.0);
    const auto weightOf = [&](std::size_t face) {
        return double(shape.faces[face].area) / std::max(points.begin(face + 1) - points.begin(face), 1u);
    };
    for (std::size_t face = 0; face < shape.faces.size(); ++face)
        samples.forEach(parts[shape.faces[face].triangle], [&](const ktSurfaceSample& sample) {
            for (std::size_t corner = 0; sample.isValid && corner < 3; ++corner)
                diagonal[shape.faces[face].unknowns[corner]] +=
                    weightOf(face) * sample.weights[corner] * sample.weights[corner];
        });
    ktThrowIfCanceled();
    for (Index t : parts)
        error[t] = difference[t] = 0;
    for (std::size_t face = 0; face < shape.faces.size(); ++face) {
        const ktFitMesh::Face& corners = shape.faces[face];
        const Index triangle = parts[corners.triangle];
        const float* values[3];
        for (std::size_t corner = 0; corner < 3; ++corner)
            values[corner] = valuesOf(mesh, corners.vertices[corner]);
        double sum = 0;
        samples.forEach(triangle, [&](ktSurfaceSample& sample) {
            sample.error = sample.difference = 0;
            if (!sample.isValid)
                return;
            float interpolated[4] = {0, 0, 0, 0};
            double leverage = 0;
            for (std::size_t corner = 0; corner < 3; ++corner) {
                for (std::size_t c = 0; c < channels; ++c)
                    interpolated[c] += sample.weights[corner] * values[corner][c];
                leverage += weightOf(face) * sample.weights[corner] * sample.weights[corner] /
                            std::max(diagonal[corners.unknowns[corner]], 1e-300);
            }
            const ktIllumination at = ktMeasureLight(sample.light.data(), channels, indirect);
            const ktIllumination expected = ktMeasureLight(interpolated, channels, indirect);
            const float a = std::fabs(at[0] - expected[0]), b = std::fabs(at[1] - expected[1]);
            const double squared = (double(a) * a + double(b) * b) / (1 - std::min(leverage, double(mostLeverage)));
            sample.error = static_cast<float>(weightOf(face) * (squared - variance));
            sample.difference = std::max(0.0f, std::max(a, b) - deviation);
            sum += sample.error;
            difference[triangle] = std::max(difference[triangle], sample.difference);
        });
        error[triangle] = static_cast<float>(std::max(0.0, sum));
        fittedError[triangle] = error[triangle];
        area[triangle] = corners.area;
    }
}

// Whether the light in a triangle is off by more than the threshold. Where a number of triangles is given, they are
// worth spending on small differences over large faces, too.
bool ktFittedRefinement::isOff(Index triangle) const {
    const double threshold = meshOf(triangle).request().threshold;
    return difference[triangle] > threshold ||
           (most > 0 && error[triangle] > area[triangle] * smallShare * smallShare * threshold * threshold);
}

bool ktFittedRefinement::mayBisect(Index triangle) const {
    const ktRefinementRequest& request = meshOf(triangle).request();
    if (!(error[triangle] > 0) || !isOff(triangle) || depth[triangle] >= (most > 0 ? deepest : 2 * request.rounds) ||
        refiner.isCollapsed(triangle))
        return false;
    return canSplit(refiner.longestEdge(triangle), request);
}

// Bisects triangles until the round is full. Returns whether there was any.
bool ktFittedRefinement::bisectWorst(ktRefinementProgress& progress) {
    std::vector<Candidate> queue;
    const auto add = [&](Index triangle) {
        if (mayBisect(triangle)) {
            queue.push_back({error[triangle], triangle, version[triangle]});
            std::push_heap(queue.begin(), queue.end());
        }
    };
    for (Index t = 0; t < refiner.triangles().size(); ++t) {
        if (t % cancelInterval == 0)
            ktThrowIfCanceled();
        add(t);
    }
    const auto more = static_cast<std::size_t>(growth * static_cast<double>(triangleCount()));
    std::size_t goal = triangleCount() + std::max(more, leastGrowth);
    if (most > 0)
        goal = std::min(goal, most);
    const std::size_t before = refiner.triangles().size();
    for (std::size_t step = 0; !queue.empty() && triangleCount() < goal; ++step) {
        if (step % cancelInterval == 0)
            ktThrowIfCanceled();
        std::pop_heap(queue.begin(), queue.end());
        const Candidate worst = queue.back();
        queue.pop_back();
        if (worst.version != version[worst.triangle])
            continue; // bisected meanwhile
        if (!cutAlongContact(worst.triangle)) {
            const Edge edge = refiner.longestEdge(worst.triangle);
            if (most > 0 && triangleCount() + refiner.splitCost(edge) > most)
                continue;
            refiner.split(edge);
        }
        for (const ktConformingRefiner::Bisection& bisection : refiner.takeBisections()) {
            takeBisection(bisection);
            add(bisection.triangle);
            add(bisection.newTriangle);
        }
    }
    addNewVertices();
    progress.setNewVertices(newVertexCount());
    return refiner.triangles().size() > before;
}

// Whether the light changes at a line through a triangle: the samples on the two sides of it explain a good part of the
// squared error by being off in different ways. True if nobody sees one side.
bool ktFittedRefinement::isLightCut(Index triangle, const double* sides) const {
    ktRefinementMesh& mesh = meshOf(triangle);
    const bool indirect = mesh.request().indirect;
    const std::size_t channels = channelsOf(indirect);
    const float* values[3];
    for (std::size_t corner = 0; corner < 3; ++corner)
        values[corner] = valuesOf(mesh, localIndex[refiner.triangles()[triangle].vertices[corner]]);
    double sum[2] = {0, 0}, squares = 0;
    int count[2] = {0, 0};
    samples.forEach(triangle, [&](const ktSurfaceSample& sample) {
        if (!sample.isValid)
            return;
        float interpolated[4] = {0, 0, 0, 0};
        double side = 0;
        for (std::size_t corner = 0; corner < 3; ++corner) {
            side += sides[corner] * sample.weights[corner];
            for (std::size_t c = 0; c < channels; ++c)
                interpolated[c] += sample.weights[corner] * values[corner][c];
        }
        const ktIllumination at = ktMeasureLight(sample.light.data(), channels, indirect);
        const ktIllumination expected = ktMeasureLight(interpolated, channels, indirect);
        const double off = double(at[0]) - expected[0] + at[1] - expected[1];
        sum[side > 0] += off;
        ++count[side > 0];
        squares += off * off;
    });
    if (count[0] == 0 || count[1] == 0)
        return true;
    return sum[0] * sum[0] / count[0] + sum[1] * sum[1] / count[1] >= cutShare * squares;
}

// Cuts a triangle along a line where another surface meets it. Returns false if there is none, if the light does not
// change there, or if the parts would be slivers.
bool ktFittedRefinement::cutAlongContact(Index triangle) {
    if (isFree[triangle])
        return false;
    if (!contacts)
        contacts = std::make_unique<ktContactLines>(scene);
    addNewVertices();
    const ktConformingRefiner::Triangle& t = refiner.triangles()[triangle];
    ktConformingRefiner::Point corners[3];
    Index vertices[3];
    for (std::size_t corner = 0; corner < 3; ++corner) {
        corners[corner] = refiner.position(refiner.vertices()[t.vertices[corner]].position);
        vertices[corner] = localIndex[t.vertices[corner]];
    }
    constexpr float middle[3] = {1 / 3.0f, 1 / 3.0f, 1 / 3.0f};
    const ktSurfacePoint seen = meshOf(triangle).worldPoint(vertices, middle);
    const std::vector<ktContactSegment> segments =
        contacts->find(corners, {seen.normal[0], seen.normal[1], seen.normal[2]});
    isFree[triangle] = segments.empty();
    const ktContactCut cut = ktChooseContactCut(corners, segments);
    Edge edges[2];
    double at[2];
    std::size_t cost = 0;
    for (int i = 0; i < cut.count; ++i) {
        const int corner = cut.places[i].corner;
        edges[i] = refiner.edge(triangle, corner);
        const bool isFirst = refiner.vertices()[t.vertices[corner]].position == edges[i] >> 32;
        at[i] = isFirst ? cut.places[i].at : 1 - cut.places[i].at;
        if (!refiner.canCut(edges[i], at[i]))
            return false;
        cost += refiner.cutCost(edges[i]);
    }
    if (cut.count == 0 || (most > 0 && triangleCount() + cost > most) || !isLightCut(triangle, cut.sides))
        return false;
    for (int i = 0; i < cut.count; ++i)
        refiner.cut(edges[i], at[i]);
    return true;
}

void ktFittedRefinement::takeBisection(const ktConformingRefiner::Bisection& bisection) {
    const std::size_t count = std::max<std::size_t>(error.size(), std::size_t(bisection.newTriangle) + 1);
    samples.resize(count);
    error.resize(count);
    area.resize(count);
    difference.resize(count);
    fittedError.resize(count);
    depth.resize(count);
    version.resize(count);
    isFree.resize(count);
    wanted.resize(count);
    if (!bisection.isCut)
        depth[bisection.triangle] = static_cast<std::uint8_t>(std::min(depth[bisection.triangle] + 1, 255));
    depth[bisection.newTriangle] = depth[bisection.triangle];
    ++version[bisection.triangle];
    isFree[bisection.newTriangle] = isFree[bisection.triangle];
    const auto first = static_cast<float>(bisection.at);
    area[bisection.newTriangle] = area[bisection.triangle] * (1 - first);
    area[bisection.triangle] *= first;
    samples.distribute(bisection);
    for (Index part : {bisection.triangle, bisection.newTriangle}) {
        double sum = 0;
        float greatest = 0;
        samples.forEach(part, [&](ktSurfaceSample& sample) {
            sample.error *= errorLeft;
            sample.difference *= differenceLeft;
            sum += sample.error;
            greatest = std::max(greatest, sample.difference);
        });
        error[part] = static_cast<float>(std::max(0.0, sum));
        difference[part] = greatest;
        wanted[part] = pointsPerPart;
        fresh.push_back(part);
        isMeshFresh[refiner.triangles()[part].mesh] = 1;
    }
}
