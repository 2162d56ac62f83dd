// SPDX-License-Identifier: LGPL-2.1-or-later
// The getters and setters of the settings, and the two slots that the setters' commands call.
#include "ktAmbientOcclusion.h"
#include "ktInvokePValUndoCommand.h"
#include "ktUndoStack.h"

#include <initializer_list>
#include <QMetaMethod>

namespace {

constexpr float colorTolerance = 1e-6f;

bool componentsEqual(float a, float b) {
    const float difference = a - b;
    return difference <= colorTolerance && -difference <= colorTolerance;
}

// Adds a command to the stack, which applies it at once: writes the member and calls the method.
template <class T>
void pushChange(const QString& label, const T& value, QObject* object, const char* signature, T& member) {
    ktUndoStack::get(0)->add(new ktInvokePValUndoCommand<T>(label, value, object, signature, nullptr, &member));
}

// Samples along one axis: levels[quality], or `other` for a quality outside the levels.
int samplesOf(int quality, std::initializer_list<int> levels, int other) {
    const bool isLevel = quality >= 0 && static_cast<std::size_t>(quality) < levels.size();
    return isLevel ? levels.begin()[quality] : other;
}

} // namespace

int ktAmbientOcclusion::getShadowQuality() const {
    return shadowQuality;
}
float ktAmbientOcclusion::getMinDistance() const {
    return minDistance;
}
float ktAmbientOcclusion::getMaxDistance() const {
    return maxDistance;
}
ktAmbientOcclusion::DirectLightMode ktAmbientOcclusion::getMode() const {
    return mode;
}
bool ktAmbientOcclusion::isIndirectIlluminationEnabled() const {
    return indirectIllumination;
}
int ktAmbientOcclusion::getGatherQuality() const {
    return gatherQuality;
}
int ktAmbientOcclusion::getNumOfIndirections() const {
    return numOfIndirections;
}
bool ktAmbientOcclusion::isColorBleedingEnabled() const {
    return colorBleeding;
}
bool ktAmbientOcclusion::isOverrideMaterialColorEnabled() const {
    return overrideMaterialColor;
}
osg::Color3f ktAmbientOcclusion::getMaterialColor() const {
    return materialColor;
}
bool ktAmbientOcclusion::isSubdivideEnabled() const {
    return subdivide;
}
int ktAmbientOcclusion::getSubdivisionQuality() const {
    return subdivisionQuality;
}
double ktAmbientOcclusion::getMinEdgeLength() const {
    return minEdgeLength;
}
double ktAmbientOcclusion::getIntensityThreshold() const {
    return intensityThreshold;
}

void ktAmbientOcclusion::setShadowQuality(int quality) {
    if (quality != shadowQuality)
        pushChange(tr("Ambient Occlusion Shadow Quality"), quality, this, "shadowQualityCommand()", shadowQuality);
}

void ktAmbientOcclusion::setMinDistance(float distance) {
    if (distance != minDistance)
        pushChange(tr("Ambient Occlusion Min Distance"), distance, this, "minDistanceChanged(float)", minDistance);
}

void ktAmbientOcclusion::setMaxDistance(float distance) {
    if (distance != maxDistance)
        pushChange(tr("Ambient Occlusion Max Distance"), distance, this, "maxDistanceChanged(float)", maxDistance);
}

void ktAmbientOcclusion::setMode(DirectLightMode newMode) {
    if (newMode != mode)
        pushChange(tr("Ambient Occlusion Mode"), newMode, this, "modeChanged(ktAmbientOcclusion::DirectLightMode)",
                   mode);
}

void ktAmbientOcclusion::setIndirectIlluminationEnabled(bool enable) {
    if (enable != indirectIllumination)
        pushChange(tr("Ambient Occlusion Indirect Illumination"), enable, this, "indirectIlluminationChanged(bool)",
                   indirectIllumination);
}

void ktAmbientOcclusion::setGatherQuality(int quality) {
    if (quality != gatherQuality)
        pushChange(tr("Ambient Occlusion Gather Quality"), quality, this, "gatherQualityCommand()", gatherQuality);
}

void ktAmbientOcclusion::setNumOfIndirections(int count) {
    if (count != numOfIndirections)
        pushChange(tr("Ambient Occlusion Number of Indirections"), count, this, "numOfIndirectionsChanged(int)",
                   numOfIndirections);
}

void ktAmbientOcclusion::setColorBleedingEnabled(bool enable) {
    if (enable != colorBleeding)
        pushChange(tr("Ambient Occlusion Color Bleeding"), enable, this, "colorBleedingChanged(bool)", colorBleeding);
}

void ktAmbientOcclusion::setOverrideMaterialColorEnabled(bool enable) {
    if (enable != overrideMaterialColor)
        pushChange(tr("Ambient Occlusion Override Material Color"), enable, this, "overrideMaterialColorChanged(bool)",
                   overrideMaterialColor);
}

void ktAmbientOcclusion::setMaterialColor(float r, float g, float b) {
    if (componentsEqual(r, materialColor[0]) && componentsEqual(g, materialColor[1]) &&
        componentsEqual(b, materialColor[2]))
        return;
    // The namespace's name in the signature depends on the scene graph.
    const QByteArray signature = QMetaMethod::fromSignal(&ktAmbientOcclusion::materialColorChanged).methodSignature();
    pushChange(tr("Ambient Occlusion Material Color"), osg::Color3f(r, g, b), this, signature.constData(),
               materialColor);
}

void ktAmbientOcclusion::setSubdivideEnabled(bool enable) {
    if (enable != subdivide)
        pushChange(tr("Ambient Occlusion Subdivide"), enable, this, "subdivideChanged(bool)", subdivide);
}

void ktAmbientOcclusion::setSubdivisionQuality(int quality) {
    if (quality != subdivisionQuality)
        pushChange(tr("Ambient Occlusion Subdivide Quality"), quality, this, "subdivisionQualityChanged(int)",
                   subdivisionQuality);
}

void ktAmbientOcclusion::setMinEdgeLength(double length) {
    if (length != minEdgeLength)
        pushChange(tr("Ambient Occlusion Min Edge Length"), length, this, "minEdgeLengthChanged(double)",
                   minEdgeLength);
}

void ktAmbientOcclusion::setIntensityThreshold(double threshold) {
    constexpr double least = ktAmbientOcclusionSettings::IntensityThreshold::range.least;
    if (!(threshold >= least)) // also if NaN
        threshold = least;
    if (threshold != intensityThreshold)
        pushChange(tr("Ambient Occlusion Intensity Threshold"), threshold, this, "intensityThresholdChanged(double)",
                   intensityThreshold);
}

void ktAmbientOcclusion::shadowQualityCommand() {
    directSampleCountU = samplesOf(shadowQuality, {8, 16, 32, 48, 64, 128}, 32);
    directSampleCountV = directSampleCountU;
    Q_EMIT shadowQualityChanged(shadowQuality);
}

void ktAmbientOcclusion::gatherQualityCommand() {
    gatherSampleCount = samplesOf(gatherQuality, {8, 16, 24, 32, 48}, 48);
    Q_EMIT gatherQualityChanged(gatherQuality);
}
