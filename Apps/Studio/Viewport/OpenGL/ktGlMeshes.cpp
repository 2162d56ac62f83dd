// SPDX-License-Identifier: LGPL-2.1-or-later
// Uploads geometries and their results to OpenGL, each once.
#include "ktGlMeshes.h"

#include "ktBakedLight.h"
#include "ktTexCoordChannel.h"

#include <algorithm>
#include <cmath>
#include <OpenSG/OSGGeoProperty.h>
#include <QElapsedTimer>
#include <QFloat16>

namespace {

constexpr std::size_t pieceBytes = 1 << 20; // a few milliseconds with software OpenGL

/// Turns floats into half floats; larger values are cut to the largest half.
void toHalves(const float* values, std::size_t count, qfloat16* halves) {
    constexpr float largestHalf = 65504;
    std::vector<float> clamped(values, values + count);
    for (float& value : clamped)
        value = std::min(value, largestHalf);
    qFloatToFloat16(halves, clamped.data(), static_cast<qsizetype>(count));
}

/// Half floats of four channels a vertex.
struct Halves {
    qfloat16 channels[4];
};

/// A normal with ten bits a component.
std::uint32_t packNormal(const osg::Vec3f& normal) {
    std::uint32_t word = 0;
    for (osg::UInt32 axis = 0; axis < 3; ++axis) {
        const float value = 511 * normal[axis];
        const float inside = std::abs(value) <= 511 ? value : value > 0 ? 511.0f : value < 0 ? -511.0f : 0.0f;
        const int rounded = static_cast<int>(inside + (inside < 0 ? -0.5f : 0.5f)); // std::lround() takes much longer
        word |= (static_cast<std::uint32_t>(rounded) & 1023u) << (10 * axis);
    }
    return word;
}

/// Null unless there is one normal for each position.
osg::GeoNormals3fPtr normalsOf(const osg::GeometryPtr& geometry, std::size_t count) {
    const auto normals = osg::GeoNormals3fPtr::dcast(geometry->getNormals());
    const bool fits = normals != osg::NullFC && normals->getSize() >= count && geometry->getIndexMapping().size() <= 1;
    return fits ? normals : osg::GeoNormals3fPtr();
}

template <class ColorsPtr>
ColorsPtr colorsOf(const osg::GeometryPtr& geometry, std::size_t count) {
    const auto colors = ColorsPtr::dcast(geometry->getColors());
    return colors != osg::NullFC && colors->getSize() >= count ? colors : ColorsPtr();
}

bool hasColors(const osg::GeometryPtr& geometry, std::size_t count) {
    return colorsOf<osg::GeoColors4fPtr>(geometry, count) != osg::NullFC ||
           colorsOf<osg::GeoColors3fPtr>(geometry, count) != osg::NullFC;
}

/// Linear colours of vertices with alpha, of a geometry that has colours.
void readColors(const osg::GeometryPtr& geometry, std::size_t first, std::size_t count, Halves* out) {
    if (const auto four = colorsOf<osg::GeoColors4fPtr>(geometry, first + count); four != osg::NullFC) {
        toHalves(four->getField()[static_cast<osg::UInt32>(first)].getValuesRGBA(), 4 * count, out->channels);
        return;
    }
    const auto three = colorsOf<osg::GeoColors3fPtr>(geometry, first + count);
    std::vector<float> values(4 * count, 1);
    for (std::size_t i = 0; i < count; ++i)
        std::copy_n(three->getField()[static_cast<osg::UInt32>(first + i)].getValuesRGB(), 3,
                    values.begin() + static_cast<std::ptrdiff_t>(4 * i));
    toHalves(values.data(), values.size(), out->channels);
}

} // namespace

ktGlMeshes::ktGlMeshes(ktGl& gl_) : gl(gl_) {}

ktGlMeshes::~ktGlMeshes() {
    for (auto& [id, entry] : entries)
        remove(entry);
}

void ktGlMeshes::remove(GLuint& buffer) {
    if (buffer)
        gl.glDeleteBuffers(1, &buffer);
    buffer = 0;
}

void ktGlMeshes::remove(Entry& entry) {
    ktGlMesh& mesh = entry.mesh;
    for (GLuint* buffer : {&mesh.positions, &mesh.triangles, &mesh.normals, &mesh.colors, &mesh.results, &mesh.lamps,
                           &mesh.earlierResults, &mesh.earlierLamps, &mesh.levelTriangles})
        remove(*buffer);
    for (auto& [channel, buffer] : mesh.texCoords)
        remove(buffer);
    entry = {};
}

