// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

#include "ktDrawList.h"
#include "ktGl.h"
#include "ktViewLevels.h"

#include <functional>
#include <map>
#include <vector>

/// Buffers of one geometry on the display; 0 for what it does not have.
struct ktGlMesh {
    GLuint positions = 0, triangles = 0, normals = 0, colors = 0;
    GLuint results = 0, lamps = 0;               ///< halves; as in ktBakedChannels
    GLuint earlierResults = 0, earlierLamps = 0; ///< of ktGlMeshes::keepResults()
    GLuint levelTriangles = 0;
    std::map<int, GLuint> texCoords;     ///< by channel; 0 for a channel without coordinates
    std::vector<std::size_t> levelFirst; ///< first index of each level in `levelTriangles`
    std::uint64_t shape = 0, resultStamp = 0;
};

/// The geometries of a scene on the display: one set of buffers a geometry, however often it is used. All calls need
/// the current context.
class ktGlMeshes {
public:
    explicit ktGlMeshes(ktGl& gl);
    ~ktGlMeshes();
    ktGlMeshes(const ktGlMeshes&) = delete;
    ktGlMeshes& operator=(const ktGlMeshes&) = delete;

    /// Uploads what is missing or changed; ends after about the given time.
    /// @return whether everything is on the display
    bool upload(const ktViewScene& scene, double budget_ms);
    /// Keeps the present results as the earlier ones; those of geometry that is refined later are lost.
    void keepResults();
    /// Stores levels of a geometry; ignored if its shape has another stamp by now.
    void setLevels(osg::UInt32 geometryId, std::uint64_t shape, const std::vector<ktViewLevel>& levels);

    /// After a complete upload() of the scene.
    const ktGlMesh& of(const ktShownGeometry& geometry) const;
    /// The buffer with a channel of texture coordinates, uploaded when it is first needed; 0 if there is none.
    GLuint texCoords(const ktShownGeometry& geometry, int channel);
    /// Levels of each geometry of the scene, for ktMakeDrawList().
    std::vector<std::vector<ktLevelSize>> levelSizes(const ktViewScene& scene) const;

    /// Bytes given to OpenGL so far.
    struct Uploaded {
        std::size_t shapes = 0, results = 0;
    };
    const Uploaded& uploaded() const { return bytes; }

private:
    struct Entry {
        ktGlMesh mesh;
        std::vector<ktLevelSize> levels;
        bool isPartial = false; ///< its buffers are not full yet
    };

    GLuint makeBuffer(GLenum target, const void* data, std::size_t size, std::size_t& counter);
    /// Makes a buffer that `fillings` fill piece by piece; 0 for no elements. `give(first, count)` returns elements
    /// that stay until its next call.
    template <class Element, class Give>
    GLuint copyLater(std::size_t count, std::size_t& counter, const Give& give);
    /// The same; `write(first, count, out)` makes elements.
    template <class Element, class Write>
    GLuint fillLater(std::size_t count, std::size_t& counter, const Write& write);
    void beginShape(const ktShownGeometry& geometry, Entry& entry);
    void beginResults(const ktShownGeometry& geometry, ktGlMesh& mesh);
    void begin(const ktShownGeometry& geometry, Entry& entry);
    void setLevels(Entry& entry, const std::vector<ktViewLevel>& levels);
    void remove(GLuint& buffer);
    void remove(Entry& entry);

    ktGl& gl;
    std::map<osg::UInt32, Entry> entries; // by container id of the geometry
    Uploaded bytes;
    ktShownGeometry filled;                      ///< whose buffers `fillings` fill
    std::vector<std::function<bool()>> fillings; ///< each call fills a piece; true: the buffer is full
};
