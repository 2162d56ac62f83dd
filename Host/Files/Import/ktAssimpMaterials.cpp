// SPDX-License-Identifier: LGPL-2.1-or-later
// Converts Assimp's materials, textures and images to glTF.
#include "ktAssimpTarget.h"
#include "ktFileMessages.h"

#include <algorithm>
#include <assimp/GltfMaterial.h>
#include <assimp/material.h>
#include <cmath>
#include <filesystem>
#include <QBuffer>
#include <QImage>

namespace fs = std::filesystem;

namespace {

const char* mimeType(const std::uint8_t* data, std::size_t size) {
    const auto begins = [&](const char* magic, std::size_t n) {
        return size >= n && std::equal(magic, magic + n, data,
                                       [](char a, std::uint8_t b) { return static_cast<std::uint8_t>(a) == b; });
    };
    if (begins("\x89PNG", 4))
        return "image/png";
    return begins("\xFF\xD8\xFF", 3) ? "image/jpeg" : nullptr;
}

class Materials {
public:
    explicit Materials(ktAssimpTarget& target_) : target(target_) {}

    ktJson convert(const aiMaterial& material);

private:
    ktJson textureInfo(const aiMaterial& material, std::initializer_list<aiTextureType> types);
    ktJson imageOf(const std::string& name);
    ktJson embedded(const aiTexture& texture);
    ktJson fileNamed(std::string name);
    std::size_t samplerFor(const aiMaterial& material, aiTextureType type);