GLuint ktGlMeshes::makeBuffer(GLenum target, const void* data, std::size_t size, std::size_t& counter) {
    if (size == 0)
        return 0;
    GLuint buffer = 0;
    gl.glGenBuffers(1, &buffer);
    gl.glBindBuffer(target, buffer);
    gl.glBufferData(target, static_cast<GLsizeiptr>(size), data, GL_STATIC_DRAW);
    counter += size;
    return buffer;
}

template <class Element, class Give>
GLuint ktGlMeshes::copyLater(std::size_t count, std::size_t& counter, const Give& give) {
    const GLuint buffer = makeBuffer(GL_ARRAY_BUFFER, nullptr, count * sizeof(Element), counter);
    if (!buffer)
        return 0;
    const std::size_t atOnce = pieceBytes / sizeof(Element);
    fillings.push_back([this, buffer, count, atOnce, give = Give(give), done = std::size_t(0)]() mutable {
        const std::size_t some = std::min(atOnce, count - done);
        const Element* const piece = give(done, some);
        gl.glBindBuffer(GL_ARRAY_BUFFER, buffer);
        gl.glBufferSubData(GL_ARRAY_BUFFER, static_cast<GLintptr>(done * sizeof(Element)),
                           static_cast<GLsizeiptr>(some * sizeof(Element)), piece);
        done += some;
        return done == count;
    });
    return buffer;
}

template <class Element, class Write>
GLuint ktGlMeshes::fillLater(std::size_t count, std::size_t& counter, const Write& write) {
    return copyLater<Element>(count, counter,
                              [write, piece = std::vector<Element>()](std::size_t first, std::size_t some) mutable {
                                  piece.resize(some);
                                  write(first, some, piece.data());
                                  return piece.data();
                              });
}

void ktGlMeshes::beginShape(const ktShownGeometry& geometry, Entry& entry) {
    remove(entry);
    ktGlMesh& mesh = entry.mesh;
    const osg::GeometryPtr source = geometry.geometry;
    const std::size_t count = geometry.vertexCount();
    // An index buffer is bound as an array here: the vertex array object would remember it otherwise.
    const auto copyValues = [this](const auto& values, std::size_t size) {
        using Element = typename std::decay_t<decltype(*values)>::value_type;
        return copyLater<Element>(size, bytes.shapes,
                                  [values](std::size_t first, std::size_t) { return values->data() + first; });
    };
    mesh.positions = copyValues(geometry.positions, 3 * count);
    // Properties may be replaced between two pieces; then all begins again, so what these write does not matter.
    if (normalsOf(source, count) != osg::NullFC)
        mesh.normals = fillLater<std::uint32_t>(
            count, bytes.shapes, [source, count](std::size_t first, std::size_t some, std::uint32_t* out) {
                const osg::GeoNormals3fPtr normals = normalsOf(source, count);
                for (std::size_t i = 0; i < some && normals != osg::NullFC; ++i)
                    out[i] = packNormal(normals->getField()[static_cast<osg::UInt32>(first + i)]);
            });
    if (hasColors(source, count))
        mesh.colors =
            fillLater<Halves>(count, bytes.shapes, [source, count](std::size_t first, std::size_t some, Halves* out) {
                if (hasColors(source, count))
                    readColors(source, first, some, out);
            });
    mesh.triangles = copyValues(geometry.triangles, geometry.triangles->size());
}

void ktGlMeshes::beginResults(const ktShownGeometry& geometry, ktGlMesh& mesh) {
    remove(mesh.results);
    remove(mesh.lamps);
    const osg::GeometryPtr source = geometry.geometry;
    const auto uploadLater = [&](const osg::Vec4f* ktBakedChannels::*channel) {
        const ktBakedChannels channels = ktFindBakedChannels(source);
        const std::size_t count = channels.*channel ? channels.count : 0;
        return fillLater<Halves>(count, bytes.results,
                                 [source, channel, count](std::size_t first, std::size_t some, Halves* out) {
                                     const ktBakedChannels now = ktFindBakedChannels(source);
                                     if (now.*channel && now.count == count)
                                         toHalves((now.*channel)[first].getValues(), 4 * some, out->channels);
                                 });
    };
    mesh.results = uploadLater(&ktBakedChannels::results);
    mesh.lamps = uploadLater(&ktBakedChannels::lamps);
}

void ktGlMeshes::begin(const ktShownGeometry& geometry, Entry& entry) {
    fillings.clear();
    if (entry.mesh.shape != geometry.shape)
        beginShape(geometry, entry);
    beginResults(geometry, entry.mesh);
    entry.isPartial = true;
    filled = geometry; // its arrays are there until the buffers are full
}

