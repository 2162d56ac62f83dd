// SPDX-License-Identifier: LGPL-2.1-or-later
// Sets up the normal equations of a fit.
#include "ktFitEquations.h"

#include "ktCancelPoint.h"
#include "ktFitSolver.h"
#include "ktParallel.h"

#include <algorithm>
#include <cmath>

namespace {

constexpr std::size_t longRow = 1024; // slots
constexpr std::size_t grain = 4096;

// The entry of a face's block for two of its corners.
int blockEntry(int a, int b) {
    return a == b ? a : 2 + a + b;
}

} // namespace

ktFitEquations::ktFitEquations(const ktFitMesh& mesh_, const ktFitPoints& points, const ktFitSamples& samples,
                               std::size_t piece, ktFitWeights weights)
    : mesh(mesh_), begin(mesh_.faceStart[piece]), end(mesh_.faceStart[piece + 1]),
      firstUnknown(mesh_.unknowns.data() + mesh_.unknownStart[piece]),
      rows(mesh_.unknownStart[piece + 1] - mesh_.unknownStart[piece]) {
    if (validShare(points, samples) < weights.leastValid)
        weights.invalidSample = 1.0;
    addFaces(points, samples, weights);
    addFineUnknowns(points, samples, weights);
    addHinges(weights.kinks);
    makeRows();
}

// Share of the area whose samples are valid.
double ktFitEquations::validShare(const ktFitPoints& points, const ktFitSamples& samples) const {
    double valid = 0, all = 0;
    for (std::size_t face = begin; face < end; ++face) {
        const std::uint32_t first = points.begin(face), last = points.begin(face + 1);
        if (first == last)
            continue;
        const auto count = std::count(samples.isValid.begin() + first, samples.isValid.begin() + last, 1);
        valid += mesh.faces[face].area * static_cast<double>(count) / (last - first);
        all += mesh.faces[face].area;
    }
    for (std::size_t row = 0; row < rows; ++row) {
        const std::uint32_t fine = mesh.fineOf[unknownOf(row)];
        if (fine == ktFitMesh::none)
            continue;
        valid += samples.isValid[points.size() + fine] ? mesh.fine[fine].area : 0.0f;
        all += mesh.fine[fine].area;
    }
    return valid / all;
}

// A face adds, over its samples, the products of the corners' weights.
void ktFitEquations::addFaces(const ktFitPoints& points, const ktFitSamples& samples, ktFitWeights weights) {
    blocks.resize(end - begin);
    rights.assign(samples.channels, Eigen::VectorXd::Zero(static_cast<Eigen::Index>(rows)));
    weightSums = Eigen::VectorXd::Zero(static_cast<Eigen::Index>(rows));
    for (std::size_t face = begin; face < end; ++face) {
        if (face % grain == 0)
            ktThrowIfCanceled();
        const ktFitMesh::Face& shape = mesh.faces[face];
        const std::uint32_t first = points.begin(face), count = points.begin(face + 1) - first;
        FaceBlock& block = blocks[face - begin];
        const double smooth = weights.smoothness * shape.area;
        for (int i = 0; i < 3; ++i) {
            block.entries[i] = 2 * smooth;
            block.entries[3 + i] = -smooth;
        }
        for (std::uint32_t point = 0; point < count; ++point) {
            float corner[3];
            points.weightsAt(face, point, corner);
            const double weight = (samples.isValid[first + point] ? 1.0 : weights.invalidSample) * shape.area / count;
            const float* values = &samples.values[(first + point) * samples.channels];
            for (int i = 0; i < 3; ++i) {
                const auto row = static_cast<Eigen::Index>(mesh.rowOf[shape.unknowns[i]]);
                const double w = weight * corner[i];
                weightSums[row] += w;
                for (std::size_t channel = 0; channel < samples.channels; ++channel)
                    rights[channel][row] += w * values[channel];
                for (int j = i; j < 3; ++j)
                    block.entries[blockEntry(i, j)] += w * corner[j];
            }
        }
    }
}

