// SPDX-License-Identifier: LGPL-2.1-or-later
// Solves the fit of vertex values to samples on the faces, piece by piece.
#include "ktFitSolver.h"

#include "ktCancelPoint.h"
#include "ktFitEquations.h"
#include "ktOcclusionPass.h"
#include "ktParallel.h"

#include <algorithm>
#include <cmath>
#include <Eigen/IterativeLinearSolvers>

namespace {

constexpr double smoothness = 0.001;     // weight of the squared differences along edges, per area
constexpr double invalidWeight = 1.0e-4; // of a sample that is not valid
constexpr double leastValid = 0.01;      // share of the area of a piece; with less, all its samples count
constexpr double tolerance = 1.0e-5;     // of the residual, relative to the right-hand side
constexpr double outside = 1.0e-4;       // a value may leave its limits by this much before they are enforced
constexpr int mostIterations = 300;
constexpr int mostSweeps = 100;

// The inverse of the diagonal. Checks for a cancel once per iteration.
class Preconditioner : public Eigen::DiagonalPreconditioner<double> {
public:
    template <class Matrix>
    Preconditioner& compute(const Matrix& matrix) {
        Eigen::DiagonalPreconditioner<double>::compute(matrix);
        return *this;
    }
    template <class Rhs>
    Eigen::VectorXd solve(const Rhs& b) const {
        ktThrowIfCanceled();
        return Eigen::DiagonalPreconditioner<double>::solve(b);
    }
};

using Solver = Eigen::ConjugateGradient<ktFitEquations::Matrix, Eigen::Lower | Eigen::Upper, Preconditioner>;

// Enforces the limits by projected Gauss-Seidel sweeps (O. L. Mangasarian, "Solution of Symmetric Linear
// Complementarity Problems by Iterative Methods", 1977).
void enforce(const ktFitEquations::Map& matrix, const Eigen::VectorXd& right, const ktFitLimits& limits,
             Eigen::VectorXd& x) {
    if (x.minCoeff() >= limits.low - outside && x.maxCoeff() <= limits.high + outside)
        return;
    double change = 1;
    for (int sweep = 0; sweep < mostSweeps && change > outside; ++sweep) {
        ktThrowIfCanceled();
        change = 0;
        for (Eigen::Index row = 0; row < x.size(); ++row) {
            double rest = right[row], diagonal = 0;
            for (ktFitEquations::Map::InnerIterator entry(matrix, row); entry; ++entry) {
                if (entry.col() == row)
                    diagonal = entry.value();
                else
                    rest -= entry.value() * x[entry.col()];
            }
            if (!(diagonal > 0))
                continue;
            const double value = std::clamp(rest / diagonal, double(limits.low), double(limits.high));
            change = std::max(change, std::fabs(value - x[row]));
            x[row] = value;
        }
    }
}

class PieceSolver {
public:
    PieceSolver(const ktFitMesh& mesh_, const ktFitPoints& points_, const ktFitSamples& samples_,
                const std::vector<ktFitLimits>& limits_, double kinks_)
        : mesh(mesh_), points(points_), samples(samples_), limits(limits_), kinks(kinks_),
          values(mesh_.unknownCount * samples_.channels) {}

    void solve(std::size_t piece) {
        const ktFitEquations equations(mesh, points, samples, piece, {smoothness, kinks, invalidWeight, leastValid});
        const auto matrix = equations.matrix();
        Solver solver;
        solver.setTolerance(tolerance);
        solver.setMaxIterations(mostIterations);
        solver.compute(matrix);
        for (std::size_t channel = 0; channel < samples.channels; ++channel) {
            const Eigen::VectorXd& right = equations.right(channel);
            Eigen::VectorXd x = solver.solveWithGuess(right, equations.guess(channel));
            enforce(matrix, right, limits[channel], x);
            for (std::size_t row = 0; row < equations.rowCount(); ++row)
                values[equations.unknownOf(row) * samples.channels + channel] = static_cast<float>(std::clamp(
                    x[static_cast<Eigen::Index>(row)], double(limits[channel].low), double(limits[channel].high)));
        }
    }

    std::vector<float> takeValues() { return std::move(values); }

private:
    const ktFitMesh& mesh;
    const ktFitPoints& points;
    const ktFitSamples& samples;
    const std::vector<ktFitLimits>& limits;
    const double kinks;
    std::vector<float> values;
};

} // namespace

std::vector<ktFitLimits> ktDirectLimits(std::size_t channels) {
    std::vector<ktFitLimits> limits(channels);
    limits.back() = {ktDarkestResult, 1.0f};
    return limits;
}

std::vector<float> ktSolveFit(const ktFitMesh& mesh, const ktFitPoints& points, const ktFitSamples& samples,
                              const std::vector<ktFitLimits>& limits, double kinks) {
    PieceSolver solver(mesh, points, samples, limits, kinks);
    ktParallel::forEach(mesh.pieceCount(), [&solver](std::size_t piece) {
        ktThrowIfCanceled();
        solver.solve(piece);
    });
    return solver.takeValues();
}
