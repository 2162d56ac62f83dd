// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

#include "AOPreset.h"
#include "ktAmbientOcclusionExport.h"
#include "ktAmbientOcclusionSettings.h"
#include "ktNodePtr.h"
#include "OSGAmbientOcclusionSettingsAttachment.h"

#include <cstdint>
#include <functional>
#include <OpenSG/OSGAction.h>
#include <OpenSG/OSGColor.h>
#include <OpenSG/OSGGeometry.h>
#include <OpenSG/OSGGeoPropPtrs.h>
#include <OpenSG/OSGMaterial.h>
#include <OpenSG/OSGMatrix.h>
#include <OpenSG/OSGNode.h>
#include <QList>
#include <QMetaType>
#include <QObject>
#include <QString>
#include <set>
#include <string>
#include <vector>

class ktGeoSubdivisionList;
class ktSampler;
struct ktAmbientOcclusionAccess;
namespace ktAmbientOcclusionInternal {
struct PassVertices;
}

/// The plug-in's controller: holds the settings, runs calculations over the host's selection, keeps the presets, and
/// notifies the user interface of every change. Main thread only. Throws only if memory runs out. Each member says how
/// it reports other failures: by its return value, by a signal, in the host's log or on standard
/// output.
class KT_AMBIENT_OCCLUSION_EXPORT ktAmbientOcclusion : public QObject {
    Q_OBJECT

public:
    /// How the direct pass treats light.
    enum DirectLightMode {
        Classic = 0,        ///< only the sky
        Shadows = 1,        ///< the scene's lights cast shadows; one value per vertex
        LightAndShadows = 2 ///< also bakes the lights' colour, into texture-coordinate channel 5
    };
    Q_ENUM(DirectLightMode)

    /// The step of a calculation. DirectNode to GatherNodeStep come with the id of the node's field container.
    enum CalculationState {
        Idle = 0,
        Starting = 1,
        Preparing = 2,
        BuildingAccelerationStructure = 3,
        RebuildingAccelerationStructure = 4,
        DirectNode = 5,
        DirectNodeStep = 6,
        GatherNode = 7,
        GatherNodeStep = 8,
        Finishing = 9
    };
    Q_ENUM(CalculationState)

    /// A saved copy of a geometry's two result channels; both lists have one element per position.
    struct NodeDataType {
        std::vector<osg::Vec4f> aoValues;     ///< channel 7
        std::vector<osg::Vec4f> bakingValues; ///< channel 5
    };

    /// The single instance, created on first use and destroyed at process exit.
    static ktAmbientOcclusion* the();
    ~ktAmbientOcclusion() override;

    // --- Settings: stored values --------------------------------------------------------------------------------

    int getShadowQuality() const; ///< 0 to 5
    float getMinDistance() const; ///< world units; nearer hits do not occlude
    float getMaxDistance() const; ///< world units; farther hits do not occlude
    DirectLightMode getMode() const;
    bool isIndirectIlluminationEnabled() const;
    int getGatherQuality() const;     ///< 0 to 4
    int getNumOfIndirections() const; ///< bounces
    bool isColorBleedingEnabled() const;
    bool isOverrideMaterialColorEnabled() const;
    osg::Color3f getMaterialColor() const; ///< linear red, green, blue
    bool isSubdivideEnabled() const;
    int getSubdivisionQuality() const;    ///< 0 to 2
    double getMinEdgeLength() const;      ///< world units; shorter edges are not split
    double getIntensityThreshold() const; ///< difference of light above which an edge is split; at least 0.0075

    // --- Setters: a value that differs from the stored one adds one command to the host's undo stack, which writes it
    // and emits the setting's change signal; an equal value does nothing --------------------------------------------

    void setShadowQuality(int quality); ///< unknown levels sample like level 2
    void setMinDistance(float distance);
    void setMaxDistance(float distance);
    void setMode(DirectLightMode newMode);
    void setIndirectIlluminationEnabled(bool enable);
    void setGatherQuality(int quality); ///< unknown levels sample like level 4
    void setNumOfIndirections(int count);
    void setColorBleedingEnabled(bool enable);
    void setOverrideMaterialColorEnabled(bool enable);
    /// A colour whose components all differ by at most 1e-6 counts as equal.
    void setMaterialColor(float r, float g, float b);
    void setSubdivideEnabled(bool enable);
    void setSubdivisionQuality(int quality);
    void setMinEdgeLength(double length);
    void setIntensityThreshold(double threshold); ///< raised to at least 0.0075

    // --- Calculation ----------------------------------------------------------------------------------------------

