// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

#include "ktGltfJson.h"

#include <cstring>
#include <gtest/gtest.h>
#include <QString>
#include <QTemporaryDir>
#include <string>
#include <vector>

/// A folder that is deleted after the test.
class ktTestFolder {
public:
    QString path(const std::string& name) const { return dir.filePath(QString::fromStdString(name)); }
    QString root() const { return dir.path(); }
    /// Sorted names of the files in the folder and its subfolders.
    std::vector<std::string> names() const;

private:
    QTemporaryDir dir;
};

void ktWriteTestFile(const QString& path, const std::string& content);
std::string ktReadTestFile(const QString& path);

/// Writes small glTF files byte by byte, without any code of the baker.
struct ktTestGltf {
    ktJson json = {{"asset", {{"version", "2.0"}}}};
    std::string bytes; ///< of buffer 0

    /// Adds raw data as a view (aligned to 4 bytes) and returns its index.
    template <class T>
    std::size_t view(const std::vector<T>& data, std::size_t stride = 0) {
        bytes.resize((bytes.size() + 3) / 4 * 4);
        ktJson entry = {{"buffer", 0}, {"byteOffset", bytes.size()}, {"byteLength", data.size() * sizeof(T)}};
        if (stride)
            entry["byteStride"] = stride;
        bytes.append(reinterpret_cast<const char*>(data.data()), data.size() * sizeof(T));
        json["bufferViews"].push_back(entry);
        return json["bufferViews"].size() - 1;
    }
    /// Adds an accessor and returns its index.
    std::size_t accessor(ktJson entry) {
        json["accessors"].push_back(std::move(entry));
        return json["accessors"].size() - 1;
    }
    /// An accessor of float vectors with a separate view; adds the limits that POSITION needs.
    std::size_t floats(const std::vector<float>& data, int width);
    /// An accessor of 16-bit indices with a separate view.
    std::size_t indices(const std::vector<std::uint16_t>& data);
    /// Adds a mesh of one primitive, and a node in scene 0 that shows it; returns the mesh.
    std::size_t mesh(ktJson primitive);
    /// Adds a node to scene 0 and returns its index.
    std::size_t node(ktJson entry);

    void saveGlb(const QString& path) const;
    /// Writes the bytes to the file `name` next to it; without `name` into a data URI.
    void saveGltf(const QString& path, const std::string& name = std::string()) const;
};

/// One square of 1 m in the xz plane facing up, four vertices, with normals.
ktTestGltf ktSquare();
