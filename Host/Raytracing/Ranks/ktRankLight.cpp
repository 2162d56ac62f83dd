// SPDX-License-Identifier: LGPL-2.1-or-later
// Writes and reads the light that surfaces reflect in one bounce.
#include "ktRankMessages.h"

namespace {

constexpr std::uint32_t none = 0xFFFFFFFFu;

// Things that several surfaces may share, and their places in the list of all.
template <class T>
class Shared {
public:
    std::uint32_t indexOf(const T* thing) {
        if (!thing)
            return none;
        const auto [entry, isNew] = indices.try_emplace(thing, static_cast<std::uint32_t>(all.size()));
        if (isNew)
            all.push_back(thing);
        return entry->second;
    }
    std::vector<const T*> all;

private:
    std::map<const T*, std::uint32_t> indices;
};

template <class T>
std::uint32_t sizeOf(const std::vector<T>& list) {
    return static_cast<std::uint32_t>(list.size());
}

struct SurfaceHead {
    std::uint32_t received, lazy, litSide, colors;
    float albedo[3];
};

void demandIndex(std::uint32_t index, std::size_t size, bool mayBeNone) {
    if (!(index < size || (mayBeNone && index == none)))
        throw ktBadMessage("a surface without its light");
}

void putColors(ktWireWriter& to, const ktSurfaceColors& colors, Shared<ktImage>& images) {
    to.put(colors.base);
    to.putArray(colors.vertexColors);
    to.putArray(colors.texCoords);
    const osg::UberMaterialTexture& texture = colors.texture;
    to.put(images.indexOf(texture.image.get()));
    to.put(texture.texCoords);
    to.put(texture.offset[0]);
    to.put(texture.offset[1]);
    to.put(texture.rotation_rad);
    to.put(texture.scale[0]);
    to.put(texture.scale[1]);
    to.put(texture.wrapU);
    to.put(texture.wrapV);
    to.put(static_cast<std::uint32_t>(texture.isFiltered));
}

std::shared_ptr<ktSurfaceColors> getColors(ktWireReader& from,
                                           const std::vector<std::shared_ptr<const ktImage>>& images) {
    auto colors = std::make_shared<ktSurfaceColors>();
    from.get(colors->base);
    colors->vertexColors = from.getArray<ktSurfaceColors::Color>();
    colors->texCoords = from.getArray<std::array<float, 2>>();
    osg::UberMaterialTexture& texture = colors->texture;
    const auto image = from.get<std::uint32_t>();
    demandIndex(image, images.size(), true);
    if (image != none)
        texture.image = images[image];
    from.get(texture.texCoords);
    from.get(texture.offset[0]);
    from.get(texture.offset[1]);
    from.get(texture.rotation_rad);
    from.get(texture.scale[0]);
    from.get(texture.scale[1]);
    from.get(texture.wrapU);
    from.get(texture.wrapV);
    texture.isFiltered = from.get<std::uint32_t>() != 0;
    return colors;
}

void putLazy(ktWireWriter& to, const ktReflectedLight::Lazy& lazy, bool isForRank) {
    if (isForRank)
        to.put(lazy.toWorld);
    else
        to.putArray(&lazy.toWorld.rows()[0][0], 12);
    const std::size_t count = lazy.normals ? lazy.light.size() : 0;
    to.put(static_cast<std::uint32_t>(lazy.light.size() / 3));
    to.putArray(lazy.positions, count);
    to.putArray(lazy.normals, count);
}

void getLazy(ktWireReader& from, ktRankLight& light) {
    const auto toWorld = from.get<ktWorldTransform>();
    auto lazy = std::make_unique<ktReflectedLight::Lazy>(from.get<std::uint32_t>());
    lazy->toWorld = toWorld;
    std::vector<float> positions = from.getArray<float>(), normals = from.getArray<float>();
    if (positions.size() != normals.size() || (!normals.empty() && normals.size() != lazy->light.size()))
        throw ktBadMessage("a surface without its vertices");
    if (!normals.empty()) {
        light.lazyArrays.push_back(std::move(positions)); // moved vectors keep their elements' addresses
        lazy->positions = light.lazyArrays.back().data();
        light.lazyArrays.push_back(std::move(normals));
        lazy->normals = light.lazyArrays.back().data();
    }
    light.lazies.push_back(std::move(lazy));
}

// How direct light that is in no channel is traced.
void putDirect(ktWireWriter& to, const ktOcclusionTask& direct, bool isForRank) {
    to.put(isForRank ? direct.directions->number : std::uint64_t(0));
    ktPutLimits(to, direct.limits);
    to.put(direct.sceneSize);
    to.putArray(direct.lights ? *direct.lights : std::vector<ktSceneLight>());
}

void getDirect(ktWireReader& from, const ktTracer& tracer, const ktRankDirectionTable& table, ktRankLight& light) {
    const auto directions = table.find(from.get<std::uint64_t>());
    if (directions == table.end())
        throw ktBadMessage("unknown directions");
    ktOcclusionTask& direct = light.light.direct;
    direct.directions = directions->second->prepared.get();
    direct.limits = ktGetLimits(from);
    from.get(direct.sceneSize);
    light.lights = from.getArray<ktSceneLight>();
    direct.lights = &light.lights;
    direct.tracer = &tracer;
}

} // namespace

