// SPDX-License-Identifier: LGPL-2.1-or-later
// Counts results, surfaces and materials below some nodes.
#include "ktPartFacts.h"

#include "ktAmbientOcclusionSettings.h"
#include "ktGeometryInstances.h"
#include "ktNodeAttachments.h"
#include "OSGAmbientOcclusionSettingsAttachment.h"

#include <algorithm>
#include <OpenSG/OSGMaterial.h>
#include <OpenSG/OSGSimpleAttachments.h>
#include <QCoreApplication>
#include <QElapsedTimer>
#include <type_traits>

namespace {

namespace Settings = ktAmbientOcclusionSettings;

constexpr osg::UInt32 atOnce = 100000; // values; less than a millisecond

QString translated(const QString& text) {
    return QCoreApplication::translate("ktCalculationSettings", text.toUtf8().constData());
}

template <class Row, class Field>
QString valueText(Row, const Field& value) {
    if constexpr (std::is_base_of_v<Settings::Choice, Row>)
        return translated(Row::choices[std::clamp<int>(value, 0, static_cast<int>(Row::range.most))]);
    else if constexpr (std::is_base_of_v<Settings::Switch, Row>)
        return value ? QCoreApplication::translate("ktCalculationPanel", "on")
                     : QCoreApplication::translate("ktCalculationPanel", "off");
    else if constexpr (std::is_base_of_v<Settings::Color, Row>)
        return QString("%L1 %L2 %L3").arg(value[0]).arg(value[1]).arg(value[2]);
    else
        return QString("%L1").arg(value) + (*Row::unit ? QString(" ") + Row::unit : QString());
}

void addSettings(ktPartFacts& facts, const osg::NodePtr& node) {
    const auto stored = ktFindAttachment<osg::AmbientOcclusionSettingsAttachment>(node);
    if (stored == osg::NullFC || facts.settingsNode != osg::NullFC)
        return;
    facts.settingsNode = node;
    Settings::forEachSetting<&Settings::Places::options>([&](auto row) {
        QString name = QString(row.names.option).replace('-', ' ');
        name[0] = name[0].toUpper();
        if (std::is_same_v<decltype(row), Settings::OverrideMaterialColor>) // as the panel of the settings calls it
            name = "Override colors";
        facts.settings << translated(name) + ": " + valueText(row, row.getOnNode(*stored));
    });
}

} // namespace

ktPartCollector::ktPartCollector(const std::vector<osg::NodePtr>& nodes) : pending(nodes.rbegin(), nodes.rend()) {}

void ktPartCollector::visit(const osg::NodePtr& node) {
    addSettings(facts, node);
    for (osg::UInt32 i = node->getNChildren(); i-- > 0;)
        pending.push_back(node->getChild(i));
    const auto geometry = osg::GeometryPtr::dcast(node->getCore());
    if (geometry == osg::NullFC || geometry->getPositions() == osg::NullFC)
        return;
    const auto [triangles, isNew] = trianglesOf.try_emplace(geometry.getFieldContainerId(), 0);
    if (isNew)
        triangles->second = ktCountTriangles(geometry);
    facts.trianglesOfUses += triangles->second;
    if (!isNew)
        return;
    ++facts.geometries;
    facts.vertices += geometry->getPositions()->getSize();
    facts.triangles += triangles->second;
    const osg::MaterialPtr material = geometry->getMaterial();
    if (material != osg::NullFC && seenMaterials.insert(material.getFieldContainerId()).second) {
        const char* const name = osg::getName(material);
        facts.materials.push_back({name ? QString::fromUtf8(name) : QString(), material->isTransparent()});
    }
    channels = ktFindBakedChannels(geometry);
    nextValue = 0;
}

void ktPartCollector::countResults() {
    const osg::UInt32 end = nextValue + std::min(channels.count - nextValue, atOnce);
    for (; nextValue < end; ++nextValue) {
        const float w = std::clamp(channels.results[nextValue][3], 0.0f, 1.0f);
        facts.least = facts.withResults == 0 ? static_cast<double>(w) : std::min(facts.least, static_cast<double>(w));
        facts.mean += static_cast<double>(w); // the sum, until the end
        facts.darkShare += w < ktPartFacts::dark ? 1 : 0;
        ++facts
              .histogram[std::min<std::size_t>(ktPartFacts::bins - 1, static_cast<std::size_t>(w * ktPartFacts::bins))];
        ++facts.withResults;
    }
}

bool ktPartCollector::advance(double budget_ms) {
    QElapsedTimer timer;
    timer.start();
    while (nextValue < channels.count || !pending.empty()) {
        if (nextValue < channels.count) {
            countResults();
        } else {
            const osg::NodePtr node = pending.back();
            pending.pop_back();
            visit(node);
        }
        if (static_cast<double>(timer.nsecsElapsed()) * 1e-6 >= budget_ms &&
            (nextValue < channels.count || !pending.empty()))
            return false;
    }
    if (facts.withResults > 0) {
        facts.mean /= static_cast<double>(facts.withResults);
        facts.darkShare /= static_cast<double>(facts.withResults);
    }
    return true;
}