bool ktGlMeshes::upload(const ktViewScene& scene, double budget_ms) {
    QElapsedTimer timer;
    timer.start();
    for (auto entry = entries.begin(); entry != entries.end();) {
        const bool isGone = !scene.isKnown(entry->first);
        if (isGone && entry->second.isPartial) {
            fillings.clear();
            filled = {};
        }
        if (isGone)
            remove(entry->second);
        entry = isGone ? entries.erase(entry) : std::next(entry);
    }
    for (const ktShownGeometry& geometry : scene.geometries) {
        Entry& entry = entries[geometry.geometry.get().getFieldContainerId()];
        if (!entry.isPartial && entry.mesh.shape == geometry.shape && entry.mesh.resultStamp == geometry.results)
            continue;
        if (static_cast<double>(timer.elapsed()) > budget_ms)
            return false;
        const bool goesOn = !fillings.empty() && filled.shape == geometry.shape && filled.results == geometry.results;
        if (!goesOn)
            begin(geometry, entry);
        while (!fillings.empty()) {
            if (fillings.back()())
                fillings.pop_back();
            if (!fillings.empty() && static_cast<double>(timer.elapsed()) > budget_ms)
                return false;
        }
        filled = {};
        entry.isPartial = false;
        if (entry.mesh.shape != geometry.shape && geometry.levels)
            setLevels(entry, *geometry.levels);
        entry.mesh.shape = geometry.shape;
        entry.mesh.resultStamp = geometry.results;
    }
    return true;
}

void ktGlMeshes::keepResults() {
    for (auto& [id, entry] : entries) {
        remove(entry.mesh.earlierResults);
        remove(entry.mesh.earlierLamps);
        // The stamp of a missing result brings the buffers back at the next upload.
        std::swap(entry.mesh.earlierResults, entry.mesh.results);
        std::swap(entry.mesh.earlierLamps, entry.mesh.lamps);
        entry.mesh.resultStamp = 0;
    }
}

void ktGlMeshes::setLevels(osg::UInt32 geometryId, std::uint64_t shape, const std::vector<ktViewLevel>& levels) {
    const auto found = entries.find(geometryId);
    if (found == entries.end() || found->second.mesh.shape != shape)
        return;
    setLevels(found->second, levels);
}

void ktGlMeshes::setLevels(Entry& entry, const std::vector<ktViewLevel>& levels) {
    remove(entry.mesh.levelTriangles);
    entry.mesh.levelFirst.clear();
    entry.levels.clear();
    std::vector<std::uint32_t> all;
    for (const ktViewLevel& level : levels) {
        entry.mesh.levelFirst.push_back(all.size());
        entry.levels.push_back({level.cellSize, level.triangles.size() / 3});
        all.insert(all.end(), level.triangles.begin(), level.triangles.end());
    }
    entry.mesh.levelTriangles = makeBuffer(GL_ARRAY_BUFFER, all.data(), all.size() * sizeof all[0], bytes.shapes);
}

const ktGlMesh& ktGlMeshes::of(const ktShownGeometry& geometry) const {
    return entries.at(geometry.geometry.get().getFieldContainerId()).mesh;
}

GLuint ktGlMeshes::texCoords(const ktShownGeometry& geometry, int channel) {
    ktGlMesh& mesh = entries.at(geometry.geometry.get().getFieldContainerId()).mesh;
    const auto [entry, isNew] = mesh.texCoords.emplace(channel, 0);
    if (!isNew)
        return entry->second;
    const auto property = osg::GeoTexCoords2fPtr::dcast(ktGetTexCoords(geometry.geometry, channel));
    if (!ktIsResultChannel(channel) && property != osg::NullFC && property->getSize() >= geometry.vertexCount() &&
        geometry.vertexCount() > 0)
        entry->second = makeBuffer(GL_ARRAY_BUFFER, property->getField()[0].getValues(),
                                   2 * sizeof(float) * static_cast<std::size_t>(geometry.vertexCount()), bytes.shapes);
    return entry->second;
}

std::vector<std::vector<ktLevelSize>> ktGlMeshes::levelSizes(const ktViewScene& scene) const {
    std::vector<std::vector<ktLevelSize>> sizes;
    for (const ktShownGeometry& geometry : scene.geometries)
        sizes.push_back(entries.at(geometry.geometry.get().getFieldContainerId()).levels);
    return sizes;
}
