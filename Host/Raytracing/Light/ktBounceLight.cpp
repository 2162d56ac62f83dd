// SPDX-License-Identifier: LGPL-2.1-or-later
// Calculates the light that surfaces reflect at ray hits, bounce by bounce, for indirect illumination.
#include "ktBounceLight.h"

#include "ktLuminance.h"
#include "OSGUberMaterial.h"
#include "OSGUShadowMaterial.h"

#include <algorithm>

namespace {

constexpr float noResult = 1.0e-6f; // a component up to this is no result

osg::GeoTexCoords4fPtr channel(const osg::GeoTexCoordsPtr& property, osg::UInt32 count) {
    const osg::GeoTexCoords4fPtr values = osg::GeoTexCoords4fPtr::dcast(property);
    return values != osg::NullFC && values->getSize() >= count ? values : osg::GeoTexCoords4fPtr();
}

osg::UInt32 positionCount(const osg::GeometryPtr& geometry) {
    return geometry->getPositions() == osg::NullFC ? 0 : geometry->getPositions()->getSize();
}

void toLuminance(float* color) {
    color[0] = color[1] = color[2] = ktLuminance(color);
}

// Reads the colour that gathered light was multiplied by before it was stored.
void readTint(const osg::MaterialPtr& material, bool colorBleeding, float* tint) {
    tint[0] = tint[1] = tint[2] = 1.0f;
    const osg::UberMaterialPtr uber = osg::UberMaterialPtr::dcast(material);
    if (uber == osg::NullFC)
        return;
    std::copy_n(uber->getColor().getValuesRGB(), 3, tint);
    if (!colorBleeding)
        toLuminance(tint);
}

} // namespace

void ktBounceLight::clear() {
    const ktBounceSettings kept = settings;
    *this = ktBounceLight();
    settings = kept;
}

void ktBounceLight::markCalculated(const ktTracedGeometry& traced) {
    calculated[traced.number] = traced.geometry;
}

void ktBounceLight::setDirect(const ktOcclusionTask& task, bool isValid) {
    reflected.direct = task;
    reflected.renew();
    hasDirect = isValid;
}

void ktBounceLight::setGathered(ktGeometryNumber geometry, std::vector<float> received) {
    gatheredLight[geometry] = std::move(received);
}

const std::vector<float>* ktBounceLight::gathered(ktGeometryNumber geometry) const {
    const auto found = gatheredLight.find(geometry);
    return found == gatheredLight.end() ? nullptr : &found->second;
}

bool ktBounceLight::hasResult(const ktTracedGeometry& traced) const {
    const osg::GeometryPtr geometry = traced.geometry.get();
    const osg::UInt32 count = positionCount(geometry);
    const osg::GeoTexCoords4fPtr results = channel(geometry->getTexCoords7(), count);
    if (results == osg::NullFC)
        return false;
    if (calculated.count(traced.number))
        return true;
    const auto& field = results->getField();
    for (osg::UInt32 i = 0; i < count; ++i)
        if (field[i][3] > noResult)
            return true;
    return false;
}

// Reads direct light from the channels and adds the indirect light of the previous bounce: what this run gathered or,
// if nothing, what an earlier run stored, divided by the surface colour.
void ktBounceLight::readReceived(const ktTracedGeometry& traced, std::vector<float>& received,
                                 ktEventPump& pump) const {
    const osg::UInt32 count = positionCount(traced.geometry);
    received.assign(3 * std::size_t(count), 0.0f);
    const osg::GeoTexCoords4fPtr results = channel(traced.geometry->getTexCoords7(), count);
    const osg::GeoTexCoords4fPtr lights = channel(traced.geometry->getTexCoords5(), count);
    const std::vector<float>* indirect = gathered(traced.number);
    if (indirect && indirect->size() != received.size())
        indirect = nullptr;
    float tint[3];
    readTint(ktMaterialInEffect(traced.node), settings.colorBleeding, tint);
    for (osg::UInt32 i = 0; i < count; ++i) {
        if (i % 16384 == 0)
            pump.handleEventsIfDue();
        const osg::Vec4f result = results->getField()[i];
        for (osg::UInt32 c = 0; c < 3; ++c) {
            float light = lights != osg::NullFC ? lights->getField()[i][c] : std::min(result[3], 1.0f);
            if (indirect)
                light += (*indirect)[3 * std::size_t(i) + c];
            else if (tint[c] > noResult && result[c] > noResult)
                light += result[c] / tint[c];
            received[3 * std::size_t(i) + c] = light;
        }
    }
}

