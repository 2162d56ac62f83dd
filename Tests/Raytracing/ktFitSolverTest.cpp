// SPDX-License-Identifier: LGPL-2.1-or-later
// The fit of vertex values to samples, without a tracer.
#include "ktCancelPoint.h"
#include "ktEventPump.h"
#include "ktFitExample.h"
#include "ktFitHinges.h"
#include "ktThreadCount.h"
#include "ktWorkers.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace {

constexpr std::size_t noLimit = 1 << 30;
const ktFitLimits unlimited = {-1e30f, 1e30f}, fraction = {0, 1};

/// A square with edges of one unit.
std::array<double, 3> flat(double s, double t) {
    return {s, t, 0};
}

/// The same square, bent by a right angle along x = 0.5.
std::array<double, 3> creased(double s, double t) {
    return {std::min(s, 0.5), t, std::max(s - 0.5, 0.0)};
}

/// A mesh with its points and samples, and the value of each vertex after solve().
struct Fit {
    template <class Function>
    Fit(ktFitExample example, double density, std::size_t channels, const Function& function)
        : mesh(example.fitMesh()), points(mesh, density, noLimit),
          samples(ktSampleFunction(mesh, points, channels, function)) {}
    Fit(const Fit&) = delete; // the points refer to the mesh

    std::vector<float> solve(const std::vector<ktFitLimits>& limits) const {
        return ktSolveFit(mesh, points, samples, limits);
    }
    const float* place(std::uint32_t unknown) const { return &mesh.positions[3 * std::size_t(unknown)]; }

    ktFitMesh mesh;
    ktFitPoints points;
    ktFitSamples samples;
};

template <class Place>
ktFitExample gridOf(int columns, int rows, const Place& place) {
    ktFitExample example;
    example.addGrid(columns, rows, place);
    return example;
}

/// What the fit minimizes, term by term as it is documented, and half its derivatives.
struct Energy {
    Energy(const Fit& fit, const std::vector<float>& values)
        : gradient(values.size(), 0.0), curvature(values.size(), 0.0) {
        for (std::size_t face = 0; face < fit.mesh.faces.size(); ++face) {
            const ktFitMesh::Face& shape = fit.mesh.faces[face];
            const std::uint32_t first = fit.points.begin(face), count = fit.points.begin(face + 1) - first;
            for (std::uint32_t point = 0; point < count; ++point) {
                float weights[3];
                ktFitPoints::weights(face, point, weights);
                const double share = fit.samples.isValid[first + point] ? 1 : 1e-4;
                add(share * shape.area / count, shape.unknowns, weights, 3, values, fit.samples.values[first + point]);
            }
            const float ends[] = {1, -1};
            for (std::size_t corner = 0; corner < 3; ++corner) {
                const std::uint32_t edge[] = {shape.unknowns[corner], shape.unknowns[(corner + 1) % 3]};
                add(0.001 * shape.area, edge, ends, 2, values, 0);
            }
        }
        for (const ktFitHinge& hinge : ktFindHinges(fit.mesh, 0, fit.mesh.faces.size()))
            add(0.02 * hinge.area, hinge.unknowns, hinge.factors, 4, values, 0);
    }

    double sum = 0;
    std::vector<double> gradient, curvature;

private:
    void add(double weight, const std::uint32_t* unknowns, const float* factors, std::size_t count,
             const std::vector<float>& values, double target) {
        double difference = -target;
        for (std::size_t i = 0; i < count; ++i)
            difference += double(factors[i]) * values[unknowns[i]];
        sum += weight * difference * difference;
        for (std::size_t i = 0; i < count; ++i) {
            gradient[unknowns[i]] += weight * difference * factors[i];
            curvature[unknowns[i]] += weight * factors[i] * factors[i];
        }
    }
};

double step(const double* place, std::size_t) {
    return place[0] + 0.3 * place[1] > 0.62 ? 1 : 0;
}

double wave(const double* place, std::size_t channel) {
    return channel == 0 ? 0.5 + 0.4 * std::sin(9 * place[0]) * place[1] : place[0] * place[0];
}

std::vector<float> solveWithThreads(const Fit& fit, unsigned threads) {
    ktThreadCount::set(threads);
    std::vector<float> values;
    ktEventPump pump;
    ktWorkers::run([&] { values = fit.solve({fraction, fraction}); }, pump);
    ktThreadCount::set(0);
    return values;
}

} // namespace

TEST(FitSolver, GivenAConstant_ReproducesIt) {
    const Fit fit(gridOf(7, 5, creased), 500, 1, [](const double*, std::size_t) { return 0.7; });
    EXPECT_THAT(fit.solve({fraction}), testing::Each(testing::FloatNear(0.7f, 1e-5f)));
}

