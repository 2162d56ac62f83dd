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

/// Half floats of four channels a vertex; larger values are cut to the largest half.
std::vector<qfloat16> halvesOf(const float* values, std::size_t count) {
    constexpr float largestHalf = 65504;
    std::vector<float> clamped(values, values + count);
    for (float& value : clamped)
        value = std::min(value, largestHalf);
    std::vector<qfloat16> halves(count);
    qFloatToFloat16(halves.data(), clamped.data(), static_cast<qsizetype>(count));
    return halves;
}

/// Linear colours of the vertices with alpha; empty without.
std::vector<float> colorsOf(const osg::GeometryPtr& geometry, std::size_t count) {
    std::vector<float> values;
    if (const auto four = osg::GeoColors4fPtr::dcast(geometry->getColors());
        four != osg::NullFC && four->getSize() >= count)
        for (osg::UInt32 i = 0; i < count; ++i)
            values.insert(values.end(), four->getField()[i].getValuesRGBA(), four->getField()[i].getValuesRGBA() + 4);
    else if (const auto three = osg::GeoColors3fPtr::dcast(geometry->getColors());
             three != osg::NullFC && three->getSize() >= count)
        for (osg::UInt32 i = 0; i < count; ++i) {
            values.insert(values.end(), three->getField()[i].getValuesRGB(), three->getField()[i].getValuesRGB() + 3);
            values.push_back(1);
        }
    return values;
}

/// Normals with ten bits a component; empty unless there is one for each position.
std::vector<std::uint32_t> normalsOf(const osg::GeometryPtr& geometry, std::size_t count) {
    const auto normals = osg::GeoNormals3fPtr::dcast(geometry->getNormals());
    std::vector<std::uint32_t> packed;
    if (normals == osg::NullFC || normals->getSize() < count || geometry->getIndexMapping().size() > 1)
        return packed;
    packed.reserve(count);
    for (osg::UInt32 i = 0; i < count; ++i) {
        std::uint32_t word = 0;
        for (osg::UInt32 axis = 0; axis < 3; ++axis) {
            const float value = normals->getField()[i][axis];
            const float inside = std::isfinite(value) ? std::clamp(value, -1.0f, 1.0f) : 0;
            word |= (static_cast<std::uint32_t>(std::lround(inside * 511)) & 1023u) << (10 * axis);
        }
        packed.push_back(word);
    }
    return packed;
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

void ktGlMeshes::uploadShape(const ktShownGeometry& geometry, Entry& entry) {
    remove(entry);
    ktGlMesh& mesh = entry.mesh;
    const osg::GeometryPtr& source = geometry.geometry;
    const std::size_t count = geometry.vertexCount();
    const auto upload = [this](const auto& values, std::size_t size) {
        return makeBuffer(GL_ARRAY_BUFFER, values.data(), size * sizeof(values[0]), bytes.shapes);
    };
    mesh.positions = upload(*geometry.positions, 3 * count);
    const std::vector<std::uint32_t> normals = normalsOf(source, count);
    mesh.normals = upload(normals, normals.size());
    const std::vector<float> colors = colorsOf(source, count);
    if (!colors.empty())
        mesh.colors = upload(halvesOf(colors.data(), colors.size()), colors.size());
    // An index buffer is bound as an array here: the vertex array object would remember it otherwise.
    mesh.triangles = upload(*geometry.triangles, geometry.triangles->size());
    mesh.shape = geometry.shape;
}

void ktGlMeshes::uploadResults(const ktShownGeometry& geometry, ktGlMesh& mesh) {
    remove(mesh.results);
    remove(mesh.lamps);
    const ktBakedChannels channels = ktFindBakedChannels(geometry.geometry);
    const auto upload = [this, &channels](const osg::Vec4f* values) {
        const std::vector<qfloat16> halves =
            halvesOf(values->getValues(), 4 * static_cast<std::size_t>(channels.count));
        return makeBuffer(GL_ARRAY_BUFFER, halves.data(), halves.size() * sizeof(qfloat16), bytes.results);
    };
    if (channels.results)
        mesh.results = upload(channels.results);
    if (channels.lamps)
        mesh.lamps = upload(channels.lamps);
    mesh.resultStamp = geometry.results;
}

bool ktGlMeshes::upload(const ktViewScene& scene, double budget_ms) {
    QElapsedTimer timer;
    timer.start();
    for (auto entry = entries.begin(); entry != entries.end();) {
        const bool isGone = !scene.isKnown(entry->first);
        if (isGone)
            remove(entry->second);
        entry = isGone ? entries.erase(entry) : std::next(entry);
    }
    for (const ktShownGeometry& geometry : scene.geometries) {
        Entry& entry = entries[geometry.geometry.get().getFieldContainerId()];
        const bool isShapeNew = entry.mesh.shape != geometry.shape;
        if (!isShapeNew && entry.mesh.resultStamp == geometry.results)
            continue;
        if (static_cast<double>(timer.elapsed()) > budget_ms)
            return false;
        if (isShapeNew)
            uploadShape(geometry, entry);
        uploadResults(geometry, entry.mesh);
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
    Entry& entry = found->second;
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
