// SPDX-License-Identifier: LGPL-2.1-or-later
// Takes back splits of a fitted refinement that the light does not need.
#include "ktCancelPoint.h"
#include "ktFittedRefinement.h"
#include "ktParallel.h"

#include <algorithm>
#include <cmath>

namespace {

constexpr double gainShare = 0.5; // a merge may cost so much of what its triangles gain elsewhere
constexpr float splitGain = 0.7f; // share of a triangle's squared error that a bisection is expected to remove
constexpr int splitTriangles = 2; // that a bisection roughly adds
constexpr std::size_t grain = 256;

} // namespace

// The squared error of a triangle, times its area, if its two parts were one again. Its vertices keep their values.
float ktFittedRefinement::mergedError(const ktConformingRefiner::Bisection& bisection, float& greatest) const {
    ktRefinementMesh& mesh = meshOf(bisection.triangle);
    const bool indirect = mesh.request().indirect;
    const std::size_t channels = channelsOf(indirect);
    const float deviation = 2 * std::sqrt(noise[indirect]);
    const Index* first = refiner.triangles()[bisection.triangle].vertices;
    const Index* second = refiner.triangles()[bisection.newTriangle].vertices;
    const float* values[3];
    const Index corners[3] = {first[0], second[1], first[2]};
    for (std::size_t i = 0; i < 3; ++i)
        values[(static_cast<std::size_t>(bisection.corner) + i) % 3] = valuesOf(mesh, localIndex[corners[i]]);
    const std::size_t count = samples.countOf(bisection.triangle) + samples.countOf(bisection.newTriangle);
    const double weight = (double(area[bisection.triangle]) + area[bisection.newTriangle]) /
                          static_cast<double>(std::max<std::size_t>(count, 1));
    double sum = 0;
    for (bool isNewTriangle : {false, true})
        samples.forEach(isNewTriangle ? bisection.newTriangle : bisection.triangle, [&](const ktSurfaceSample& sample) {
            if (!sample.isValid)
                return;
            const std::array<float, 3> weights =
                ktSurfaceSamples::weightsBefore(bisection, isNewTriangle, sample.weights);
            float interpolated[4] = {0, 0, 0, 0};
            for (std::size_t corner = 0; corner < 3; ++corner)
                for (std::size_t c = 0; c < channels; ++c)
                    interpolated[c] += weights[corner] * values[corner][c];
            const ktIllumination at = ktMeasureLight(sample.light.data(), channels, indirect);
            const ktIllumination expected = ktMeasureLight(interpolated, channels, indirect);
            const float a = std::fabs(at[0] - expected[0]), b = std::fabs(at[1] - expected[1]);
            sum += weight * (double(a) * a + double(b) * b - noise[indirect]);
            greatest = std::max(greatest, std::max(a, b) - deviation);
        });
    return static_cast<float>(std::max(0.0, sum));
}

ktFittedRefinement::Merge ktFittedRefinement::evaluateMerge(std::size_t split) const {
    const ktConformingRefiner::Split& s = refiner.splitAt(split);
    Merge merge = {split, s.bisectionCount, 0, 0, true};
    for (Index i = 0; i < s.bisectionCount; ++i) {
        const ktConformingRefiner::Bisection& bisection = refiner.bisection(s.firstBisection + i);
        const Index parts[2] = {bisection.triangle, bisection.newTriangle};
        const ktRefinementRequest& request = meshOf(parts[0]).request();
        float greatest = 0;
        merge.cost += mergedError(bisection, greatest) - (fittedError[parts[0]] + fittedError[parts[1]]);
        merge.noise += double(noise[request.indirect]) * (area[parts[0]] + area[parts[1]]);
        const float now = std::max(difference[parts[0]], difference[parts[1]]);
        merge.isSmall = merge.isSmall && greatest <= std::max(now, request.threshold);
    }
    return merge;
}

void ktFittedRefinement::merge(const Merge& merge) {
    const ktConformingRefiner::Split& s = refiner.splitAt(merge.split);
    for (Index i = 0; i < s.bisectionCount; ++i) {
        const ktConformingRefiner::Bisection& bisection = refiner.bisection(s.firstBisection + i);
        const Index whole = bisection.triangle, gone = bisection.newTriangle;
        float greatest = 0;
        error[whole] = mergedError(bisection, greatest);
        difference[whole] = std::max(greatest, 0.0f);
        fittedError[whole] += fittedError[gone];
        area[whole] += area[gone];
        error[gone] = difference[gone] = area[gone] = 0;
        depth[whole] = static_cast<std::uint8_t>(depth[whole] - (bisection.isCut ? 0 : 1));
        ++version[whole];
        ++version[gone];
        samples.collect(bisection);
        ++collapsedCount;
        isMeshFresh[refiner.triangles()[whole].mesh] = 1;
    }
    refiner.merge(merge.split);
}

// What a triangle more is worth in each of the splits that refinement would do next: the best first.
std::vector<float> ktFittedRefinement::expectedGains() const {
    std::vector<float> gains;
    for (Index t = 0; t < refiner.triangles().size(); ++t)
        if (mayBisect(t))
            gains.push_back(splitGain * error[t] / splitTriangles);
    std::sort(gains.begin(), gains.end(), std::greater<>());
    return gains;
}

// Takes back splits that lower the error by no more than noise. With a number of triangles, also those whose triangles
// are worth more elsewhere. Returns whether there was any.
bool ktFittedRefinement::mergeUnneeded() {
    const std::vector<float> gains = most > 0 ? expectedGains() : std::vector<float>();
    std::size_t saved = 0;
    for (bool isAny = true; isAny;) {
        ktThrowIfCanceled();
        std::vector<std::size_t> splits;
        for (std::size_t split = 0; split < refiner.splitCount(); ++split)
            if (refiner.canMerge(split))
                splits.push_back(split);
        std::vector<Merge> merges(splits.size());
        ktParallel::forRange(splits.size(), grain, [&](std::size_t begin, std::size_t end) {
            ktThrowIfCanceled();
            for (std::size_t i = begin; i < end; ++i)
                merges[i] = evaluateMerge(splits[i]);
        });
        const auto perTriangle = [](const Merge& m) { return m.cost / static_cast<double>(m.saved); };
        std::sort(merges.begin(), merges.end(), [&](const Merge& a, const Merge& b) {
            return perTriangle(a) != perTriangle(b) ? perTriangle(a) < perTriangle(b) : a.split < b.split;
        });
        isAny = false;
        for (const Merge& candidate : merges) {
            const std::size_t rank = saved + candidate.saved;
            const double gain = rank / splitTriangles < gains.size() ? gains[rank / splitTriangles] : 0;
            const bool isNoise = candidate.isSmall && candidate.cost <= candidate.noise;
            if (!isNoise && !(perTriangle(candidate) < gainShare * gain))
                continue;
            merge(candidate);
            saved += candidate.saved;
            isAny = true;
        }
    }
    return saved > 0;
}