// Only the small term for differences along edges pulls at a linear function, and only at the border.
TEST(FitSolver, GivenALinearFunction_ReproducesIt) {
    const auto linear = [](const double* p, std::size_t) { return 0.2 + 0.5 * (p[0] + p[2]) - 0.1 * p[1]; };
    for (const auto& place : {flat, creased})
        for (const int cells : {2, 20}) {
            const Fit fit(gridOf(cells, cells, place), 40.0 * cells * cells, 1, linear);
            const auto values = fit.solve({unlimited});
            double inner = 0, all = 0;
            for (std::uint32_t unknown = 0; unknown < fit.mesh.unknownCount; ++unknown) {
                const float* p = fit.place(unknown);
                const double place3[3] = {p[0], p[1], p[2]}, along = double(p[0]) + p[2];
                const double error = std::abs(values[unknown] - linear(place3, 0));
                all = std::max(all, error);
                if (std::min({along, 1 - along, double(p[1]), 1.0 - p[1]}) > 0.2)
                    inner = std::max(inner, error);
            }
            RecordProperty("worst", std::to_string(all));
            EXPECT_LT(all, 0.02 / cells) << cells << " cells";
            if (cells > 2) {
                EXPECT_LT(inner, 5e-5) << cells << " cells";
            }
        }
}

TEST(FitSolver, GivenNoisySamples_IsTheLeastSumOfSquares) {
    const Fit fit(gridOf(9, 8, creased), 300, 1, step);
    const auto values = fit.solve({unlimited});
    const Energy energy(fit, values);
    for (std::size_t i = 0; i < values.size(); ++i)
        EXPECT_NEAR(energy.gradient[i] / energy.curvature[i], 0.0, 1e-4);
}

TEST(FitSolver, GivenSamplesThatAreNotValid_ContinuesWhatIsAround) {
    const auto half = [](const double* p, std::size_t) { return p[0] < 0.8 ? 0.8 : 0.0; };
    Fit fit(gridOf(10, 10, flat), 4000, 1, half);
    const auto dark = fit.solve({fraction});
    for (std::size_t i = 0; i < fit.samples.isValid.size(); ++i)
        fit.samples.isValid[i] = fit.samples.values[i] > 0;
    const auto continued = fit.solve({fraction});
    double worst = 0;
    for (std::uint32_t unknown = 0; unknown < fit.mesh.unknownCount; ++unknown) {
        worst = std::max(worst, std::abs(continued[unknown] - 0.8));
        if (fit.place(unknown)[0] > 0.95f) {
            EXPECT_LT(dark[unknown], 0.1f);
        }
    }
    EXPECT_LT(worst, 0.05);
}

TEST(FitSolver, GivenAPieceWithHardlyAnyValidSample_CountsAll) {
    Fit fit(gridOf(6, 6, flat), 4000, 1, step);
    const auto all = fit.solve({fraction});
    fit.samples.isValid.assign(fit.samples.isValid.size(), 0);
    EXPECT_EQ(fit.solve({fraction}), all);
    for (std::size_t i = 0; i < fit.samples.isValid.size(); i += 200)
        fit.samples.isValid[i] = 1; // 0.5 %
    EXPECT_EQ(fit.solve({fraction}), all);
    for (std::size_t i = 0; i < fit.samples.isValid.size(); i += 50)
        fit.samples.isValid[i] = 1; // 2 %
    EXPECT_NE(fit.solve({fraction}), all);
}

TEST(FitSolver, GivenAnotherPiece_IsNotAffectedByIt) {
    ktFitExample both = gridOf(5, 5, flat);
    const Fit alone(both, 200, 1, wave);
    both.addGrid(5, 5, [](double s, double t) { return std::array<double, 3>{3 + s, t, 0}; });
    const Fit beside(both, 200, 1,
                     [](const double* p, std::size_t channel) { return p[0] < 2 ? wave(p, channel) : 5.0; });
    ASSERT_EQ(beside.mesh.pieceCount(), 2u);
    const auto one = alone.solve({unlimited}), two = beside.solve({unlimited});
    for (std::uint32_t unknown = 0; unknown < beside.mesh.unknownCount; ++unknown)
        if (beside.place(unknown)[0] > 2) {
            EXPECT_NEAR(two[unknown], 5.0f, 1e-3f);
        } else {
            EXPECT_LT(two[unknown], 1.5f);
        }
    EXPECT_EQ(one.size() * 2, two.size());
}

