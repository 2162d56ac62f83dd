// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

#include "ktGltfDocument.h"
#include "ktPictureReader.h"
#include "OSGUberMaterial.h"
#include "OSGUShadowMaterial.h"

#include <map>
#include <optional>
#include <vector>

/// Converts materials of a document to the host's, each once. Decodes pictures only on request.
class ktMaterialReader {
public:
    /// The document and the messages must outlive the reader.
    ktMaterialReader(const ktGltfDocument& document, ktFileMessages& messages);
    ~ktMaterialReader();
    ktMaterialReader(const ktMaterialReader&) = delete;
    ktMaterialReader& operator=(const ktMaterialReader&) = delete;

    /// The material of a primitive; a white opaque one if it has none, or one that does not exist.
    /// @param object JSON pointer of the primitive, for warnings
    osg::UberMaterialPtr materialOf(const ktJson& primitive, const std::string& object);
    /// The material of ground planes.
    osg::UShadowMaterialPtr shadowMaterial();
    /// Decodes the missing pictures of all materials that were returned.
    void loadPictures(ktFileMessages& messages);
    bool hasPicturesToLoad() const { return !pending.empty(); }

private:
    struct Pending {
        osg::UberMaterialPtr material;
        std::size_t image;
        std::string object; ///< the texture reference, for warnings
    };

    /// Decodes an image; on another thread if somebody may interrupt the reading.
    std::shared_ptr<const ktImage> readPicture(std::size_t image, ktFileMessages& messages);
    osg::UberMaterialPtr make(std::optional<std::size_t> index);
    void readSurface(const ktJson& json, const osg::UberMaterialPtr& material, const std::string& object);
    void readTexture(const ktJson& info, const osg::UberMaterialPtr& material, const std::string& object);

    const ktGltfDocument& document;
    ktFileMessages& messages;
    std::map<std::int64_t, osg::UberMaterialPtr> materials; ///< by index in the document; -1: the default
    osg::UShadowMaterialPtr shadow;
    std::vector<Pending> pending;
    ktPictureReader reader;
    std::map<std::size_t, std::shared_ptr<const ktImage>> pictures;
};
