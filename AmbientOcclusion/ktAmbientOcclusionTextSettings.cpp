// SPDX-License-Identifier: LGPL-2.1-or-later
#include "ktAmbientOcclusionTextSettings.h"

#include "ktAmbientOcclusion.h"

#include <clocale>
#include <cstdlib>

namespace ktAmbientOcclusionInternal {

namespace {

// In the order in which they are written and deleted.
constexpr const char* keys[] = {"AOShadowQuality",
                                "AOMinDistance",
                                "AOMaxDistance",
                                "AOIndirectIllumination",
                                "AOIndirectIlluminationQuality",
                                "AOColorBleeding",
                                "AOMaterialColorOverride",
                                "AOMaterialColorR",
                                "AOMaterialColorG",
                                "AOMaterialColorB",
                                "AONumIndirections",
                                "AOSubdivision",
                                "AOSubdivisionQuality",
                                "AOMinEdgeLength",
                                "AOIntensityThreshold"};

std::string latin1(const QString& text) {
    return std::string(text.toLatin1().constData());
}
std::string textOf(int value) {
    return latin1(QString::number(value, 10));
}
std::string textOf(double value) {
    return latin1(QString::number(value, 'g', 6));
}
std::string textOf(bool value) {
    return value ? "true" : "false";
}

// Reads like atof, but never with the user's decimal comma: the texts are written with a point everywhere.
double realOf(const std::string& text) {
    static const locale_t neutral = newlocale(LC_ALL_MASK, "C", nullptr);
    return strtod_l(text.c_str(), nullptr, neutral);
}

void load(const osg::ValuePairPtr& values, const char* key, ktAmbientOcclusion& controller,
          void (ktAmbientOcclusion::*set)(int)) {
    std::string text;
    if (values->get(key, text))
        (controller.*set)(std::atoi(text.c_str()));
}

void load(const osg::ValuePairPtr& values, const char* key, ktAmbientOcclusion& controller,
          void (ktAmbientOcclusion::*set)(bool)) {
    std::string text;
    if (values->get(key, text))
        (controller.*set)(text == "true");
}

template <class Real>
void load(const osg::ValuePairPtr& values, const char* key, ktAmbientOcclusion& controller,
          void (ktAmbientOcclusion::*set)(Real)) {
    std::string text;
    if (values->get(key, text))
        (controller.*set)(static_cast<Real>(realOf(text)));
}

} // namespace

void writeTextSettings(const ktAmbientOcclusion& controller, const osg::ValuePairPtr& values) {
    const osg::Color3f color = controller.getMaterialColor();
    const std::string texts[] = {textOf(controller.getShadowQuality()),
                                 textOf(double(controller.getMinDistance())),
                                 textOf(double(controller.getMaxDistance())),
                                 textOf(controller.isIndirectIlluminationEnabled()),
                                 textOf(controller.getGatherQuality()),
                                 textOf(controller.isColorBleedingEnabled()),
                                 textOf(controller.isOverrideMaterialColorEnabled()),
                                 textOf(double(color[0])),
                                 textOf(double(color[1])),
                                 textOf(double(color[2])),
                                 textOf(controller.getNumOfIndirections()),
                                 textOf(controller.isSubdivideEnabled()),
                                 textOf(controller.getSubdivisionQuality()),
                                 textOf(controller.getMinEdgeLength()),
                                 textOf(controller.getIntensityThreshold())};
    static_assert(sizeof(texts) / sizeof(*texts) == sizeof(keys) / sizeof(*keys));
    for (std::size_t i = 0; i < sizeof(keys) / sizeof(*keys); ++i)
        values->set(keys[i], texts[i]);
}

void eraseTextSettings(const osg::ValuePairPtr& values) {
    for (const char* key : keys)
        values->del(key);
}

void loadTextSettings(ktAmbientOcclusion& controller, const osg::ValuePairPtr& values) {
    using Controller = ktAmbientOcclusion;
    load(values, "AOShadowQuality", controller, &Controller::setShadowQuality);
    load(values, "AOMinDistance", controller, &Controller::setMinDistance);
    load(values, "AOMaxDistance", controller, &Controller::setMaxDistance);
    load(values, "AOIndirectIllumination", controller, &Controller::setIndirectIlluminationEnabled);
    load(values, "AOIndirectIlluminationQuality", controller, &Controller::setGatherQuality);
    load(values, "AONumIndirections", controller, &Controller::setNumOfIndirections);
    load(values, "AOColorBleeding", controller, &Controller::setColorBleedingEnabled);
    load(values, "AOMaterialColorOverride", controller, &Controller::setOverrideMaterialColorEnabled);
    std::string r, g, b;
    if (values->get("AOMaterialColorR", r) && values->get("AOMaterialColorG", g) && values->get("AOMaterialColorB", b))
        controller.setMaterialColor(static_cast<float>(realOf(r)), static_cast<float>(realOf(g)),
                                    static_cast<float>(realOf(b)));
    load(values, "AOSubdivision", controller, &Controller::setSubdivideEnabled);
    load(values, "AOSubdivisionQuality", controller, &Controller::setSubdivisionQuality);
    load(values, "AOMinEdgeLength", controller, &Controller::setMinEdgeLength);
    load(values, "AOIntensityThreshold", controller, &Controller::setIntensityThreshold);
}

} // namespace ktAmbientOcclusionInternal