    /// Bakes the geometry below the host's selection, or only geometry without results. Returns true if a run took
    /// place, even a cancelled one; false during another run, without ray tracing, without a selection or if all of the
    /// selection is locked (the last two emit signals). Freezes the host during the run and always unfreezes it.
    bool startCalculation(bool missingOnly);
    /// Asks the running calculation to stop at its next poll. Always emits calculationCanceled().
    void cancelCalculation();

    /// Sets all settings except the mode, one undo step each, and calculates. For scripts.
    static void computeAmbientOcclusion(unsigned int quality, float minDistance, float maxDistance,
                                        bool indirectIllumination, bool colorBleeding, unsigned int gatherQuality,
                                        unsigned int numIndirections, bool subdivide, float minEdgeLength,
                                        bool overrideMaterialColor = false, float materialColorR = 0.7f,
                                        float materialColorG = 0.7f, float materialColorB = 0.7f,
                                        int subdivisionQuality = 1, float intensityThreshold = 0.05f);
    /// The same for geometry without results. Note the different position of `intensityThreshold`.
    static void computeMissingAmbientOcclusion(unsigned int quality, float minDistance, float maxDistance,
                                               bool indirectIllumination, bool colorBleeding,
                                               unsigned int gatherQuality, unsigned int numIndirections, bool subdivide,
                                               float minEdgeLength, float intensityThreshold,
                                               bool overrideMaterialColor = false, float materialColorR = 0.7f,
                                               float materialColorG = 0.7f, float materialColorB = 0.7f,
                                               int subdivisionQuality = 1);
    /// Sets the mode by number, 0 to 2; logs a warning for other numbers. For scripts.
    static void pySetAmbientOcclusionMode(int mode);
    /// The mode's number. For scripts.
    static int pyGetAmbientOcclusionMode();

    /// Emits stateChanged() if the last emission, or the first call, was at least one second ago; else drops the
    /// report.
    /// @param node id of the node's field container, or 0
    void updateState(CalculationState state, unsigned int node);
    /// Resets the progress counter and emits progressStarted().
    void startProgress(int maxSteps);
    /// Counts one step and emits progressStep().
    void stepProgress();
    /// Emits progressStopped().
    void stopProgress();
    /// Does nothing; kept for user interfaces that call it before the library is unloaded.
    void cleanup();

    // --- Passes: parts of a run, called by startCalculation() ------------------------------------------------------

    /// Runs the passes over the collected lists; writes timings to standard output.
    void computeIllumination(bool indirect);
    /// Traces the direct result of every vertex of the collected geometry into channel 7.
    void computeDirectIllumination();
    /// Gathers one bounce of indirect light into x, y, z of channel 7.
    void gatherIndirectIllumination();
    /// Records where a geometry needs more vertices. Always true. Matrices: object to world, its inverse, the inverse's
    /// transpose. `indirect` selects which of the two results to examine. Records nothing if memory runs out.
    bool refineGeometry(const std::string& name, osg::GeometryPtr geometry, const osg::Matrix& toWorld,
                        const osg::Matrix& inverseToWorld, const osg::Matrix& normalMatrix, bool indirect);

    // --- Scene collection ------------------------------------------------------------------------------------------

    /// Copies the selection's nodes below a new root (cores stay shared) and lists the geometry to calculate.
    /// @return the new root, with one reference that the caller releases after detaching the root's children
    osg::NodePtr buildGeometryNodeList(const std::vector<ktNodePtr>& selectedNodes, std::vector<osg::NodePtr>& nodes,
                                       bool onlyMissing);
    /// Lists the visible occluders and lights of the whole scene.
    void buildVisibleNodeList();
    /// Enter callback of the geometry traversal.
    osg::Action::ResultE getGeometryNodes(const osg::NodePtr& node, std::vector<osg::NodePtr>& nodes,
                                          std::set<osg::GeometryPtr>& collectedCores);
    /// Enter callback of the visible-scene traversal.
    osg::Action::ResultE getVisibleNodes(const osg::NodePtr& node);
    /// The effective material of a node: that of the nearest material group, else of its geometry; null if none.
    osg::MaterialPtr getRealMaterial(const osg::NodePtr& node);

    // --- Per-vertex results: channel 7 holds indirect light in x, y, z and the direct result in w; channel 5 holds the
    // baked light of mode LightAndShadows, with a marker of 2 added to w ---------------------------------------------

