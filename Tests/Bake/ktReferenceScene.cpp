// SPDX-License-Identifier: LGPL-2.1-or-later
// Traces baked files again with a simple tracer in double precision, to check the results.
#include "ktReferenceScene.h"

#include <algorithm>
#include <cmath>

namespace {

using Vector = ktReferenceScene::Vector;
using Matrix = std::array<double, 16>;

constexpr std::uint32_t leafSize = 4;

Vector operator-(const Vector& a, const Vector& b) {
    return {a[0] - b[0], a[1] - b[1], a[2] - b[2]};
}
Vector operator*(double s, const Vector& a) {
    return {s * a[0], s * a[1], s * a[2]};
}
Vector operator+(const Vector& a, const Vector& b) {
    return {a[0] + b[0], a[1] + b[1], a[2] + b[2]};
}
double dot(const Vector& a, const Vector& b) {
    return a[0] * b[0] + a[1] * b[1] + a[2] * b[2];
}
Vector cross(const Vector& a, const Vector& b) {
    return {a[1] * b[2] - a[2] * b[1], a[2] * b[0] - a[0] * b[2], a[0] * b[1] - a[1] * b[0]};
}
Vector column(const Matrix& m, std::size_t c) {
    return {m[4 * c], m[4 * c + 1], m[4 * c + 2]};
}

Vector transform(const Matrix& m, const Vector& p) {
    return p[0] * column(m, 0) + p[1] * column(m, 1) + p[2] * column(m, 2) + column(m, 3);
}

/// Uses the cofactors, so that normals of mirrored and unevenly scaled parts are correct.
Vector transformNormal(const Matrix& m, const Vector& n) {
    const Vector x = column(m, 0), y = column(m, 1), z = column(m, 2);
    const Vector turned = n[0] * cross(y, z) + n[1] * cross(z, x) + n[2] * cross(x, y);
    const double sign = dot(x, cross(y, z)) < 0 ? -1 : 1;
    return (sign / std::sqrt(dot(turned, turned))) * turned;
}

Matrix product(const Matrix& a, const Matrix& b) {
    Matrix result{};
    for (std::size_t c = 0; c < 4; ++c)
        for (std::size_t r = 0; r < 4; ++r)
            for (std::size_t k = 0; k < 4; ++k)
                result[4 * c + r] += a[4 * k + r] * b[4 * c + k];
    return result;
}

Matrix localMatrix(const nlohmann::json& node) {
    if (node.contains("matrix"))
        return node.at("matrix").get<Matrix>();
    const Vector move = node.value("translation", Vector{0, 0, 0}), scale = node.value("scale", Vector{1, 1, 1});
    const auto q = node.value("rotation", std::array<double, 4>{0, 0, 0, 1});
    const double x = q[0], y = q[1], z = q[2], w = q[3];
    return {scale[0] * (1 - 2 * (y * y + z * z)),
            scale[0] * 2 * (x * y + z * w),
            scale[0] * 2 * (x * z - y * w),
            0,
            scale[1] * 2 * (x * y - z * w),
            scale[1] * (1 - 2 * (x * x + z * z)),
            scale[1] * 2 * (y * z + x * w),
            0,
            scale[2] * 2 * (x * z + y * w),
            scale[2] * 2 * (y * z - x * w),
            scale[2] * (1 - 2 * (x * x + y * y)),
            0,
            move[0],
            move[1],
            move[2],
            1};
}

} // namespace

Vector ktReferenceScene::Triangle::centre() const {
    return corner + (1.0 / 3) * (edge1 + edge2);
}

void ktReferenceScene::Box::add(const Vector& point) {
    for (std::size_t axis = 0; axis < 3; ++axis) {
        lower[axis] = std::min(lower[axis], point[axis]);
        upper[axis] = std::max(upper[axis], point[axis]);
    }
}

void ktReferenceScene::Box::add(const Triangle& triangle) {
    add(triangle.corner);
    add(triangle.corner + triangle.edge1);
    add(triangle.corner + triangle.edge2);
}

bool ktReferenceScene::Box::isMet(const Vector& origin, const Vector& inverse, double minDistance,
                                  double maxDistance) const {
    for (std::size_t axis = 0; axis < 3; ++axis) {
        const double a = (lower[axis] - origin[axis]) * inverse[axis], b = (upper[axis] - origin[axis]) * inverse[axis];
        minDistance = std::max(minDistance, std::min(a, b) * (1 - 1e-12) - 1e-12);
        maxDistance = std::min(maxDistance, std::max(a, b) * (1 + 1e-12) + 1e-12);
    }
    return minDistance <= maxDistance;
}

ktReferenceScene::ktReferenceScene(const ktBakedFile& file) {
    std::vector<bool> isMeshMet(file.json.at("meshes").size());
    const Matrix identity{1, 0, 0, 0, 0, 1, 0, 0, 0, 0, 1, 0, 0, 0, 0, 1};
    for (const std::size_t root : file.json.at("scenes").at(file.json.value("scene", std::size_t(0))).at("nodes"))
        addNode(file, root, identity, isMeshMet);
    if (!triangles.empty())
        buildTree(0, static_cast<std::uint32_t>(triangles.size()));
}