void ktBounceLight::setAlbedo(const ktTracedGeometry& traced, Surface& surface) {
    const osg::MaterialPtr material = ktMaterialInEffect(traced.node);
    if (osg::UShadowMaterialPtr::dcast(material) != osg::NullFC) {
        // It only shows shadows. It reflects no light, even if all surfaces have one colour.
        std::fill_n(surface.albedo, 3, 0.0f);
        return;
    }
    if (settings.overrideColor) {
        std::copy_n(settings.color, 3, surface.albedo);
        if (!settings.colorBleeding)
            toLuminance(surface.albedo);
        return;
    }
    const osg::UInt32 id = material == osg::NullFC ? 0 : material.getFieldContainerId();
    auto& colors = colorsOf[{traced.number, id}];
    if (!colors)
        colors = std::make_shared<ktSurfaceColors>(ktReadSurfaceColors(traced.geometry, material));
    if (!colors->vertexColors.empty() || !colors->texCoords.empty()) {
        surface.colors = colors;
        return;
    }
    std::copy_n(colors->base.data(), 3, surface.albedo);
    if (!settings.colorBleeding)
        toLuminance(surface.albedo);
}

void ktBounceLight::prepareLazy(const ktTracedGeometry& traced) {
    std::unique_ptr<Lazy>& lazy = lazies[traced.number];
    const osg::UInt32 count = positionCount(traced.geometry);
    if (!lazy || lazy->light.size() != 3 * std::size_t(count)) {
        lazy = std::make_unique<Lazy>(count);
        lazy->toWorld = traced.toWorld;
    }
    const osg::GeoPositions3fPtr positions = osg::GeoPositions3fPtr::dcast(traced.geometry->getPositions());
    const osg::GeoNormals3fPtr normals = osg::GeoNormals3fPtr::dcast(traced.geometry->getNormals());
    const bool canTrace =
        count > 0 && positions != osg::NullFC && normals != osg::NullFC && normals->getSize() >= count;
    lazy->positions = canTrace ? positions->getField()[0].getValues() : nullptr;
    lazy->normals = canTrace ? normals->getField()[0].getValues() : nullptr;
}

ktBounceLight::Surface ktBounceLight::makeSurface(const ktTracedGeometry& traced, ktEventPump& pump) {
    Surface surface;
    surface.triangles = traced.triangles.get();
    surface.litSide = &litSides.try_emplace(traced.triangles.get(), traced, pump).first->second;
    setAlbedo(traced, surface);
    if (const auto found = receivedLight.find(traced.number); found != receivedLight.end()) {
        surface.received = &found->second;
        return surface;
    }
    if (const auto found = lazies.find(traced.number); found != lazies.end())
        surface.lazy = found->second.get();
    return surface;
}

void ktBounceLight::takeSnapshot(const ktTracedScene& scene, ktEventPump& pump) {
    if (hasSnapshot)
        return;
    reflected.surfaces.clear();
    litSides.clear();
    receivedLight.clear();
    colorsOf.clear();
    reflected.hasColorBleeding = settings.colorBleeding;
    reflected.usesLightColor = std::any_of(calculated.begin(), calculated.end(), [](const auto& entry) {
        const osg::GeometryPtr geometry = entry.second.get();
        return channel(geometry->getTexCoords5(), positionCount(geometry)) != osg::NullFC;
    });
    // If a geometry has several instances, the first one counts.
    for (const ktTracedGeometry& traced : scene.geometries) {
        pump.handleEventsIfDue();
        if (!hasResult(traced)) {
            if (hasDirect)
                prepareLazy(traced);
        } else if (const auto [entry, isNew] = receivedLight.try_emplace(traced.number); isNew) {
            readReceived(traced, entry->second, pump);
        }
    }
    for (const std::size_t index : scene.meshes) {
        pump.handleEventsIfDue();
        reflected.surfaces.push_back(makeSurface(scene.geometries[index], pump));
    }
    reflected.renew();
    hasSnapshot = true;
}
