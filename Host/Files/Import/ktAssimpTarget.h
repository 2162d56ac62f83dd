// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

#include "ktAssetResource.h"
#include "ktGltfJson.h"

#include <assimp/scene.h>
#include <map>
#include <string>
#include <vector>

class ktFileMessages;

/// A file to import.
struct ktFileToImport {
    /// The name that an importer recognises the format by.
    std::string nameWithEnding() const;

    std::string path;   ///< absolute
    std::string format; ///< as ktFindImportFormat
};

/// The glTF document that an imported scene is converted to. All data is in buffer 0. Runs in a forked process, so it
/// uses no Qt objects with threads or events.
struct ktAssimpTarget {
    ktAssimpTarget(const aiScene& scene_, const ktFileToImport& file_, ktFileMessages& messages_)
        : scene(scene_), file(file_), folder(file_.path.substr(0, file_.path.rfind('/') + 1)), messages(messages_) {}

    /// Adds data, aligned to 4 bytes. Returns the index of its view.
    std::size_t addView(const void* data, std::size_t size, int target = 0);
    /// Adds an accessor of float vectors, with minimum and maximum if `limits`. Returns its index.
    std::size_t addFloats(const std::vector<float>& data, const char* type, int width, bool limits, int target = 0);
    /// Adds an accessor of indices. Returns its index.
    std::size_t addIndices(const std::vector<std::uint32_t>& indices);
    /// Adds an element to a collection of the document. Returns its index.
    std::size_t add(const char* collection, ktJson element);
    /// Adds an extension to /extensionsUsed, once.
    void useExtension(const char* name);

    const aiScene& scene;
    const ktFileToImport& file;
    std::string folder; ///< of the imported file, with a separator at the end
    ktFileMessages& messages;
    bool isInvisibleDoubtful = false; ///< exporters of the format often write an opaque material as invisible
    ktJson json = {{"asset", {{"version", "2.0"}, {"generator", "ktAmbientOcclusion"}}}};
    ktBytes bytes;
    std::map<std::pair<std::size_t, std::string>, std::size_t> bareMaterials; ///< copies without textures
    std::vector<std::size_t> nodes;                                           ///< glTF node of each of assimpNodes
    std::vector<const aiNode*> assimpNodes;                                   ///< in traversal order, parents first
    std::map<std::string, std::size_t> nodeOfName;                            ///< index into both of the above
};

/// Fills /materials, /textures, /images and /samplers.
void ktConvertAssimpMaterials(ktAssimpTarget& target);
/// The glTF material for a mesh with these attributes: the material, or a copy without the textures for which the
/// mesh has no coordinates.
std::size_t ktChooseAssimpMaterial(ktAssimpTarget& target, std::size_t material, const ktJson& attributes);
/// The glTF primitive of one mesh: attributes, indices, mode, material, morph targets; null if nothing of it can be
/// used.
ktJson ktConvertAssimpMesh(ktAssimpTarget& target, const aiMesh& mesh);
/// Fills /nodes, /meshes, /skins, /cameras, lights and /scenes.
void ktConvertAssimpNodes(ktAssimpTarget& target);
/// Fills /animations.
void ktConvertAssimpAnimations(ktAssimpTarget& target);