void ktReferenceScene::addNode(const ktBakedFile& file, std::size_t index, const Matrix& parent,
                               std::vector<bool>& isMeshMet) {
    const nlohmann::json& node = file.json.at("nodes").at(index);
    const Matrix toWorld = product(parent, localMatrix(node));
    if (node.contains("mesh")) {
        const std::size_t mesh = node.at("mesh");
        for (const nlohmann::json& primitive : file.json.at("meshes").at(mesh).at("primitives"))
            addPrimitive(file, primitive, toWorld, !isMeshMet[mesh]);
        isMeshMet[mesh] = true;
    }
    for (const std::size_t child : node.value("children", std::vector<std::size_t>()))
        addNode(file, child, toWorld, isMeshMet);
}

void ktReferenceScene::addPrimitive(const ktBakedFile& file, const nlohmann::json& primitive, const Matrix& toWorld,
                                    bool isFirstUse) {
    if (primitive.value("mode", 4) != 4)
        return;
    const std::vector<float> positions = file.floats(primitive, "POSITION");
    std::vector<Vector> points;
    for (std::size_t i = 0; i + 2 < positions.size(); i += 3)
        points.push_back(transform(toWorld, {positions[i], positions[i + 1], positions[i + 2]}));
    const std::vector<std::uint32_t> indices = file.indices(primitive);
    for (std::size_t i = 0; i + 2 < indices.size(); i += 3) {
        const Vector a = points.at(indices[i]), b = points.at(indices[i + 1]), c = points.at(indices[i + 2]);
        triangles.push_back({a, b - a, c - a});
    }
    if (!isFirstUse)
        return;
    const std::vector<float> normals = file.floats(primitive, "NORMAL"), occlusion = file.floats(primitive, "_AO");
    for (std::size_t i = 0; i < occlusion.size(); ++i) {
        const Vector normal{normals.at(3 * i), normals.at(3 * i + 1), normals.at(3 * i + 2)};
        vertexList.push_back({points.at(i), transformNormal(toWorld, normal), occlusion[i]});
    }
}

std::uint32_t ktReferenceScene::buildTree(std::uint32_t first, std::uint32_t count) {
    const auto index = static_cast<std::uint32_t>(tree.size());
    tree.emplace_back();
    Box box, centres;
    for (std::uint32_t i = first; i < first + count; ++i) {
        box.add(triangles[i]);
        centres.add(triangles[i].centre());
    }
    tree[index].box = box;
    const Vector size = centres.upper - centres.lower;
    if (count <= leafSize) {
        tree[index].first = first;
        tree[index].count = count;
        return index;
    }
    const std::size_t axis = static_cast<std::size_t>(std::max_element(size.begin(), size.end()) - size.begin());
    const std::uint32_t half = count / 2;
    const auto begin = triangles.begin() + first;
    std::nth_element(begin, begin + half, begin + count,
                     [axis](const Triangle& a, const Triangle& b) { return a.centre()[axis] < b.centre()[axis]; });
    buildTree(first, half);
    const std::uint32_t second = buildTree(first + half, count - half);
    tree[index].secondChild = second;
    return index;
}

double ktReferenceScene::diagonal() const {
    const Vector size = tree.front().box.upper - tree.front().box.lower;
    return std::sqrt(dot(size, size));
}

bool ktReferenceScene::isBlocked(const Vector& origin, const Vector& direction, double minDistance,
                                 double maxDistance) const {
    const Vector inverse{1 / direction[0], 1 / direction[1], 1 / direction[2]};
    std::uint32_t stack[64];
    int depth = 0;
    stack[depth++] = 0;
    while (depth > 0) {
        const std::uint32_t index = stack[--depth];
        const TreeNode& node = tree[index];
        if (!node.box.isMet(origin, inverse, minDistance, maxDistance))
            continue;
        if (node.count == 0) {
            stack[depth++] = node.secondChild;
            stack[depth++] = index + 1;
            continue;
        }
        // Tomas Moeller, Ben Trumbore: Fast, Minimum Storage Ray-Triangle Intersection, 1997.
        for (std::uint32_t i = node.first; i < node.first + node.count; ++i) {
            const Triangle& triangle = triangles[i];
            const Vector p = cross(direction, triangle.edge2);
            const double determinant = dot(triangle.edge1, p);
            if (determinant == 0)
                continue;
            const Vector t = origin - triangle.corner;
            const double u = dot(t, p) / determinant;
            const Vector q = cross(t, triangle.edge1);
            const double v = dot(direction, q) / determinant;
            const double distance = dot(triangle.edge2, q) / determinant;
            if (u >= 0 && v >= 0 && u + v <= 1 && distance >= minDistance && distance <= maxDistance)
                return true;
        }
    }
    return false;
}

double ktReferenceScene::openShare(const Vertex& vertex, double minDistance, double maxDistance, int rays,
                                   std::mt19937_64& random) const {
    const Vector& normal = vertex.normal;
    const Vector helper = std::abs(normal[0]) < 0.5 ? Vector{1, 0, 0} : Vector{0, 1, 0};
    Vector tangent = cross(helper, normal);
    tangent = (1 / std::sqrt(dot(tangent, tangent))) * tangent;
    const Vector bitangent = cross(normal, tangent);
    std::uniform_real_distribution<double> uniform(0, 1);
    int open = 0;
    for (int ray = 0; ray < rays; ++ray) {
        const double azimuth = 2 * M_PI * uniform(random), square = uniform(random), radius = std::sqrt(square);
        const Vector direction = radius * std::cos(azimuth) * tangent + radius * std::sin(azimuth) * bitangent +
                                 std::sqrt(1 - square) * normal;
        open += isBlocked(vertex.position, direction, minDistance, maxDistance) ? 0 : 1;
    }
    return static_cast<double>(open) / rays;
}
