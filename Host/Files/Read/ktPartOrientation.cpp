// SPDX-License-Identifier: LGPL-2.1-or-later
// Corrects parts that are inside out, and normals that contradict the triangles, as seen from outside.
#include "ktPartOrientation.h"

#include "ktFileMessages.h"
#include "ktGeometryInstances.h"
#include "ktGltfAccessor.h"
#include "ktMeshParts.h"
#include "ktReadInterrupt.h"
#include "ktReadProgress.h"

#include <algorithm>
#include <cmath>
#include <map>
#include <OpenSG/OSGTriangleIterator.h>
#include <set>

namespace {

const double most = 0.5;                // share of a part's area
const std::size_t mostSamples = 16;     // points of a part
const double triangleTests = 300000000; // limit for the tests of which part is inside which

enum class Turn { Nothing, Normals, Triangles, Both };

// The primitives of one mesh that were read together.
struct Mesh {
    std::size_t begin = 0, end = 0; // in ktGltfScene::primitives
    std::vector<osg::Matrix> uses;  // to the world
    std::unique_ptr<ktMeshParts> parts;
    std::vector<std::size_t> vertexStart, triangleStart; // of each primitive, in `parts`; and the end
};

struct Counts {
    std::size_t parts = 0, triangles = 0;
};

ktMeshPoint moved(const osg::Matrix& matrix, const ktMeshPoint& point) {
    osg::Pnt3f out;
    matrix.mult(osg::Pnt3f(static_cast<float>(point[0]), static_cast<float>(point[1]), static_cast<float>(point[2])),
                out);
    return {out[0], out[1], out[2]};
}

// A sphere around a part in world space.
struct Sphere {
    ktMeshPoint middle;
    double radius;

    Sphere(const osg::Matrix& toWorld, const ktMeshPart& part) {
        double scale = 0;
        for (osg::UInt32 column = 0; column < 3; ++column)
            scale = std::max<double>(scale, std::hypot(toWorld[column][0], toWorld[column][1], toWorld[column][2]));
        middle = moved(toWorld, {(part.low[0] + part.high[0]) / 2, (part.low[1] + part.high[1]) / 2,
                                 (part.low[2] + part.high[2]) / 2});
        radius = 0.501 * scale * part.diagonal();
    }
    bool overlaps(const Sphere& other) const {
        return std::hypot(middle[0] - other.middle[0], middle[1] - other.middle[1], middle[2] - other.middle[2]) <=
               radius + other.radius;
    }
};

std::vector<std::uint32_t> trianglesOf(const osg::GeometryPtr& geometry) {
    std::vector<std::uint32_t> triangles;
    for (osg::TriangleIterator triangle = geometry->beginTriangles(); !triangle.isAtEnd(); ++triangle)
        for (int corner = 0; corner < 3; ++corner)
            triangles.push_back(static_cast<std::uint32_t>(triangle.getPositionIndex(corner)));
    return triangles;
}

const float* floatsOf(const osg::GeoPositionsPtr& property) {
    return reinterpret_cast<const float*>(property->getData());
}

void setTriangles(const osg::GeometryPtr& geometry, const std::vector<std::uint32_t>& triangles) {
    const osg::GeoPTypesUI8Ptr types = osg::GeoPTypesUI8::create();
    const osg::GeoPLengthsUI32Ptr lengths = osg::GeoPLengthsUI32::create();
    const osg::GeoIndicesUI32Ptr indices = osg::GeoIndicesUI32::create();
    osg::beginEditCP(types);
    types->push_back(GL_TRIANGLES);
    osg::endEditCP(types);
    osg::beginEditCP(lengths);
    lengths->push_back(static_cast<osg::UInt32>(triangles.size()));
    osg::endEditCP(lengths);
    osg::beginEditCP(indices);
    for (const std::uint32_t index : triangles)
        indices->push_back(index);
    osg::endEditCP(indices);
    osg::beginEditCP(geometry);
    geometry->setTypes(types);
    geometry->setLengths(lengths);
    geometry->setIndices(indices);
    osg::endEditCP(geometry);
}

class Correction {
public:
    Correction(ktGltfDocument& document_, ktGltfScene& scene_, const ktSideRules& rules_, ktFileMessages& messages_)
        : document(document_), scene(scene_), rules(rules_), messages(messages_) {}

