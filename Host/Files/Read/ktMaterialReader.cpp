// SPDX-License-Identifier: LGPL-2.1-or-later
// Converts glTF materials to the host's materials, each once, and decodes their textures on request.
#include "ktMaterialReader.h"

#include "ktAttributeSlots.h"
#include "ktFileError.h"
#include "ktFileMessages.h"
#include "ktReadInterrupt.h"

#include <algorithm>
#include <chrono>
#include <cmath>
#include <future>
#include <OpenSG/OSGSimpleAttachments.h>
#include <system_error>

namespace {

constexpr auto askInterval = std::chrono::milliseconds(5);

float unit(double value) {
    return value > 0.0 ? static_cast<float>(std::min(value, 1.0)) : 0.0f;
}

osg::UberMaterialTexture::Wrap wrapOf(const ktJson* sampler, const char* key) {
    switch (sampler ? ktJsonWhole(*sampler, key).value_or(10497) : 10497) {
    case 33071:
        return osg::UberMaterialTexture::ClampToEdge;
    case 33648:
        return osg::UberMaterialTexture::MirroredRepeat;
    default:
        return osg::UberMaterialTexture::Repeat;
    }
}

const ktJson* extensionOf(const ktJson& holder, const char* name) {
    const ktJson* extensions = ktJsonMember(holder, "extensions");
    return extensions ? ktJsonMember(*extensions, name) : nullptr;
}

// The image of a texture: its source, else an image in a format of an extension.
std::optional<std::uint64_t> imageOf(const ktJson& texture) {
    const auto source = ktJsonWhole(texture, "source");
    if (source)
        return source;
    for (const char* name : {"EXT_texture_webp", "EXT_texture_avif", "KHR_texture_basisu", "MSFT_texture_dds"})
        if (const ktJson* extension = extensionOf(texture, name))
            if (const auto other = ktJsonWhole(*extension, "source"))
                return other;
    return std::nullopt;
}

} // namespace

ktMaterialReader::ktMaterialReader(const ktGltfDocument& document_, ktFileMessages& messages_)
    : document(document_), messages(messages_), reader(document_) {}

ktMaterialReader::~ktMaterialReader() {
    for (const auto& entry : materials)
        osg::subRefCP(entry.second);
    osg::subRefCP(shadow);
}

osg::UberMaterialPtr ktMaterialReader::materialOf(const ktJson& primitive, const std::string& object) {
    std::optional<std::size_t> index;
    if (ktJsonMember(primitive, "material")) {
        const auto given = ktJsonWhole(primitive, "material");
        if (given && *given < ktJsonCount(document.json, "materials"))
            index = static_cast<std::size_t>(*given);
        else
            messages.warn(object + "/material", "does not exist; the default material stands in");
    }
    const std::int64_t key = index ? static_cast<std::int64_t>(*index) : -1;
    const auto known = materials.find(key);
    if (known != materials.end())
        return known->second;
    const osg::UberMaterialPtr material = make(index);
    osg::addRefCP(material);
    materials.emplace(key, material);
    return material;
}

osg::UShadowMaterialPtr ktMaterialReader::shadowMaterial() {
    if (shadow == osg::NullFC) {
        shadow = osg::UShadowMaterial::create();
        osg::addRefCP(shadow);
    }
    return shadow;
}

osg::UberMaterialPtr ktMaterialReader::make(std::optional<std::size_t> index) {
    const osg::UberMaterialPtr material = osg::UberMaterial::create();
    osg::beginEditCP(material);
    if (index) {
        const ktJson& json = *ktJsonElement(document.json, "materials", *index);
        const std::string name = ktJsonText(json, "name");
        if (!name.empty())
            osg::setName(material, name);
        material->setSourceIndex(static_cast<osg::Int32>(*index));
        readSurface(json, material, ktPointer("materials", *index));
        const std::string alpha = ktJsonText(json, "alphaMode");
        material->setAlphaMode(alpha == "BLEND"  ? osg::UberMaterial::Blend
                               : alpha == "MASK" ? osg::UberMaterial::Mask
                                                 : osg::UberMaterial::Opaque);
        material->setAlphaCutoff(unit(ktJsonNumber(json, "alphaCutoff", 0.5)));
        material->setDoubleSided(ktJsonBool(json, "doubleSided", false));
        double emission[3] = {0, 0, 0};
        ktJsonNumbers(json, "emissiveFactor", 3, emission);
        double strength = 1.0;
        if (const ktJson* extension = extensionOf(json, "KHR_materials_emissive_strength"))
            strength = ktJsonNumber(*extension, "emissiveStrength", 1.0);
        const auto glow = [&](int c) { return static_cast<float>(std::max(0.0, emission[c] * strength)); };
        material->setEmission(osg::Color3f(glow(0), glow(1), glow(2)));
        if (const ktJson* extension = extensionOf(json, "KHR_materials_transmission"))
            material->setTransmission(unit(ktJsonNumber(*extension, "transmissionFactor", 0.0)));
    }
    osg::endEditCP(material);
    return material;
}

