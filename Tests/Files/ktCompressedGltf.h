// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

#include "ktTestGltf.h"

#include <functional>

/// A grid of n by n squares of 1 m with waves, with normals.
struct ktWavyGrid {
    explicit ktWavyGrid(int n);
    std::vector<float> positions, normals;
    std::vector<std::uint16_t> indices;
};

// Writes a grid with the encoders of the libraries, without any code of the baker.

ktTestGltf ktPlainGltf(const ktWavyGrid& grid);
void ktSavePlain(const ktWavyGrid& grid, const QString& path);
/// EXT_meshopt_compression without filters: positions, normals, triangles.
void ktSaveMeshopt(const ktWavyGrid& grid, const QString& path);
/// The same with the exponential filter for positions and the octahedral one for normals of 8 or 16 bits.
void ktSaveFilteredMeshopt(const ktWavyGrid& grid, int bits, const QString& path);
/// KHR_draco_mesh_compression with positions of 14 and normals of 10 bits.
void ktSaveDraco(const ktWavyGrid& grid, const QString& path);

/// The compressed streams of a .glb file with one buffer that has data.
std::vector<std::string> ktStreamsOf(const ktJson& json, const std::string& file);
/// Copies a .glb file with changed JSON.
void ktEditJson(const QString& from, const QString& to, const std::function<void(ktJson&)>& edit);
/// Copies a .glb file; the JSON says that the streams have only this share of their bytes.
void ktCutStreams(const QString& from, const QString& to, double share);
