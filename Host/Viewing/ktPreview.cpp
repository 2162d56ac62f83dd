// SPDX-License-Identifier: LGPL-2.1-or-later
// Draws the baked scene into a PNG file, and scales the light down if it is brighter than white.
#include "ktPreview.h"

#include "ktLuminance.h"
#include "ktPreviewCollect.h"
#include "ktPreviewRenderer.h"
#include "ktSafeFile.h"
#include "ktTracerFactory.h"

#include <algorithm>
#include <exception>
#include <QBuffer>
#include <QFile>

namespace {

constexpr double brightShare = 0.98; // of the vertices; the brightest ones may clip

/// Scale that reduces the light to white; 1 if it is not brighter than white.
float whitePoint(const ktPreviewScene& scene) {
    std::vector<float> luminances;
    for (const ktPreviewMesh& mesh : scene.meshes)
        for (const auto& light : mesh.light)
            luminances.push_back(ktLuminance(light.data()));
    if (luminances.empty())
        return 1;
    const auto bright =
        luminances.begin() + static_cast<std::ptrdiff_t>(brightShare * static_cast<double>(luminances.size() - 1));
    std::nth_element(luminances.begin(), bright, luminances.end());
    return *bright > 1.0f ? 1 / *bright : 1.0f;
}

} // namespace

std::string ktWritePreview(const osg::NodePtr& root, const std::string& fileName, float exposure, int width, int height,
                           double turn_degrees, const std::function<bool()>& isInterrupted) {
    const auto mustEnd = [&isInterrupted] { return isInterrupted && isInterrupted(); };
    const char* const interrupted = "interrupted";
    try {
        const ktPreviewScene scene = ktCollectPreview(root, mustEnd);
        if (mustEnd())
            return interrupted;
        const std::unique_ptr<ktTracer> tracer = ktMakeTracer();
        const QImage image =
            ktRenderPreview(scene, ktFramePreview(scene, static_cast<double>(width) / height, turn_degrees), *tracer,
                            width, height, exposure * whitePoint(scene), mustEnd);
        if (mustEnd())
            return interrupted;
        QBuffer picture;
        if (!image.save(&picture, "PNG"))
            return "the picture cannot be encoded";
        if (mustEnd())
            return interrupted;
        QString reason; // stays empty when all is well
        ktSafeFile::replaceOrSend(QFile::encodeName(QString::fromStdString(fileName)), picture.data(), reason);
        return reason.toStdString();
    } catch (const std::exception& error) {
        return error.what();
    }
}