void ktMaterialReader::readSurface(const ktJson& json, const osg::UberMaterialPtr& material,
                                   const std::string& object) {
    const ktJson* surface = ktJsonMember(json, "pbrMetallicRoughness");
    const char* colorKey = "baseColorFactor";
    const char* textureKey = "baseColorTexture";
    std::string at = object + "/pbrMetallicRoughness/";
    if (const ktJson* other = extensionOf(json, "KHR_materials_pbrSpecularGlossiness")) {
        surface = other;
        colorKey = "diffuseFactor";
        textureKey = "diffuseTexture";
        at = object + "/extensions/KHR_materials_pbrSpecularGlossiness/";
    }
    if (!surface)
        return;
    double color[4] = {1, 1, 1, 1};
    ktJsonNumbers(*surface, colorKey, 4, color);
    material->setColor(osg::Color3f(unit(color[0]), unit(color[1]), unit(color[2])));
    material->setAlpha(unit(color[3]));
    if (const ktJson* info = ktJsonMember(*surface, textureKey))
        readTexture(*info, material, at + textureKey);
}

void ktMaterialReader::readTexture(const ktJson& info, const osg::UberMaterialPtr& material,
                                   const std::string& object) {
    const auto index = ktJsonWhole(info, "index");
    const ktJson* texture =
        index ? ktJsonElement(document.json, "textures", static_cast<std::size_t>(*index)) : nullptr;
    const auto image = texture ? imageOf(*texture) : std::nullopt;
    if (!image || *image >= ktJsonCount(document.json, "images")) {
        messages.warn(object, "has no image; its colour is left out");
        return;
    }
    osg::UberMaterialTexture out;
    std::uint64_t coordinates = ktJsonWhole(info, "texCoord").value_or(0);
    if (const ktJson* transform = extensionOf(info, "KHR_texture_transform")) {
        double pair[2];
        if (ktJsonNumbers(*transform, "offset", 2, pair))
            out.offset = osg::Vec2f(static_cast<float>(pair[0]), static_cast<float>(pair[1]));
        if (ktJsonNumbers(*transform, "scale", 2, pair))
            out.scale = osg::Vec2f(static_cast<float>(pair[0]), static_cast<float>(pair[1]));
        out.rotation_rad = static_cast<float>(ktJsonNumber(*transform, "rotation", 0.0));
        coordinates = ktJsonWhole(*transform, "texCoord").value_or(coordinates);
    }
    const auto channel = ktFindTexCoordChannel(coordinates);
    if (!channel) {
        messages.warn(object, "uses texture coordinates beyond TEXCOORD_5; its colour is left out");
        return;
    }
    out.texCoords = *channel;
    const auto samplerIndex = ktJsonWhole(*texture, "sampler");
    const ktJson* sampler =
        samplerIndex ? ktJsonElement(document.json, "samplers", static_cast<std::size_t>(*samplerIndex)) : nullptr;
    out.wrapU = wrapOf(sampler, "wrapS");
    out.wrapV = wrapOf(sampler, "wrapT");
    out.isFiltered = !sampler || ktJsonWhole(*sampler, "magFilter").value_or(9729) != 9728;
    material->setTexture(out);
    pending.push_back({material, static_cast<std::size_t>(*image), object});
}

std::shared_ptr<const ktImage> ktMaterialReader::readPicture(std::size_t image, ktFileMessages& report) {
    if (!ktReadInterrupt::isPossible())
        return reader.read(image, report);
    std::future<std::shared_ptr<const ktImage>> picture;
    try {
        picture = std::async(std::launch::async, [this, image, &report] { return reader.read(image, report); });
    } catch (const std::system_error&) { // no thread starts
        return reader.read(image, report);
    }
    while (picture.wait_for(askInterval) != std::future_status::ready)
        ktReadInterrupt::check();
    return picture.get();
}

void ktMaterialReader::loadPictures(ktFileMessages& report) {
    for (const Pending& entry : pending) {
        ktReadInterrupt::check();
        if (!pictures.count(entry.image)) {
            std::shared_ptr<const ktImage> picture;
            try {
                picture = readPicture(entry.image, report);
            } catch (const ktFileError& error) {
                report.warn(error.object(), "image left out", error.reason());
            }
            pictures[entry.image] = std::move(picture);
        }
        osg::UberMaterialTexture texture = entry.material->getTexture();
        texture.image = pictures[entry.image];
        osg::beginEditCP(entry.material, osg::UberMaterial::TextureFieldMask);
        entry.material->setTexture(texture);
        osg::endEditCP(entry.material, osg::UberMaterial::TextureFieldMask);
    }
    pending.clear();
}