// A fine unknown adds a sample at its vertex.
void ktFitEquations::addFineUnknowns(const ktFitPoints& points, const ktFitSamples& samples, ktFitWeights weights) {
    fineWeights = Eigen::VectorXd::Zero(static_cast<Eigen::Index>(rows));
    for (std::size_t i = 0; i < rows; ++i) {
        const std::uint32_t fine = mesh.fineOf[unknownOf(i)];
        if (fine == ktFitMesh::none)
            continue;
        const auto row = static_cast<Eigen::Index>(i);
        const std::size_t sample = points.size() + fine;
        const double weight = (samples.isValid[sample] ? 1.0 : weights.invalidSample) * mesh.fine[fine].area;
        fineWeights[row] = weight;
        weightSums[row] += weight;
        for (std::size_t channel = 0; channel < samples.channels; ++channel)
            rights[channel][row] += weight * samples.values[sample * samples.channels + channel];
    }
    ktThrowIfCanceled();
}

// Multiplies the factors by the root of the weight, so that the products of two factors are entries of the matrix.
void ktFitEquations::addHinges(double weight) {
    if (weight <= 0)
        return;
    hinges = ktFindHinges(mesh, begin, end);
    for (ktFitHinge& hinge : hinges)
        for (float& factor : hinge.factors)
            factor *= static_cast<float>(std::sqrt(weight * hinge.area));
}

void ktFitEquations::makeRows() {
    // Calls visit(row, element, corner): elements are the faces, then the hinges.
    const auto forCorners = [&](const auto& visit) {
        for (std::size_t face = begin; face < end; ++face)
            for (std::uint32_t corner = 0; corner < 3; ++corner)
                visit(mesh.rowOf[mesh.faces[face].unknowns[corner]], face - begin, corner);
        ktThrowIfCanceled();
        for (std::size_t hinge = 0; hinge < hinges.size(); ++hinge)
            for (std::uint32_t corner = 0; corner < 4; ++corner)
                visit(mesh.rowOf[hinges[hinge].unknowns[corner]], end - begin + hinge, corner);
        ktThrowIfCanceled();
    };
    incidentStart.assign(rows + 1, 0);
    forCorners([&](std::uint32_t row, std::size_t, std::uint32_t) { ++incidentStart[row + 1]; });
    for (std::size_t row = 0; row < rows; ++row)
        incidentStart[row + 1] += incidentStart[row];
    incident.resize(incidentStart[rows]);
    std::vector<std::uint32_t> next(incidentStart.begin(), incidentStart.end() - 1);
    forCorners([&](std::uint32_t row, std::size_t element, std::uint32_t corner) {
        incident[next[row]++] = static_cast<std::uint32_t>(4 * element) + corner;
    });

    // Each row gets room for the diagonal and, per face or hinge, for the most neighbours that it can add: two of a
    // face; one of a hinge, whose other three unknowns share a face with the row's. (With a corner beside the edge,
    // that is the other corner.)
    outer.assign(rows + 1, 0);
    for (std::size_t row = 0; row < rows; ++row) {
        std::uint32_t room = 1;
        for (std::uint32_t i = incidentStart[row]; i < incidentStart[row + 1]; ++i)
            room += incident[i] / 4 < end - begin ? 2 : 1;
        outer[row + 1] = outer[row] + static_cast<int>(room);
    }
    inner.assign(static_cast<std::size_t>(outer[rows]), 0);
    entries.assign(inner.size(), 0.0);
    ktParallel::forRange(rows, grain, [&](std::size_t first, std::size_t last) {
        ktThrowIfCanceled();
        for (std::size_t row = first; row < last; ++row)
            fillRow(row);
    });
    // Closes the gaps.
    std::size_t size = 0;
    for (std::size_t row = 0; row < rows; ++row) {
        if (row % grain == 0)
            ktThrowIfCanceled();
        const auto first = static_cast<std::size_t>(outer[row]), last = static_cast<std::size_t>(outer[row + 1]);
        outer[row] = static_cast<int>(size);
        for (std::size_t i = first; i < last && inner[i] >= 0; ++i, ++size) {
            inner[size] = inner[i];
            entries[size] = entries[i];
        }
    }
    outer[rows] = static_cast<int>(size);
    blocks = {};
    hinges = {};
    incident = {};
    incidentStart = {};
}