    ktAssimpTarget& target;
    std::map<std::string, std::size_t> images;
    std::map<std::pair<int, int>, std::size_t> samplers;
    std::map<std::pair<std::size_t, std::size_t>, std::size_t> textures;
};

float number(const aiMaterial& material, const char* key, unsigned type, unsigned index, float otherwise) {
    float value = otherwise;
    return material.Get(key, type, index, value) == AI_SUCCESS && std::isfinite(value) ? value : otherwise;
}

double unit(float value) {
    return ktJsonFromFloat(value > 0.0f ? std::min(value, 1.0f) : 0.0f);
}

ktJson Materials::convert(const aiMaterial& material) {
    ktJson out = ktJson::object();
    aiString name;
    if (material.Get(AI_MATKEY_NAME, name) == AI_SUCCESS && name.length)
        out["name"] = name.C_Str();

    aiColor4D color(1, 1, 1, 1);
    if (material.Get(AI_MATKEY_BASE_COLOR, color) != AI_SUCCESS)
        material.Get(AI_MATKEY_COLOR_DIFFUSE, color);
    float opacity = number(material, AI_MATKEY_OPACITY, 1.0f);
    if (opacity <= 0.0f && target.isInvisibleDoubtful) {
        target.messages.warn("material " + (name.length ? std::string(name.C_Str()) : "without a name"),
                             "is invisible, which is mostly an exporter's mistake (Tr 1 in MTL, transparency 0 in "
                             "Collada); it is taken as opaque");
        opacity = 1.0f;
    }
    ktJson surface = {{"baseColorFactor", {unit(color.r), unit(color.g), unit(color.b), unit(opacity)}}};
    surface["metallicFactor"] = unit(number(material, AI_MATKEY_METALLIC_FACTOR, 0.0f));
    const float shininess = std::max(number(material, AI_MATKEY_SHININESS, 0.0f), 0.0f);
    surface["roughnessFactor"] =
        unit(number(material, AI_MATKEY_ROUGHNESS_FACTOR, std::sqrt(2.0f / (shininess + 2.0f))));
    ktJson base = textureInfo(material, {aiTextureType_BASE_COLOR, aiTextureType_DIFFUSE});
    if (!base.is_null())
        surface["baseColorTexture"] = std::move(base);
    out["pbrMetallicRoughness"] = std::move(surface);

    ktJson normal = textureInfo(material, {aiTextureType_NORMALS});
    if (!normal.is_null())
        out["normalTexture"] = std::move(normal);
    aiColor4D emissive(0, 0, 0, 1);
    material.Get(AI_MATKEY_COLOR_EMISSIVE, emissive);
    if (emissive.r > 0.0f || emissive.g > 0.0f || emissive.b > 0.0f)
        out["emissiveFactor"] = {unit(emissive.r), unit(emissive.g), unit(emissive.b)};

    aiString mode;
    if (material.Get(AI_MATKEY_GLTF_ALPHAMODE, mode) == AI_SUCCESS && std::string(mode.C_Str()) == "MASK")
        out["alphaMode"] = "MASK";
    else if (opacity < 1.0f)
        out["alphaMode"] = "BLEND";
    // Most of these formats do not distinguish front and back.
    int twoSided = 1;
    material.Get(AI_MATKEY_TWOSIDED, twoSided);
    if (twoSided)
        out["doubleSided"] = true;
    return out;
}

ktJson Materials::textureInfo(const aiMaterial& material, std::initializer_list<aiTextureType> types) {
    for (const aiTextureType type : types) {
        aiString path;
        if (material.Get(AI_MATKEY_TEXTURE(type, 0), path) != AI_SUCCESS || !path.length)
            continue;
        const std::string name = path.C_Str();
        if (!images.count(name)) {
            ktJson image = imageOf(name);
            if (image.is_null())
                continue;
            images[name] = target.add("images", std::move(image));
        }
        const auto key = std::make_pair(images[name], samplerFor(material, type));
        if (!textures.count(key))
            textures[key] = target.add("textures", {{"sampler", key.second}, {"source", key.first}});
        ktJson info = {{"index", textures[key]}};
        int channel = 0;
        material.Get(AI_MATKEY_UVWSRC(type, 0), channel);
        if (channel > 0 && channel < AI_MAX_NUMBER_OF_TEXTURECOORDS)
            info["texCoord"] = channel;
        return info;
    }
    return nullptr;
}

std::size_t Materials::samplerFor(const aiMaterial& material, aiTextureType type) {
    const auto wrap = [&](const char* key) {
        int mode = aiTextureMapMode_Wrap;
        material.Get(key, type, 0, mode);
        return mode == aiTextureMapMode_Mirror ? 33648 : mode == aiTextureMapMode_Wrap ? 10497 : 33071;
    };
    const auto key = std::make_pair(wrap(_AI_MATKEY_MAPPINGMODE_U_BASE), wrap(_AI_MATKEY_MAPPINGMODE_V_BASE));
    if (!samplers.count(key))
        samplers[key] = target.add("samplers", {{"wrapS", key.first}, {"wrapT", key.second}});
    return samplers[key];
}

ktJson Materials::imageOf(const std::string& name) {
    if (const aiTexture* texture = target.scene.GetEmbeddedTexture(name.c_str()))
        return embedded(*texture);
    return fileNamed(name);
}

ktJson Materials::embedded(const aiTexture& texture) {
    const auto* data = reinterpret_cast<const std::uint8_t*>(texture.pcData);
    if (!data)
        return nullptr;
    if (texture.mHeight == 0) {
        const char* type = mimeType(data, texture.mWidth);
        if (!type) {
            target.messages.warn(texture.mFilename.C_Str(), "embedded image is neither PNG nor JPEG");
            return nullptr;
        }
        return {{"bufferView", target.addView(data, texture.mWidth)}, {"mimeType", type}};
    }
    if (texture.mWidth > 32768 || texture.mHeight > 32768)
        return nullptr;
    // Assimp stores blue first, as Qt's ARGB32 does on little-endian machines.
    const QImage image(data, static_cast<int>(texture.mWidth), static_cast<int>(texture.mHeight),
                       QImage::Format_ARGB32);
    QBuffer png;
    png.open(QIODevice::WriteOnly);
    if (!image.save(&png, "PNG"))
        return nullptr;
    const QByteArray& encoded = png.data();
    return {{"bufferView", target.addView(encoded.constData(), static_cast<std::size_t>(encoded.size()))},
            {"mimeType", "image/png"}};
}

// Image paths are often those of another machine. Then takes the image of the same name beside the file.
ktJson Materials::fileNamed(std::string name) {
    std::replace(name.begin(), name.end(), '\\', '/');
    const fs::path given = fs::path(name).lexically_normal();
    std::vector<fs::path> tries;
    if (given.is_relative() && given.begin() != given.end() && *given.begin() != "..")
        tries.push_back(given);
    tries.push_back(given.filename());
    tries.push_back(fs::path("textures") / given.filename());
    for (const fs::path& candidate : tries)
        if (const auto found = candidate.empty() ? std::nullopt : ktFindIgnoringCase(target.folder / candidate))
            return {
                {"uri", ktEncodeAssetUri(QString::fromStdString(fs::path(*found).lexically_relative(target.folder)))}};
    target.messages.warn(name, "image not found beside the file");
    return nullptr;
}

} // namespace

void ktConvertAssimpMaterials(ktAssimpTarget& target) {
    Materials materials(target);
    for (unsigned i = 0; i < target.scene.mNumMaterials; ++i)
        target.add("materials",
                   target.scene.mMaterials[i] ? materials.convert(*target.scene.mMaterials[i]) : ktJson::object());
}

std::size_t ktChooseAssimpMaterial(ktAssimpTarget& target, std::size_t material, const ktJson& attributes) {
    ktJson copy = target.json["materials"][material];
    std::string dropped;
    const auto check = [&](ktJson& holder, const char* key) {
        const ktJson* info = ktJsonMember(holder, key);
        if (!info || attributes.contains("TEXCOORD_" + std::to_string(ktJsonWhole(*info, "texCoord").value_or(0))))
            return;
        dropped += key;
        holder.erase(key);
    };
    check(copy["pbrMetallicRoughness"], "baseColorTexture");
    check(copy, "normalTexture");
    if (dropped.empty())
        return material;
    const auto known = target.bareMaterials.find({material, dropped});
    if (known != target.bareMaterials.end())
        return known->second;
    return target.bareMaterials[{material, dropped}] = target.add("materials", std::move(copy));
}