    void run();

private:
    ktPrimitiveLink& link(std::size_t i) { return scene.primitives[i]; }
    bool hasOwnNormals(const ktPrimitiveLink& of) const { return of.hasNormals && !rules.normalsFollowWinding; }
    void listMeshes();
    bool mayBeWrong(const Mesh& mesh) const;
    ktMeshParts& partsOf(Mesh& mesh);
    void correct(Mesh& mesh);
    Turn decide(Mesh& mesh, std::uint32_t part, bool hasNormals);
    bool isCavityOrRoom(Mesh& mesh, std::uint32_t part);
    bool isDoubleSided(const Mesh& mesh, std::uint32_t part) const;
    void apply(Mesh& mesh, const std::vector<Turn>& turns);
    void turnVertices(const Mesh& mesh, std::size_t primitive, const std::vector<Turn>& turns);
    void turnDocument(ktPrimitiveLink& turned, const std::vector<std::uint32_t>& triangles);
    void warn(const Mesh& mesh, const char* reason, const Counts& counts);

    ktGltfDocument& document;
    ktGltfScene& scene;
    const ktSideRules& rules;
    ktFileMessages& messages;
    std::vector<Mesh> meshes;
    std::vector<osg::Matrix> cameras; // to the world
    std::set<std::size_t> done;       // accessors of the document that were turned
    double tested = 0;                // triangles
};

void Correction::listMeshes() {
    std::map<osg::UInt32, std::size_t> meshOf; // by the first geometry
    for (std::size_t i = 0; i < scene.primitives.size(); ++i) {
        const bool isNew = i == 0 || link(i).mesh != link(i - 1).mesh || link(i).primitive <= link(i - 1).primitive;
        if (isNew) {
            meshOf[osg::GeometryPtr(link(i).geometry).getFieldContainerId()] = meshes.size();
            meshes.emplace_back();
            meshes.back().begin = i;
        }
        meshes.back().end = i + 1;
    }
    ktForEachGeometryInstance(scene.root, ktInstances::All, [&](const ktGeometryInstance& use) {
        const auto found = meshOf.find(use.geometry.getFieldContainerId());
        if (found != meshOf.end())
            meshes[found->second].uses.push_back(use.toWorld);
        return true;
    });
    for (const ktSceneCamera& camera : scene.cameras)
        cameras.push_back(camera.node->getToWorld());
}

// Most files are right; this is all that they cost.
bool Correction::mayBeWrong(const Mesh& mesh) const {
    for (std::size_t i = mesh.begin; i < mesh.end; ++i) {
        const ktPrimitiveLink& one = scene.primitives[i];
        const osg::GeoNormalsPtr normals = one.geometry->getNormals();
        if (one.isGroundPlane || normals == osg::NullFC)
            continue;
        if (!hasOwnNormals(one))
            return true;
        const auto* n = reinterpret_cast<const float*>(normals->getData());
        const float* p = floatsOf(one.geometry->getPositions());
        for (osg::TriangleIterator triangle = one.geometry->beginTriangles(); !triangle.isAtEnd(); ++triangle) {
            const float* at[3];
            double sum[3] = {};
            for (int corner = 0; corner < 3; ++corner) {
                const std::size_t index = 3 * static_cast<std::size_t>(triangle.getPositionIndex(corner));
                at[corner] = p + index;
                for (std::size_t axis = 0; axis < 3; ++axis)
                    sum[axis] += n[index + axis];
            }
            double facing = 0;
            for (std::size_t axis = 0; axis < 3; ++axis) {
                const std::size_t x = (axis + 1) % 3, y = (axis + 2) % 3;
                facing += sum[axis] * ((double(at[1][x]) - at[0][x]) * (double(at[2][y]) - at[0][y]) -
                                       (double(at[1][y]) - at[0][y]) * (double(at[2][x]) - at[0][x]));
            }
            if (facing < 0)
                return true;
        }
    }
    return false;
}

ktMeshParts& Correction::partsOf(Mesh& mesh) {
    if (mesh.parts)
        return *mesh.parts;
    std::vector<float> positions, normals;
    std::vector<std::uint32_t> triangles;
    for (std::size_t i = mesh.begin; i < mesh.end; ++i) {
        const osg::GeometryPtr geometry = link(i).geometry;
        const std::size_t first = positions.size() / 3, count = geometry->getPositions()->getSize();
        mesh.vertexStart.push_back(first);
        mesh.triangleStart.push_back(triangles.size() / 3);
        const float* p = floatsOf(geometry->getPositions());
        positions.insert(positions.end(), p, p + 3 * count);
        normals.resize(positions.size(), 0.0f);
        if (geometry->getNormals() != osg::NullFC)
            std::copy_n(reinterpret_cast<const float*>(geometry->getNormals()->getData()), 3 * count,
                        normals.begin() + static_cast<std::ptrdiff_t>(3 * first));
        for (const std::uint32_t index : trianglesOf(geometry))
            triangles.push_back(static_cast<std::uint32_t>(first + index));
    }
    mesh.vertexStart.push_back(positions.size() / 3);
    mesh.triangleStart.push_back(triangles.size() / 3);
    mesh.parts = std::make_unique<ktMeshParts>(std::move(positions), std::move(triangles), normals);
    return *mesh.parts;
}

// A part that faces inwards may be right: a cavity inside another part, or a room with something in it.
bool Correction::isCavityOrRoom(Mesh& mesh, std::uint32_t part) {
    const ktMeshPart shape = partsOf(mesh).parts[part];
    if (mesh.uses.empty())
        return true;
    const osg::Matrix& toWorld = mesh.uses.front();
    osg::Matrix toPart = toWorld;
    if (!toPart.invert())
        return true;
    const auto isInPart = [&](const ktMeshPoint& point) {
        tested += static_cast<double>(shape.triangles);
        return shape.boundsContain(point) && partsOf(mesh).isInside(part, point);
    };
    for (const osg::Matrix& camera : cameras)
        if (isInPart(moved(toPart, moved(camera, {0, 0, 0}))))
            return true;
    const Sphere sphere(toWorld, shape);
    const std::vector<ktMeshPoint> own = partsOf(mesh).samplePoints(part, mostSamples);
    for (Mesh& other : meshes)
        for (std::size_t use = 0; use < other.uses.size(); ++use) {
            osg::Matrix toOther = other.uses[use], fromOther = toPart;
            fromOther.mult(other.uses[use]);
            const bool isInvertible = toOther.invert();
            toOther.mult(toWorld);
            ktMeshParts& others = partsOf(other);
            for (std::uint32_t i = 0; i < others.parts.size(); ++i) {
                if (&other == &mesh && use == 0 && i == part)
                    continue;
                if ((tested += 1) > triangleTests)
                    return true;
                if (!sphere.overlaps(Sphere(other.uses[use], others.parts[i])))
                    continue;
                tested += 100;
                // Is the other part in this one?
                std::size_t inside = 0;
                const std::vector<ktMeshPoint> points = others.samplePoints(i, mostSamples);
                const bool isNear = std::all_of(points.begin(), points.end(), [&](const ktMeshPoint& point) {
                    return shape.boundsContain(moved(fromOther, point));
                });
                for (std::size_t k = 0; isNear && k < points.size(); ++k)
                    inside += isInPart(moved(fromOther, points[k]));
                if (2 * inside > points.size())
                    return true;
                // Is this part in the other one?
                if (!isInvertible)
                    continue;
                const ktMeshPoint first = moved(toOther, own.front());
                if (!others.parts[i].boundsContain(first) || !others.parts[i].hasVolume())
                    continue;
                tested += static_cast<double>(others.parts[i].triangles);
                if (others.isInside(i, first))
                    return true;
            }
        }
    return false;
}

bool Correction::isDoubleSided(const Mesh& mesh, std::uint32_t part) const {
    const std::vector<std::uint32_t>& partOf = mesh.parts->partOf;
    const auto triangle = static_cast<std::size_t>(std::find(partOf.begin(), partOf.end(), part) - partOf.begin());
    std::size_t i = mesh.begin;
    while (mesh.triangleStart[i - mesh.begin + 1] <= triangle)
        ++i;
    const ktJson& primitive =
        document.json["meshes"][scene.primitives[i].mesh]["primitives"][scene.primitives[i].primitive];
    const auto index = ktJsonWhole(primitive, "material");
    const ktJson* material =
        index ? ktJsonElement(document.json, "materials", static_cast<std::size_t>(*index)) : nullptr;
    return material && ktJsonBool(*material, "doubleSided", false);
}

// For a closed part.
Turn Correction::decide(Mesh& mesh, std::uint32_t part, bool hasNormals) {
    const ktMeshPart& shape = mesh.parts->parts[part];
    const bool isOpposed = shape.opposed > most * shape.area;
    if (shape.volume > 0)
        return isOpposed ? Turn::Normals : Turn::Nothing;
    if (isCavityOrRoom(mesh, part))
        return isOpposed ? Turn::Normals : Turn::Nothing;
    if (isOpposed)
        return Turn::Triangles;
    return hasNormals ? Turn::Nothing : Turn::Both;
}

void Correction::correct(Mesh& mesh) {
    if (!mayBeWrong(mesh))
        return;
    ktMeshParts& all = partsOf(mesh);
    std::vector<bool> hasNormals(all.parts.size(), false), asked(all.parts.size(), false);
    for (std::size_t i = mesh.begin; i < mesh.end; ++i)
        if (hasOwnNormals(link(i)))
            for (std::size_t t = mesh.triangleStart[i - mesh.begin]; t < mesh.triangleStart[i - mesh.begin + 1]; ++t)
                hasNormals[all.partOf[t]] = true;
    for (std::size_t part = 0; part < all.parts.size(); ++part) {
        const ktMeshPart& shape = all.parts[part];
        const bool isOpposed = shape.opposed > most * shape.area;
        asked[part] = shape.hasVolume() && (isOpposed || (shape.volume < 0 && !hasNormals[part]));
    }
    if (std::find(asked.begin(), asked.end(), true) == asked.end())
        return;
    all.findClosed(asked);
    std::vector<Turn> turns(all.parts.size(), Turn::Nothing);
    Counts opposed, insideOut, hidden;
    const auto count = [&](Counts& counts, std::size_t part) {
        ++counts.parts;
        counts.triangles += all.parts[part].triangles;
    };
    for (std::uint32_t part = 0; part < all.parts.size(); ++part) {
        if (!all.parts[part].isClosed)
            continue;
        ktReadInterrupt::check();
        turns[part] = decide(mesh, part, hasNormals[part]);
        if (turns[part] == Turn::Both && rules.isGltf && !isDoubleSided(mesh, part)) {
            turns[part] = Turn::Nothing;
            count(hidden, part);
        } else if (turns[part] == Turn::Both || turns[part] == Turn::Triangles) {
            count(insideOut, part);
        } else if (turns[part] == Turn::Normals) {
            count(opposed, part);
        }
    }
    warn(mesh, "has closed parts whose normals contradict their triangles; their normals are turned to bake them",
         opposed);
    warn(mesh, "has closed parts that are inside out; they are turned to bake their outer side", insideOut);
    warn(mesh, "has closed parts that are inside out; viewers show only their inner side, so that is baked", hidden);
    apply(mesh, turns);
}

void Correction::warn(const Mesh& mesh, const char* reason, const Counts& counts) {
    if (counts.parts == 0)
        return;
    const std::size_t index = scene.primitives[mesh.begin].mesh;
    const std::string name = ktJsonText(document.json["meshes"][index], "name");
    messages.warn(ktPointer("meshes", index), reason,
                  (name.empty() ? std::string() : "\"" + name + "\", ") + std::to_string(counts.parts) +
                      (counts.parts == 1 ? " part, " : " parts, ") + std::to_string(counts.triangles) + " triangles");
}

void Correction::apply(Mesh& mesh, const std::vector<Turn>& turns) {
    if (std::all_of(turns.begin(), turns.end(), [](Turn turn) { return turn == Turn::Nothing; }))
        return;
    for (std::size_t i = mesh.begin; i < mesh.end; ++i) {
        ktPrimitiveLink& one = link(i);
        std::vector<std::uint32_t> triangles = trianglesOf(one.geometry);
        one.turned.assign(one.vertexCount, 0);
        bool turnsAny = false;
        const std::size_t first = mesh.triangleStart[i - mesh.begin];
        for (std::size_t t = 0; 3 * t < triangles.size(); ++t) {
            const Turn turn = turns[mesh.parts->partOf[first + t]];
            if (turn != Turn::Triangles && turn != Turn::Both)
                continue;
            turnsAny = true;
            std::swap(triangles[3 * t + 1], triangles[3 * t + 2]);
            for (std::size_t k = 0; k < 3; ++k)
                one.turned[triangles[3 * t + k]] |= ktPrimitiveLink::turnedTriangles;
        }
        if (turnsAny)
            setTriangles(one.geometry, triangles);
        turnVertices(mesh, i, turns);
        if (!rules.isGltf)
            turnDocument(one, triangles);
        if (std::all_of(one.turned.begin(), one.turned.end(), [](std::uint8_t flags) { return flags == 0; }))
            one.turned.clear();
    }
}

// Turns the normals that point to the back of the triangles around them, after these have been turned.
void Correction::turnVertices(const Mesh& mesh, std::size_t primitive, const std::vector<Turn>& turns) {
    ktPrimitiveLink& one = link(primitive);
    const osg::GeoNormals3fPtr normals = osg::GeoNormals3fPtr::dcast(one.geometry->getNormals());
    if (normals == osg::NullFC)
        return;
    const std::vector<std::uint32_t> triangles = trianglesOf(one.geometry);
    const float* p = floatsOf(one.geometry->getPositions());
    std::vector<double> sums(one.vertexCount, 0.0); // of the triangles' areas, where they face as the normal does
    const std::size_t first = mesh.triangleStart[primitive - mesh.begin];
    for (std::size_t t = 0; 3 * t < triangles.size(); ++t) {
        const Turn turn = turns[mesh.parts->partOf[first + t]];
        if (turn == Turn::Nothing)
            continue;
        const float *a = p + 3 * std::size_t(triangles[3 * t]), *b = p + 3 * std::size_t(triangles[3 * t + 1]),
                    *c = p + 3 * std::size_t(triangles[3 * t + 2]);
        for (std::size_t k = 0; k < 3; ++k) {
            const osg::Vec3f& normal = normals->getField()[triangles[3 * t + k]];
            for (std::size_t axis = 0; axis < 3; ++axis) {
                const std::size_t x = (axis + 1) % 3, y = (axis + 2) % 3;
                sums[triangles[3 * t + k]] +=
                    double(normal[static_cast<osg::UInt32>(axis)]) *
                    ((double(b[x]) - a[x]) * (double(c[y]) - a[y]) - (double(b[y]) - a[y]) * (double(c[x]) - a[x]));
            }
        }
    }
    osg::beginEditCP(normals);
    for (std::size_t i = 0; i < sums.size(); ++i)
        if (sums[i] < 0) {
            osg::Vec3f& normal = normals->getField()[static_cast<osg::UInt32>(i)];
            normal = -normal;
            one.turned[i] |= ktPrimitiveLink::turnedNormal;
        }
    osg::endEditCP(normals);
}

// Other formats than glTF say nothing of fronts, so the glTF document made of them shows the outer side.
void Correction::turnDocument(ktPrimitiveLink& turned, const std::vector<std::uint32_t>& triangles) {
    const ktJson& primitive = document.json["meshes"][turned.mesh]["primitives"][turned.primitive];
    const auto begin = [&](std::size_t index, std::size_t& stride) {
        const ktJson& accessor = document.json["accessors"][index];
        const auto view = static_cast<std::size_t>(*ktJsonWhole(accessor, "bufferView"));
        const ktGltfViewRange range = ktFindGltfView(document, view);
        stride = range.stride;
        const auto buffer = static_cast<std::size_t>(*ktJsonWhole(document.json["bufferViews"][view], "buffer"));
        const std::size_t offset = static_cast<std::size_t>(range.data - document.buffers[buffer].bytes.data());
        return document.buffers[buffer].bytes.data() + offset + ktJsonWhole(accessor, "byteOffset").value_or(0);
    };
    std::size_t stride = 0;
    const auto indices = ktJsonWhole(primitive, "indices");
    if (indices && !triangles.empty() && done.insert(static_cast<std::size_t>(*indices)).second) {
        const ktGltfAccessor accessor(document, static_cast<std::size_t>(*indices));
        const std::size_t size = ktComponentSize(accessor.componentType());
        std::uint8_t* at = begin(static_cast<std::size_t>(*indices), stride);
        for (std::size_t t = 0; 3 * t < std::min(triangles.size(), accessor.count()); ++t)
            if (turned.turned[triangles[3 * t]] & ktPrimitiveLink::turnedTriangles)
                std::swap_ranges(at + (3 * t + 1) * size, at + (3 * t + 2) * size, at + (3 * t + 2) * size);
    }
    const auto normals = ktJsonWhole(primitive["attributes"], "NORMAL");
    if (normals && done.insert(static_cast<std::size_t>(*normals)).second) {
        auto* at = reinterpret_cast<float*>(begin(static_cast<std::size_t>(*normals), stride));
        for (std::size_t i = 0; i < turned.vertexCount; ++i)
            for (std::size_t c = 0; c < 3 && (turned.turned[i] & ktPrimitiveLink::turnedNormal); ++c)
                at[3 * turned.sourceOf(i) + c] = -at[3 * turned.sourceOf(i) + c];
    }
    turned.turned.clear();
}

void Correction::run() {
    listMeshes();
    for (Mesh& mesh : meshes) {
        ktReadInterrupt::check();
        ktReadProgress::tell(static_cast<std::size_t>(&mesh - meshes.data()), meshes.size());
        correct(mesh);
        if (tested == 0) // else other parts will be compared with it
            mesh.parts.reset();
    }
}

} // namespace

void ktCorrectOrientation(ktGltfDocument& document, ktGltfScene& scene, const ktSideRules& rules,
                          ktFileMessages& messages) {
    Correction(document, scene, rules, messages).run();
}
