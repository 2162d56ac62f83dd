// SPDX-License-Identifier: LGPL-2.1-or-later
// Calculates the normals of surfaces that came without: smooth up to a crease angle, sharp beyond.
#include "ktCreaseNormals.h"

#include "ktMeshVector.h"
#include "ktReadInterrupt.h"
#include "ktSmoothNormals.h"
#include "ktVertexPlaces.h"

#include <algorithm>
#include <cmath>
#include <limits>

namespace {

using Vector = ktMeshVector;
using Index = std::uint32_t;

const float equalCosine = 1.0f - 1e-6f;  // 0.08 degrees: normals of one plane
const double angleTolerance_deg = 0.001; // edges of just the crease angle are smooth
const std::size_t mostCompared = 8;      // of the triangles at one edge, of the groups at one vertex

// The unit normal of a triangle; zero if rounding of its corners could turn it by more than about 2 degrees.
Vector faceNormal(const Vector& a, const Vector& b, const Vector& c) {
    const double s[3] = {double(b.x) - a.x, double(b.y) - a.y, double(b.z) - a.z};
    const double t[3] = {double(c.x) - a.x, double(c.y) - a.y, double(c.z) - a.z};
    const double u[3] = {t[0] - s[0], t[1] - s[1], t[2] - s[2]};
    const double n[3] = {s[1] * t[2] - s[2] * t[1], s[2] * t[0] - s[0] * t[2], s[0] * t[1] - s[1] * t[0]};
    const auto length = [](const double* v) { return std::sqrt(v[0] * v[0] + v[1] * v[1] + v[2] * v[2]); };
    const double longest = std::max({length(s), length(t), length(u)}), twiceArea = length(n);
    double largest = 0;
    for (const Vector& corner : {a, b, c})
        largest =
            std::max({largest, std::fabs(double(corner.x)), std::fabs(double(corner.y)), std::fabs(double(corner.z))});
    const double leastHeight = 32 * double(std::numeric_limits<float>::epsilon()) * largest;
    if (!(twiceArea > leastHeight * longest))
        return {0, 0, 0};
    return {static_cast<float>(n[0] / twiceArea), static_cast<float>(n[1] / twiceArea),
            static_cast<float>(n[2] / twiceArea)};
}

// The angle of a triangle at its corner `at`.
float cornerAngle(const Vector& at, const Vector& next, const Vector& previous) {
    Vector s = next - at, t = previous - at;
    if (!ktNormalize(s) || !ktNormalize(t))
        return 0.0f;
    return std::acos(std::clamp(ktDot(s, t), -1.0f, 1.0f));
}

class Creases {
public:
    Creases(const float* positions, std::size_t count_, const std::vector<Index>& triangles_, double angle_deg)
        : vertices(reinterpret_cast<const Vector*>(positions)), count(count_), triangles(triangles_),
          places(ktFindVertexPlaces(positions, count_)), faces(triangles_.size() / 3) {
        const double limit = std::cos(std::min(angle_deg + angleTolerance_deg, 180.0) * M_PI / 180.0);
        smoothCosine = std::min(static_cast<float>(limit), equalCosine);
        if (angle_deg >= 180.0)
            smoothCosine = -2.0f;
    }

    ktCreasedSurface make();

private:
    // An edge at a place, as one of the triangles there has it.
    struct Edge {
        Index to;          // the place of its other end
        Index corner;      // of the triangle, among those of the place
        Index here, there; // the vertices of its ends
    };

    Index nextOf(Index corner) const { return corner % 3 == 2 ? corner - 2 : corner + 1; }
    Index previousOf(Index corner) const { return corner % 3 == 0 ? corner + 2 : corner - 1; }
    bool hasNormal(Index corner) const {
        const Vector& n = faces[corner / 3];
        return n.x != 0.0f || n.y != 0.0f || n.z != 0.0f;
    }
    void sortCorners();
    void listEdges(Index place);
    template <class Visit>
    void forEachPair(const Visit& visit) const;
    void findCurved();
    void groupCorners(Index place);
    void splitPlace(Index place);
    void setNormal(Index vertex, const Vector& normal);
    void fillWithoutNormal();
    void checkFlat();