    /// Channel 7 with at least `count` elements: the existing one, else a new one of zeros that replaces it.
    osg::GeoTexCoords4fPtr getAOData(const osg::GeometryPtr& geometry, osg::UInt32 count);
    /// Channel 5, likewise.
    osg::GeoTexCoords4fPtr getBakingData(const osg::GeometryPtr& geometry, osg::UInt32 count);
    /// Converts the direct pass's raw values to the stored values, for the collected geometry.
    void storeDirectToBakingData();
    /// Adds channel 7 to channel 5 in mode LightAndShadows, for the collected geometry.
    void addIndirectToBakingData();
    /// Removes channel 5. Then zeroes w of channel 7 (`clearDirect`) or removes the marker from it. Ignores a null
    /// geometry.
    void clearBakingData(const osg::GeometryPtr& geometry, bool clearDirect);
    /// Whether a requested result is missing. False for geometry that cannot be calculated.
    bool isCalculationMissing(const osg::GeometryPtr& geometry, bool direct, bool indirect);
    /// Does nothing; the counterpart of endEditGeometryFields().
    void beginEditGeometryFields(const osg::GeometryPtr& geometry, unsigned int mask);
    /// Announces a change of every property field that the geometry holds; ignores the mask.
    void endEditGeometryFields(const osg::GeometryPtr& geometry, unsigned int mask);

    /// Zeroes the indirect light of the collected geometry. Zeroes or removes channel 5, depending on the
    /// DirectLightMode `mode`.
    void clearVertexColors(int mode);
    /// Copies both channels; creates missing ones. Does not change `data` if the geometry has no positions.
    void extractNodeData(const osg::NodePtr& node, NodeDataType& data);
    /// Writes both channels back. If the number of positions differs, returns false and writes nothing.
    bool restoreNodeData(osg::NodePtr& node, const NodeDataType& data);

    // --- Clearing: on the selected root nodes; "active" skips hidden parts ------------------------------------------

    void clearActiveShadows();  ///< emits activeShadowsCleared()
    void clearAllShadows();     ///< emits allShadowsCleared()
    void clearActiveIndirect(); ///< emits activeIndirectCleared()
    void clearAllIndirect();    ///< emits allIndirectCleared()
    /// Clears the direct results below `node`; with `all` also of hidden parts.
    void clearShadows(const osg::NodePtr& node, bool all);
    /// Clears the indirect light below `node`; with `all` also of hidden parts.
    void clearIndirect(const osg::NodePtr& node, bool all);

    // --- Settings on nodes -------------------------------------------------------------------------------------------

    /// A new attachment with the current settings; its reference count is 0.
    osg::AmbientOcclusionSettingsAttachmentPtr getAmbientOcclusionSettings();
    /// Attaches `attachment` to `node` and everything below; replaces earlier settings. Skips locked subtrees.
    void addAOData(const osg::NodePtr& node, const osg::AmbientOcclusionSettingsAttachmentPtr& attachment);
    /// Writes the current settings as text keys, the older format, to `node` and everything below.
    void addAOData(const osg::NodePtr& node);
    /// Loads the settings stored on `node` as one undo step; does nothing if there are none.
    void loadFromNode(const osg::NodePtr& node);
    /// Loads the settings of the first selected node.
    void loadSettings();

    // --- Presets -----------------------------------------------------------------------------------------------------

    /// Sets the settings from a preset as one undo step and emits presetApplied(). Ignores a wrong index.
    void applyPreset(int index);
    /// Removes a preset (in memory) and emits presetDeleted(). Ignores a wrong index.
    void deletePreset(int index);
    /// Names of all presets, in order.
    QList<QString> getPresetNames();
    /// Appends a preset with the current settings and saves the catalogue.
    void addPreset(const QString& name);
    /// Appends the built-in presets and saves the catalogue.
    void addDefaultPresets();
    /// Loads the catalogue from the templates file; creates the file if there is none.
    void readPreset();
    /// Saves the catalogue; logs a failure.
    void writePreset();

Q_SIGNALS:
    void shadowQualityChanged(int);
    void minDistanceChanged(float);
    void maxDistanceChanged(float);
    void modeChanged(ktAmbientOcclusion::DirectLightMode);
    void indirectIlluminationChanged(bool);
    void colorBleedingChanged(bool);
    void overrideMaterialColorChanged(bool);
    void materialColorChanged(OSG::Color3f);
    void gatherQualityChanged(int);
    void numOfIndirectionsChanged(int);
    void minEdgeLengthChanged(double);
    void subdivideChanged(bool);
    void intensityThresholdChanged(double);
    void subdivisionQualityChanged(int);
    void stateChanged(ktAmbientOcclusion::CalculationState state, unsigned int node);
    void calculationStarted(bool missingOnly); ///< the last signal of a run
    void calculationFailedNoSelection();
    void calculationFailedLockedSelection();
    void calculationCanceled();
    void progressStarted(int maxSteps);
    void progressStep(int counter);
    void progressStopped();
    void presetApplied(int);
    void presetDeleted(int);
    void activeShadowsCleared();
    void allShadowsCleared();
    void activeIndirectCleared();
    void allIndirectCleared();

private Q_SLOTS:
    void shadowQualityCommand(); ///< sets the direct sample counts, then emits shadowQualityChanged()
    void gatherQualityCommand(); ///< sets the gather sample count, then emits gatherQualityChanged()

private:
    friend struct ktAmbientOcclusionAccess; // lets the plug-in's tests read the members of a run

