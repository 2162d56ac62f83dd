// SPDX-License-Identifier: LGPL-2.1-or-later
// Measures how exact the light on a refined ground plane is, against a dense grid of traced points.
#include "ktPlaneAccuracy.h"

#include "ktWorldTransform.h"

#include <algorithm>
#include <cmath>
#include <OpenSG/OSGTriangleIterator.h>

namespace {

// A traced value at each point of a square grid over the plane, by row.
struct Grid {
    int squares;
    osg::Pnt3f low, high; // opposite corners in world space; y is equal
    std::vector<float> values;

    Grid(int squares_, const osg::Pnt3f& low_, const osg::Pnt3f& high_) : squares(squares_), low(low_), high(high_) {}

    std::vector<osg::Pnt3f> points() const {
        std::vector<osg::Pnt3f> all;
        for (int row = 0; row <= squares; ++row)
            for (int column = 0; column <= squares; ++column)
                all.emplace_back(low[0] + (high[0] - low[0]) * static_cast<float>(column) / static_cast<float>(squares),
                                 low[1],
                                 low[2] + (high[2] - low[2]) * static_cast<float>(row) / static_cast<float>(squares));
        return all;
    }
    float& at(int column, int row) {
        return values[static_cast<std::size_t>(row) * static_cast<std::size_t>(squares + 1) +
                      static_cast<std::size_t>(column)];
    }
};

// Root mean square difference between a triangle mesh over the grid's area and the grid, weighted by area.
class Difference {
public:
    explicit Difference(Grid& grid_) : grid(grid_) {}

    /// The unit of x and y is one square of the grid.
    void addTriangle(const double (&x)[3], const double (&y)[3], const float (&w)[3]) {
        const double area = (x[1] - x[0]) * (y[2] - y[0]) - (x[2] - x[0]) * (y[1] - y[0]);
        const auto first = [](const double(&v)[3]) {
            return static_cast<int>(std::ceil(std::min({v[0], v[1], v[2]})));
        };
        const auto last = [](const double(&v)[3]) {
            return static_cast<int>(std::floor(std::max({v[0], v[1], v[2]})));
        };
        for (int row = std::max(first(y), 0); row <= std::min(last(y), grid.squares); ++row)
            for (int column = std::max(first(x), 0); column <= std::min(last(x), grid.squares); ++column) {
                const double u = ((column - x[0]) * (y[2] - y[0]) - (x[2] - x[0]) * (row - y[0])) / area;
                const double v = ((x[1] - x[0]) * (row - y[0]) - (column - x[0]) * (y[1] - y[0])) / area;
                if (!(u >= -1e-6 && v >= -1e-6 && u + v <= 1 + 1e-6))
                    continue;
                // Points at the rim represent less area. The few points on inner edges count once per triangle.
                const double weight = (row % grid.squares == 0 ? 0.5 : 1.0) * (column % grid.squares == 0 ? 0.5 : 1.0);
                const double difference = (1 - u - v) * w[0] + u * w[1] + v * w[2] - grid.at(column, row);
                squares += weight * difference * difference;
                weights += weight;
            }
    }
    double rootMeanSquare() const { return std::sqrt(squares / weights); }

private:
    Grid& grid;
    double squares = 0, weights = 0;
};

double ofPlane(const osg::NodePtr& plane, Grid& grid) {
    const osg::GeometryPtr geometry = ktRefinedModel::geometryOf(plane);
    const osg::GeoTexCoords4fPtr results = osg::GeoTexCoords4fPtr::dcast(geometry->getTexCoords7());
    const ktWorldTransform toWorld(plane->getToWorld());
    Difference difference(grid);
    for (osg::TriangleIterator t = geometry->beginTriangles(); t != geometry->endTriangles(); ++t) {
        double x[3], y[3];
        float w[3];
        for (int corner = 0; corner < 3; ++corner) {
            float p[3];
            toWorld.position(t.getPosition(corner).getValues(), p);
            x[corner] = grid.squares * double(p[0] - grid.low[0]) / double(grid.high[0] - grid.low[0]);
            y[corner] = grid.squares * double(p[2] - grid.low[2]) / double(grid.high[2] - grid.low[2]);
            w[corner] = results->getField()[static_cast<osg::UInt32>(t.getPositionIndex(corner))][3];
        }
        difference.addTriangle(x, y, w);
    }
    return difference.rootMeanSquare();
}

double ofGrid(Grid& coarse, Grid& dense) {
    Difference difference(dense);
    const double step = double(dense.squares) / coarse.squares;
    for (int row = 0; row < coarse.squares; ++row)
        for (int column = 0; column < coarse.squares; ++column)
            for (int half = 0; half < 2; ++half) {
                const int c[3] = {column, column + 1, half == 0 ? column + 1 : column};
                const int r[3] = {row, half == 0 ? row : row + 1, row + 1};
                double x[3], y[3];
                float w[3];
                for (int corner = 0; corner < 3; ++corner) {
                    x[corner] = step * c[corner];
                    y[corner] = step * r[corner];
                    w[corner] = coarse.at(c[corner], r[corner]);
                }
                difference.addTriangle(x, y, w);
            }
    return difference.rootMeanSquare();
}

} // namespace

ktPlaneAccuracy ktMeasurePlane(ktRefinedModel& model, int squares) {
    const osg::GeometryPtr geometry = ktRefinedModel::geometryOf(model.groundPlane);
    const ktWorldTransform toWorld(model.groundPlane->getToWorld());
    osg::Pnt3f low, high;
    toWorld.position(geometry->getPositions()->getValue(0).getValues(), &low[0]);
    toWorld.position(geometry->getPositions()->getValue(geometry->getPositions()->getSize() - 1).getValues(), &high[0]);
    const osg::Vec3f up(0, 1, 0);
    Grid dense(squares, low, high);
    dense.values = model.trace(dense.points(), up);

    ktPlaneAccuracy accuracy;
    model.trace(model.groundPlane);
    accuracy.unrefined = ofPlane(model.groundPlane, dense);
    accuracy.refineSeconds = model.refine({model.groundPlane});
    accuracy.vertices = ktRefinedModel::vertexCount(model.groundPlane);
    accuracy.refined = ofPlane(model.groundPlane, dense);
    accuracy.traceSeconds = model.trace(model.groundPlane);

    Grid uniform(static_cast<int>(std::ceil(std::sqrt(double(accuracy.vertices)))) - 1, low, high);
    uniform.values = model.trace(uniform.points(), up);
    accuracy.uniform = ofGrid(uniform, dense);
    return accuracy;
}