// Calls add(column, value) for what the faces and hinges of a row add to it.
template <class Add>
void ktFitEquations::forEntries(std::size_t row, const Add& add) const {
    for (std::uint32_t i = incidentStart[row]; i < incidentStart[row + 1]; ++i) {
        const std::size_t element = incident[i] / 4;
        const int corner = static_cast<int>(incident[i] % 4);
        if (element < end - begin) {
            const ktFitMesh::Face& face = mesh.faces[begin + element];
            for (int other = 0; other < 3; ++other)
                add(mesh.rowOf[face.unknowns[other]],
                    blocks[element].entries[blockEntry(std::min(corner, other), std::max(corner, other))]);
        } else {
            const ktFitHinge& hinge = hinges[element - (end - begin)];
            for (int other = 0; other < 4; ++other)
                add(mesh.rowOf[hinge.unknowns[other]], double(hinge.factors[corner]) * hinge.factors[other]);
        }
    }
}

// The slot of a column in a row that fills slots [first, size); `size` if it has none.
std::size_t ktFitEquations::slotOf(int column, std::size_t first, std::size_t size) const {
    if (inner[first] == column)
        return first;
    for (std::size_t slot = size; slot-- > first + 1;)
        if (inner[slot] == column)
            return slot;
    return size;
}

// The diagonal comes first. -1 ends the row.
void ktFitEquations::fillRow(std::size_t row) {
    const auto first = static_cast<std::size_t>(outer[row]), last = static_cast<std::size_t>(outer[row + 1]);
    inner[first] = static_cast<int>(row);
    entries[first] = fineWeights[static_cast<Eigen::Index>(row)];
    const std::size_t size = last - first > longRow ? fillLongRow(row, first) : fillShortRow(row, first);
    if (size < last)
        inner[size] = -1;
}

// The neighbours come as the faces and hinges meet them. A row is searched from its end, where the neighbours of the
// face before are.
std::size_t ktFitEquations::fillShortRow(std::size_t row, std::size_t first) {
    std::size_t size = first + 1;
    forEntries(row, [&](std::uint32_t column, double value) {
        const std::size_t slot = slotOf(static_cast<int>(column), first, size);
        if (slot == size)
            inner[size++] = static_cast<int>(column);
        entries[slot] += value;
    });
    return size;
}

// Sorts the neighbours. The faces of a large fan may come in any order, and then a search for each would take too long.
std::size_t ktFitEquations::fillLongRow(std::size_t row, std::size_t first) {
    std::vector<std::pair<int, double>> found;
    forEntries(row, [&](std::uint32_t column, double value) {
        if (column == row)
            entries[first] += value;
        else
            found.emplace_back(static_cast<int>(column), value);
    });
    std::stable_sort(found.begin(), found.end(), [](const auto& a, const auto& b) { return a.first < b.first; });
    std::size_t size = first;
    for (std::size_t i = 0; i < found.size(); ++i) {
        if (i == 0 || found[i].first != found[i - 1].first)
            inner[++size] = found[i].first;
        entries[size] += found[i].second;
    }
    return size + 1;
}

ktFitEquations::Map ktFitEquations::matrix() const {
    const auto size = static_cast<Eigen::Index>(rows);
    return {size, size, outer.back(), outer.data(), inner.data(), entries.data()};
}

Eigen::VectorXd ktFitEquations::guess(std::size_t channel) const {
    return rights[channel].cwiseQuotient(weightSums.cwiseMax(1e-300));
}