TEST(FitSolver, GivenLimits_IsTheBestWithinThem) {
    const Fit fit(gridOf(12, 12, flat), 3000, 1, step);
    const auto free = fit.solve({unlimited});
    ASSERT_LT(*std::min_element(free.begin(), free.end()), -0.02f) << "the step overshoots without limits";
    ASSERT_GT(*std::max_element(free.begin(), free.end()), 1.02f);
    auto cutOff = free;
    for (float& value : cutOff)
        value = std::clamp(value, 0.0f, 1.0f);
    const auto best = fit.solve({fraction});
    const Energy energy(fit, best);
    EXPECT_LT(energy.sum, Energy(fit, cutOff).sum);
    EXPECT_GT(energy.sum, Energy(fit, free).sum);
    // W. Karush, "Minima of Functions of Several Variables with Inequalities as Side Constraints", 1939.
    int atLimit = 0;
    for (std::size_t i = 0; i < best.size(); ++i) {
        ASSERT_GE(best[i], 0.0f);
        ASSERT_LE(best[i], 1.0f);
        const double slope = energy.gradient[i] / energy.curvature[i];
        if (best[i] < 1) {
            EXPECT_GT(slope, -1e-3) << "a larger value is no better";
        }
        if (best[i] > 0) {
            EXPECT_LT(slope, 1e-3) << "a smaller value is no better";
        }
        atLimit += best[i] == 0 || best[i] == 1;
    }
    EXPECT_GT(atLimit, 10);
}

TEST(FitSolver, GivenTwoChannels_FitsEachAsIfAlone) {
    const Fit both(gridOf(9, 9, flat), 500, 2, wave);
    const Fit first(gridOf(9, 9, flat), 500, 1, wave);
    const Fit second(gridOf(9, 9, flat), 500, 1, [](const double* p, std::size_t) { return wave(p, 1); });
    const ktFitLimits narrow = {0, 0.7f};
    const auto values = both.solve({narrow, fraction});
    const auto a = first.solve({narrow}), b = second.solve({fraction});
    ASSERT_EQ(values.size(), 2 * a.size());
    for (std::size_t i = 0; i < a.size(); ++i) {
        EXPECT_EQ(values[2 * i], a[i]);
        EXPECT_EQ(values[2 * i + 1], b[i]);
        EXPECT_LE(a[i], 0.7f);
    }
}

TEST(FitSolver, GivenAnyNumberOfThreads_GivesTheSameBits) {
    ktFitExample example = gridOf(70, 70, flat); // more rows than one part of a parallel loop
    for (int i = 1; i < 20; ++i)
        example.addGrid(6, 6, [i](double s, double t) { return std::array<double, 3>{2.0 * i + s, t, 0}; });
    const Fit fit(example, 1000, 2, wave);
    ASSERT_EQ(fit.mesh.pieceCount(), 20u);
    const auto one = solveWithThreads(fit, 1);
    EXPECT_EQ(solveWithThreads(fit, 2), one);
    EXPECT_EQ(solveWithThreads(fit, 4), one);
}

TEST(FitSolver, GivenALargeFanInAnyOrder_IsSolved) {
    constexpr std::uint32_t faces = 20000;
    ktFitExample ordered;
    ordered.addDisc(1, 0, faces);
    ktFitExample shuffled = ordered;
    for (std::uint32_t face = 0; face < faces; ++face)
        std::copy_n(&ordered.indices[3 * std::size_t(face * 6181 % faces)], 3, &shuffled.indices[3 * face]);
    const auto linear = [](double x, double y) { return 0.5 + 0.3 * x - 0.2 * y; };
    for (const ktFitExample& example : {ordered, shuffled}) {
        const Fit fit(example, 0, 1, [&](const double* p, std::size_t) { return linear(p[0], p[1]); });
        const auto values = fit.solve({fraction});
        ASSERT_EQ(values.size(), faces + 1);
        double worst = 0;
        for (std::uint32_t unknown = 0; unknown < fit.mesh.unknownCount; ++unknown) {
            const float* p = fit.place(unknown);
            worst = std::max(worst, std::abs(values[unknown] - linear(p[0], p[1])));
        }
        EXPECT_LT(worst, 0.05) << "the term for differences along edges pulls, as a face has only one sample";
    }
}

TEST(FitSolver, GivenUnknownsWithoutAFace_SolvesTheOthers) {
    ktFitExample example = gridOf(3, 3, flat);
    example.addVertex(0.5, 0.5, 7);
    const Fit fit(example, 300, 1, [](const double*, std::size_t) { return 0.25; });
    ASSERT_EQ(fit.mesh.unknownCount, 17u);
    const auto values = fit.solve({fraction});
    for (std::uint32_t vertex = 0; vertex < 16; ++vertex)
        EXPECT_NEAR(values[fit.mesh.unknownOf[vertex]], 0.25f, 1e-5f);
}

TEST(FitSolver, GivenACancel_Leaves) {
    const Fit fit(gridOf(20, 20, flat), 500, 1, wave);
    ktCancelToken::the().cancel();
    EXPECT_THROW(fit.solve({fraction}), ktCanceled);
    ktCancelToken::the().reset();
}
