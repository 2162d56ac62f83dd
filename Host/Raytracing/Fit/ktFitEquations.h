// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

#include "ktFitHinges.h"
#include "ktFitMesh.h"
#include "ktFitPoints.h"

#include <cstdint>
#include <Eigen/SparseCore>
#include <vector>

struct ktFitSamples;

/// Weights of the terms of the fit.
struct ktFitWeights {
    double smoothness;    ///< of squared differences along the edges of a face, times its area
    double kinks;         ///< of squared kinks at hinges, times their area
    double invalidSample; ///< of a sample that is not valid; a valid one has 1
    double leastValid;    ///< share of the area; in a piece with less valid area, all samples have weight 1
};

/// The normal equations of one piece: a symmetric, positive definite matrix, and a right-hand side per channel.
/// About 200 bytes per unknown.
class ktFitEquations {
public:
    using Matrix = Eigen::SparseMatrix<double, Eigen::RowMajor, int>;
    using Map = Eigen::Map<const Matrix>;

    /// @throws ktCanceled, std::bad_alloc
    ktFitEquations(const ktFitMesh& mesh, const ktFitPoints& points, const ktFitSamples& samples, std::size_t piece,
                   ktFitWeights weights);

    /// Valid as long as this object.
    Map matrix() const;
    const Eigen::VectorXd& right(std::size_t channel) const { return rights[channel]; }
    /// The weighted mean of the samples around each unknown.
    Eigen::VectorXd guess(std::size_t channel) const;
    std::size_t rowCount() const { return rows; }
    /// The unknown of the mesh.
    std::uint32_t unknownOf(std::size_t row) const { return firstUnknown[row]; }

private:
    double validShare(const ktFitPoints& points, const ktFitSamples& samples) const;
    void addFaces(const ktFitPoints& points, const ktFitSamples& samples, ktFitWeights weights);
    void addFineUnknowns(const ktFitPoints& points, const ktFitSamples& samples, ktFitWeights weights);
    void addHinges(double weight);
    void makeRows();
    std::size_t slotOf(int column, std::size_t first, std::size_t size) const;
    void fillRow(std::size_t row);
    std::size_t fillShortRow(std::size_t row, std::size_t first);
    std::size_t fillLongRow(std::size_t row, std::size_t first);
    template <class Add>
    void forEntries(std::size_t row, const Add& add) const;

    /// The part of the matrix that one face adds: its diagonal (0, 1, 2), then the pairs (0, 1), (0, 2), (1, 2).
    struct FaceBlock {
        double entries[6];
    };

    const ktFitMesh& mesh;
    const std::size_t begin, end; // faces
    const std::uint32_t* const firstUnknown;
    const std::size_t rows;
    std::vector<FaceBlock> blocks;
    std::vector<ktFitHinge> hinges; // their factors already include the weight
    /// By row: the faces and then the hinges that it belongs to.
    std::vector<std::uint32_t> incident, incidentStart;
    std::vector<int> outer, inner;
    std::vector<double> entries;
    std::vector<Eigen::VectorXd> rights;
    Eigen::VectorXd weightSums, fineWeights; // by row: of all samples, of its sample as a fine unknown
};