void ktPutLight(ktWireWriter& to, const ktReflectedLight& light, bool isForRank) {
    Shared<std::vector<float>> received;
    Shared<ktReflectedLight::Lazy> lazies;
    Shared<ktLitSide> litSides;
    Shared<ktSurfaceColors> colors;
    Shared<ktImage> images;
    std::vector<SurfaceHead> heads;
    for (const ktReflectedLight::Surface& surface : light.surfaces)
        heads.push_back({received.indexOf(surface.received),
                         lazies.indexOf(surface.lazy),
                         litSides.indexOf(surface.litSide),
                         colors.indexOf(surface.colors.get()),
                         {surface.albedo[0], surface.albedo[1], surface.albedo[2]}});
    to.put(static_cast<std::uint32_t>(light.usesLightColor));
    to.put(static_cast<std::uint32_t>(light.hasColorBleeding));
    to.put(sizeOf(received.all));
    for (const std::vector<float>* values : received.all)
        to.putArray(*values);
    to.put(sizeOf(lazies.all));
    if (!lazies.all.empty())
        putDirect(to, light.direct, isForRank);
    for (const ktReflectedLight::Lazy* lazy : lazies.all)
        putLazy(to, *lazy, isForRank);
    to.put(sizeOf(litSides.all));
    for (const ktLitSide* side : litSides.all) {
        to.put(static_cast<std::uint32_t>(side->hasBoth()));
        to.putArray(std::vector<char>(side->reversed().begin(), side->reversed().end()));
    }
    for (const ktSurfaceColors* each : colors.all)
        images.indexOf(each->texture.image.get());
    to.put(sizeOf(images.all));
    for (const ktImage* image : images.all) {
        to.put(image->width_px);
        to.put(image->height_px);
        to.putArray(image->pixels);
    }
    to.put(sizeOf(colors.all));
    for (const ktSurfaceColors* each : colors.all)
        putColors(to, *each, images);
    to.putArray(heads);
}

std::unique_ptr<ktRankLight> ktGetLight(ktWireReader& from, const ktRankScene& scene, const ktTracer& tracer,
                                        const ktRankDirectionTable& table) {
    auto copy = std::make_unique<ktRankLight>();
    ktReflectedLight& light = copy->light;
    light.usesLightColor = from.get<std::uint32_t>() != 0;
    light.hasColorBleeding = from.get<std::uint32_t>() != 0;
    for (auto left = from.get<std::uint32_t>(); left > 0; --left)
        copy->received.push_back(from.getArray<float>());
    auto lazyCount = from.get<std::uint32_t>();
    if (lazyCount > 0)
        getDirect(from, tracer, table, *copy);
    for (; lazyCount > 0; --lazyCount)
        getLazy(from, *copy);
    for (auto left = from.get<std::uint32_t>(); left > 0; --left) {
        const bool hasBoth = from.get<std::uint32_t>() != 0;
        const std::vector<char> reversed = from.getArray<char>();
        copy->litSides.emplace_back(hasBoth, std::vector<bool>(reversed.begin(), reversed.end()));
    }
    std::vector<std::shared_ptr<const ktImage>> images;
    for (auto left = from.get<std::uint32_t>(); left > 0; --left) {
        auto image = std::make_shared<ktImage>();
        from.get(image->width_px);
        from.get(image->height_px);
        image->pixels = from.getArray<std::uint8_t>();
        images.push_back(std::move(image));
    }
    std::vector<std::shared_ptr<const ktSurfaceColors>> colors;
    for (auto left = from.get<std::uint32_t>(); left > 0; --left)
        colors.push_back(getColors(from, images));
    const std::vector<SurfaceHead> heads = from.getArray<SurfaceHead>();
    from.end();
    if (heads.size() != scene.meshes.size())
        throw ktBadMessage("light of another scene");
    for (std::size_t i = 0; i < heads.size(); ++i) {
        const SurfaceHead& head = heads[i];
        demandIndex(head.received, copy->received.size(), true);
        demandIndex(head.lazy, copy->lazies.size(), true);
        demandIndex(head.litSide, copy->litSides.size(), false);
        demandIndex(head.colors, colors.size(), true);
        ktReflectedLight::Surface surface;
        surface.triangles = &scene.triangles[scene.trianglesOf[i]];
        surface.received = head.received == none ? nullptr : &copy->received[head.received];
        surface.lazy = head.lazy == none ? nullptr : copy->lazies[head.lazy].get();
        surface.litSide = &copy->litSides[head.litSide];
        if (head.colors != none)
            surface.colors = colors[head.colors];
        std::copy(head.albedo, head.albedo + 3, surface.albedo);
        light.surfaces.push_back(std::move(surface));
    }
    return copy;
}
