// SPDX-License-Identifier: LGPL-2.1-or-later
// Converts glTF's punctual lights to light nodes, and fits an exponent to the soft edge of a spot light.
#include "ktLightReader.h"

#include "ktFileError.h"
#include "ktFileMessages.h"

#include <algorithm>
#include <cmath>
#include <OpenSG/OSGDirectionalLight.h>
#include <OpenSG/OSGGroup.h>
#include <OpenSG/OSGPointLight.h>
#include <OpenSG/OSGSimpleAttachments.h>
#include <OpenSG/OSGSpotLight.h>

namespace {

const double pi = 3.14159265358979323846;

const ktJson* lightOf(const ktGltfDocument& document, const ktJson& node, const std::string& object) {
    const ktJson* extensions = ktJsonMember(node, "extensions");
    const ktJson* extension = extensions ? ktJsonMember(*extensions, "KHR_lights_punctual") : nullptr;
    if (!extension)
        return nullptr;
    const auto index = ktJsonWhole(*extension, "light");
    const ktJson* all = ktJsonMember(document.json, "extensions");
    const ktJson* collection = all ? ktJsonMember(*all, "KHR_lights_punctual") : nullptr;
    const ktJson* light =
        index && collection ? ktJsonElement(*collection, "lights", static_cast<std::size_t>(*index)) : nullptr;
    if (!light)
        throw ktFileError(object + "/extensions/KHR_lights_punctual/light", "does not exist");
    return light;
}

// Squared error of the exponent's fall-off against glTF's, integrated over the cosine of the angle.
double misfit(double exponent, double innerCosine, double outerCosine) {
    const int steps = 64;
    double sum = 0.0;
    for (int i = 0; i < steps; ++i) {
        const double cosine = outerCosine + (1.0 - outerCosine) * (i + 0.5) / steps;
        const double edge = std::clamp((cosine - outerCosine) / (innerCosine - outerCosine), 0.0, 1.0);
        const double error = std::pow(cosine, exponent) - edge * edge;
        sum += error * error;
    }
    return sum;
}

osg::LightPtr makeLight(const ktJson& light, const std::string& object) {
    const std::string type = ktJsonText(light, "type");
    if (type == "directional") {
        const osg::DirectionalLightPtr directional = osg::DirectionalLight::create();
        directional->setDirection(0, 0, 1); // towards the light, which shines along -z
        return directional;
    }
    if (type == "point")
        return osg::PointLight::create();
    if (type != "spot")
        throw ktFileError(object, "has a light of unknown type");
    const osg::SpotLightPtr spot = osg::SpotLight::create();
    const ktJson* cone = ktJsonMember(light, "spot");
    const ktJson nothing = ktJson::object();
    const double outer = std::clamp(ktJsonNumber(cone ? *cone : nothing, "outerConeAngle", pi / 4), 0.001, pi / 2);
    const double inner = std::clamp(ktJsonNumber(cone ? *cone : nothing, "innerConeAngle", 0.0), 0.0, outer * 0.9999);
    spot->setDirection(osg::Vec3f(0, 0, -1));
    spot->setSpotCutOff(static_cast<float>(outer));
    spot->setSpotExponent(static_cast<float>(ktSpotExponent(inner, outer)));
    return spot;
}

} // namespace

double ktSpotExponent(double inner_rad, double outer_rad) {
    // The error has one minimum over the logarithm of the exponent: golden section search (J. Kiefer, "Sequential
    // minimax search for a maximum", 1953).
    const double innerCosine = std::cos(inner_rad), outerCosine = std::cos(outer_rad);
    const double ratio = (std::sqrt(5.0) - 1.0) / 2.0;
    double low = std::log(1e-3), high = std::log(1e6);
    const auto at = [&](double logarithm) { return misfit(std::exp(logarithm), innerCosine, outerCosine); };
    while (high - low > 1e-4) {
        const double left = high - ratio * (high - low), right = low + ratio * (high - low);
        if (at(left) < at(right))
            high = right;
        else
            low = left;
    }
    return std::exp((low + high) / 2);
}

osg::NodePtr ktReadLight(const ktGltfDocument& document, std::size_t nodeIndex, ktFileMessages& messages) {
    const std::string object = ktPointer("nodes", nodeIndex);
    try {
        const ktJson* light = lightOf(document, *ktJsonElement(document.json, "nodes", nodeIndex), object);
        if (!light)
            return osg::NullFC;
        double color[3] = {1, 1, 1};
        ktJsonNumbers(*light, "color", 3, color);
        const double intensity = ktJsonNumber(*light, "intensity", 1.0);
        float diffuse[3];
        for (int c = 0; c < 3; ++c) {
            diffuse[c] = static_cast<float>(std::max(0.0, color[c] * intensity));
            if (!std::isfinite(diffuse[c]))
                throw ktFileError(object, "has a light whose colour is not finite");
        }
        const osg::LightPtr core = makeLight(*light, object);
        const osg::NodePtr beacon = osg::makeNodeFor(osg::Group::create());
        const osg::NodePtr node = osg::makeNodeFor(core);
        osg::beginEditCP(core);
        core->setDiffuse(diffuse[0], diffuse[1], diffuse[2], 1.0f);
        core->setSpecular(diffuse[0], diffuse[1], diffuse[2], 1.0f);
        core->setConstantAttenuation(0.0f);
        core->setQuadraticAttenuation(1.0f);
        core->setBeacon(beacon);
        osg::endEditCP(core);
        osg::beginEditCP(node, osg::Node::ChildrenFieldMask);
        node->addChild(beacon);
        osg::endEditCP(node, osg::Node::ChildrenFieldMask);
        const std::string name = ktJsonText(*light, "name");
        if (!name.empty())
            osg::setName(node, name);
        return node;
    } catch (const ktFileError& error) {
        messages.warn(error.object(), error.reason());
        return osg::NullFC;
    }
}
