// SPDX-License-Identifier: LGPL-2.1-or-later
// Draws the baked scene into a PNG file, and scales the light down if it is brighter than white.
#include "ktPreview.h"

#include "ktEventPump.h"
#include "ktLuminance.h"
#include "ktMemoryShortage.h"
#include "ktPreviewCollect.h"
#include "ktPreviewRenderer.h"
#include "ktSafeFile.h"
#include "ktTracerFactory.h"
#include "ktWorkers.h"

#include <algorithm>
#include <exception>
#include <new>
#include <QBuffer>
#include <QFile>
#include <QImageWriter>

namespace {

constexpr double brightShare = 0.98; // of the vertices; the brightest ones may clip
constexpr double drawnShare = 0.9;   // of the progress; the rest is encoding
// Of Qt's 0 to 100: level 4 of zlib. Level 6, Qt's default, takes 1.4 times as long for previews that are 7 % smaller.
constexpr int compression = 50;

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

/// Keeps what is written to it. After an interrupt it fails, so that the encoder ends.
class Picture : public QBuffer {
public:
    explicit Picture(const std::function<bool()>& isInterrupted_) : isInterrupted(isInterrupted_) {}

protected:
    qint64 writeData(const char* data, qint64 size) override {
        return isInterrupted() ? -1 : QBuffer::writeData(data, size);
    }

private:
    const std::function<bool()>& isInterrupted;
};

} // namespace

std::string ktWritePreview(const osg::NodePtr& root, const std::string& fileName, const ktPreviewOptions& given) {
    ktPreviewOptions options = given;
    const std::function<bool()> isInterrupted = [&given] { return given.isInterrupted && given.isInterrupted(); };
    const auto report = [&given](double share) {
        if (given.progressed)
            given.progressed(share);
    };
    options.isInterrupted = isInterrupted;
    options.progressed = [&report](double share) { report(drawnShare * share); };
    const char* const interrupted = "interrupted";
    try {
        const ktPreviewScene scene = ktCollectPreview(root, isInterrupted);
        if (isInterrupted())
            return interrupted;
        const std::optional<ktPreviewCamera> camera =
            ktAimPreview(scene, static_cast<double>(options.width_px) / options.height_px, options.view);
        if (!camera)
            return "the matrix of the camera \"" + options.view.camera->name + "\" gives no direction";
        options.exposure *= whitePoint(scene);
        const std::unique_ptr<ktTracer> tracer = ktMakePictureTracer();
        const QImage image = ktRenderPreview(scene, *camera, *tracer, options);
        if (isInterrupted())
            return interrupted;
        report(drawnShare);
        Picture picture(isInterrupted);
        bool isEncoded = false;
        ktEventPump pump;
        ktWorkers::run(
            [&] {
                QImageWriter writer(&picture, "PNG");
                writer.setCompression(compression);
                isEncoded = writer.write(image);
            },
            pump);
        if (isInterrupted())
            return interrupted;
        if (!isEncoded)
            return "the picture cannot be encoded";
        QString reason; // stays empty when all is well
        if (ktSafeFile::replaceOrSend(QFile::encodeName(QString::fromStdString(fileName)), picture.data(), reason))
            report(1);
        return reason.toStdString();
    } catch (const std::bad_alloc&) {
        ktMemoryShortage::report();
        return "out of memory";
    } catch (const std::exception& error) {
        return error.what();
    }
}