    ktAmbientOcclusion();

    /// One pass over the collected geometry: calls `trace` for each geometry with usable vertices, and refines it if
    /// this kind of pass refines. Ends early if the run is cancelled.
    void tracePass(bool indirect, const std::function<void(const ktAmbientOcclusionInternal::PassVertices&)>& trace);
    void refineNode(const osg::NodePtr& node, const osg::GeometryPtr& geometry, const osg::Matrix& toWorld,
                    bool isIdentity, bool indirect);
    void recreateRefinedGeometry();
    void releaseSubdivisionLists();

    // Settings.
    int shadowQuality = ktAmbientOcclusionSettings::ShadowQuality::initial;
    float minDistance = ktAmbientOcclusionSettings::MinDistance::initial;
    float maxDistance = ktAmbientOcclusionSettings::MaxDistance::initial;
    DirectLightMode mode = DirectLightMode(ktAmbientOcclusionSettings::Mode::initial);
    bool indirectIllumination = ktAmbientOcclusionSettings::IndirectIllumination::initial;
    int gatherQuality = ktAmbientOcclusionSettings::GatherQuality::initial;
    int numOfIndirections = ktAmbientOcclusionSettings::NumIndirections::initial;
    bool colorBleeding = ktAmbientOcclusionSettings::ColorBleeding::initial;
    bool overrideMaterialColor = ktAmbientOcclusionSettings::OverrideMaterialColor::initial;
    osg::Color3f materialColor = ktAmbientOcclusionSettings::MaterialColor::initial;
    bool subdivide = ktAmbientOcclusionSettings::Subdivide::initial;
    int subdivisionQuality = ktAmbientOcclusionSettings::SubdivisionQuality::initial;
    double minEdgeLength = ktAmbientOcclusionSettings::MinEdgeLength::initial;
    double intensityThreshold = ktAmbientOcclusionSettings::IntensityThreshold::initial;

    int directOption = 1;        // other than 0: surfaces occlude from both sides
    int directSampleCountU = 32; // samples per axis in the direct pass
    int directSampleCountV = 32;
    int gatherSampleCount = ktAmbientOcclusionSettings::GatherQuality::initialSamples; // per axis in the indirect pass
    unsigned int threadCount;                                                          // logical cores of the machine
    double directThreshold = 0; // the run's copies of intensityThreshold
    double indirectThreshold = 0;
    bool refineDirect = false; // refinement is on for this run
    bool refineIndirect = false;
    bool calculating = false;           // a run is under way
    bool keepRunning = false;           // cleared by a cancel
    ktSampler* directSampler = nullptr; // of one run, created and freed by the host
    ktSampler* gatherSampler = nullptr;
    std::vector<AOPreset> presets;
    std::vector<osg::NodePtr> geometryNodes;        // to calculate
    std::vector<osg::NodePtr> occluderNodes;        // sorted; always empty in this version
    std::vector<osg::NodePtr> visibleGeometryNodes; // what rays hit
    std::vector<osg::NodePtr> visibleLightNodes;
    bool missingOnly = false;
    bool passOption = true;                              // every node may be refined
    std::vector<ktGeoSubdivisionList*> subdivisionLists; // owned; refinements pending in this run
    std::uint32_t progressCounter = 0;
};

Q_DECLARE_METATYPE(OSG::Color3f)

/// Orders nodes by the address of their geometry core. Nodes without one come first.
bool geomPtrLess(const osg::NodePtr& a, const osg::NodePtr& b);
/// Whether both nodes have the same geometry core, or neither has one.
bool geomPtrEqual(const osg::NodePtr& a, const osg::NodePtr& b);

/// Writes a duration as minutes, seconds and milliseconds to the log and to standard output.
KT_AMBIENT_OCCLUSION_EXPORT void printTiming(const std::string& label, long milliseconds);

/// The plug-in's version, for the host that loads it.
extern "C" KT_AMBIENT_OCCLUSION_EXPORT const char* getPluginVersion();