    const Vector* vertices;
    std::size_t count;
    const std::vector<Index>& triangles;
    float smoothCosine = 0.0f;
    std::vector<Index> places;          // of each vertex
    std::vector<Vector> faces;          // normals; zero: none
    std::vector<std::size_t> starts;    // of each place in `corners`; and the end
    std::vector<Index> corners;         // indices into `triangles`, place by place, ascending
    std::vector<std::uint8_t> isCurved; // faces in parts of the surface that are curved somewhere
    ktCreasedSurface out;

    // Of the place at hand.
    const Index* own = nullptr; // its corners
    std::size_t ownCount = 0;
    std::vector<Edge> edges;                                     // sorted by the other end
    ktVertexSets groups;                                         // of its corners
    std::vector<Vector> groupNormals;                            // by the first corner of the group
    std::vector<std::pair<std::pair<Index, Index>, Index>> uses; // vertex, group, corner
};

void Creases::sortCorners() {
    for (std::size_t face = 0; face < faces.size(); ++face)
        faces[face] = faceNormal(vertices[triangles[3 * face]], vertices[triangles[3 * face + 1]],
                                 vertices[triangles[3 * face + 2]]);
    starts.assign(count + 1, 0);
    for (std::size_t i = 0; i < 3 * faces.size(); ++i)
        ++starts[places[triangles[i]] + 1];
    for (std::size_t place = 0; place < count; ++place)
        starts[place + 1] += starts[place];
    corners.resize(3 * faces.size());
    std::vector<std::size_t> next(starts.begin(), starts.end() - 1);
    for (std::size_t i = 0; i < 3 * faces.size(); ++i)
        corners[next[places[triangles[i]]]++] = static_cast<Index>(i);
}

// The edges of the triangles that have a normal.
void Creases::listEdges(Index place) {
    own = corners.data() + starts[place];
    ownCount = starts[place + 1] - starts[place];
    edges.clear();
    for (Index i = 0; i < ownCount; ++i)
        if (hasNormal(own[i]))
            for (const Index other : {nextOf(own[i]), previousOf(own[i])})
                edges.push_back({places[triangles[other]], i, triangles[own[i]], triangles[other]});
    std::sort(edges.begin(), edges.end(),
              [](const Edge& a, const Edge& b) { return a.to != b.to ? a.to < b.to : a.corner < b.corner; });
}

// Calls visit(edge, edge, cosine) for the pairs of triangles that are smooth across an edge. Usually an edge has two
// triangles; if it has very many, not all pairs are compared.
template <class Visit>
void Creases::forEachPair(const Visit& visit) const {
    for (std::size_t i = 0; i < edges.size(); ++i)
        for (std::size_t k = i + 1; k < edges.size() && k <= i + mostCompared && edges[k].to == edges[i].to; ++k) {
            const float cosine = ktDot(faces[own[edges[i].corner] / 3], faces[own[edges[k].corner] / 3]);
            if (cosine >= smoothCosine)
                visit(edges[i], edges[k], cosine);
        }
}

// Triangles that share the vertices of smooth edges form parts.
void Creases::findCurved() {
    ktVertexSets parts(faces.size());
    std::vector<std::uint8_t> bends(faces.size(), 0);
    for (Index place = 0; place < count; ++place) {
        if (starts[place + 1] - starts[place] < 2)
            continue;
        listEdges(place);
        forEachPair([&](const Edge& a, const Edge& b, float cosine) {
            if (a.to < place || a.here != b.here || a.there != b.there)
                return;
            const Index face = own[a.corner] / 3;
            parts.join(face, own[b.corner] / 3);
            if (cosine < equalCosine)
                bends[face] = 1;
        });
    }
    isCurved.assign(faces.size(), 0);
    for (Index face = 0; face < faces.size(); ++face)
        if (bends[face])
            isCurved[parts.find(face)] = 1;
    for (Index face = 0; face < faces.size(); ++face)
        isCurved[face] = isCurved[parts.find(face)];
}

void Creases::groupCorners(Index place) {
    listEdges(place);
    groups.reset(ownCount);
    forEachPair([&](const Edge& a, const Edge& b, float) {
        const bool isShared = a.here == b.here && a.there == b.there;
        if (isShared || (isCurved[own[a.corner] / 3] && isCurved[own[b.corner] / 3]))
            groups.join(a.corner, b.corner);
    });
    groupNormals.assign(ownCount, Vector{0, 0, 0});
    for (Index i = 0; i < ownCount; ++i)
        if (hasNormal(own[i]))
            groupNormals[groups.find(i)] +=
                faces[own[i] / 3] * cornerAngle(vertices[triangles[own[i]]], vertices[triangles[nextOf(own[i])]],
                                                vertices[triangles[previousOf(own[i])]]);
    for (Index i = 0; i < ownCount; ++i)
        if (groups.find(i) == i && !ktNormalize(groupNormals[i]))
            groupNormals[i] = faces[own[i] / 3];
}

void Creases::setNormal(Index vertex, const Vector& normal) {
    reinterpret_cast<Vector*>(out.normals.data())[vertex] = normal;
}

// Gives the vertices at a place their normals. The first group of a vertex keeps it, the others get new ones.
void Creases::splitPlace(Index place) {
    groupCorners(place);
    uses.clear();
    for (Index i = 0; i < ownCount; ++i)
        if (hasNormal(own[i]))
            uses.push_back({{triangles[own[i]], groups.find(i)}, own[i]});
    std::sort(uses.begin(), uses.end());
    std::vector<std::pair<Vector, Index>> made; // normals of the vertex at hand
    for (std::size_t i = 0; i < uses.size();) {
        const std::pair<Index, Index> key = uses[i].first;
        const bool isFirst = i == 0 || uses[i - 1].first.first != key.first;
        if (isFirst)
            made.clear();
        const Vector& normal = groupNormals[key.second];
        const auto known = std::find_if(made.begin(), made.end(), [&](const std::pair<Vector, Index>& other) {
            return ktDot(other.first, normal) >= equalCosine;
        });
        Index vertex = key.first;
        if (known != made.end()) {
            vertex = known->second;
        } else if (isFirst) {
            setNormal(vertex, normal);
        } else {
            if (out.added.empty())
                out.triangles = triangles;
            vertex = static_cast<Index>(count + out.added.size());
            out.added.push_back(key.first);
            out.normals.insert(out.normals.end(), {normal.x, normal.y, normal.z});
        }
        if (known == made.end() && made.size() < mostCompared)
            made.emplace_back(normal, vertex);
        for (; i < uses.size() && uses[i].first == key; ++i)
            if (vertex != key.first)
                out.triangles[uses[i].second] = vertex;
    }
}

// Vertices of no triangle with a reliable normal.
void Creases::fillWithoutNormal() {
    const auto hasNone = [this](std::size_t i) {
        return out.normals[i] == 0.0f && out.normals[i + 1] == 0.0f && out.normals[i + 2] == 0.0f;
    };
    std::vector<float> others;
    for (std::size_t i = 0; i < 3 * count; i += 3) {
        if (!hasNone(i))
            continue;
        if (others.empty())
            others = ktMakeSmoothNormals(&vertices->x, count, triangles);
        std::copy_n(&others[i], 3, &out.normals[i]);
    }
}

void Creases::checkFlat() {
    const std::vector<Index>& final = out.triangles.empty() ? triangles : out.triangles;
    const auto* normals = reinterpret_cast<const Vector*>(out.normals.data());
    for (Index i = 0; i < 3 * faces.size() && out.isFlat; ++i)
        out.isFlat = !hasNormal(i) || ktDot(faces[i / 3], normals[final[i]]) >= equalCosine;
}

ktCreasedSurface Creases::make() {
    sortCorners();
    ktReadInterrupt::check();
    findCurved();
    ktReadInterrupt::check();
    out.normals.resize(3 * count);
    for (Index place = 0; place < count; ++place)
        if (starts[place + 1] > starts[place])
            splitPlace(place);
    ktReadInterrupt::check();
    fillWithoutNormal();
    checkFlat();
    return std::move(out);
}

} // namespace

ktCreasedSurface ktFindCreaseNormals(const float* positions, std::size_t count,
                                     const std::vector<std::uint32_t>& triangles, double creaseAngle_deg) {
    return Creases(positions, count, triangles, creaseAngle_deg).make();
}
