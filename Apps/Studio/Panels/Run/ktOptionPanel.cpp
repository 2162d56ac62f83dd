// SPDX-License-Identifier: LGPL-2.1-or-later
// Widgets for the options of runs and of the saved file.
#include "ktOptionPanel.h"

#include "ktStudioPreferences.h"
#include "ktStudioServices.h"
#include "ktTriangleBudget.h"
#include "ktUndoMemory.h"

#include <QCheckBox>
#include <QComboBox>
#include <QDoubleSpinBox>
#include <QFormLayout>
#include <QLineEdit>
#include <QSpinBox>

static const char* const memoryKey = "undoMemory"; // MiB

/// Whether the text is a limit of triangles, or empty for none.
static bool isBudget(const QString& text) {
    ktTriangleBudget budget;
    return text.isEmpty() || ktParseTriangleBudget(text.toStdString(), budget);
}

ktOptionPanel::ktOptionPanel(ktStudioServices& services_, QWidget* parent)
    : QWidget(parent), services(services_), fit(new QComboBox(this)), tracer(new QComboBox(this)),
      compression(new QComboBox(this)), threads(new QSpinBox(this)), triangles(new QLineEdit(this)),
      shade(new QCheckBox(tr("Multiply light into the saved colours"), this)), strength(new QDoubleSpinBox(this)),
      exposure(new QDoubleSpinBox(this)) {
    auto* form = new QFormLayout(this);
    fit->setObjectName("fit");
    fit->addItems({tr("At the vertices"), tr("Fitted to the surface")});
    fit->setToolTip(tr("Light at the vertices, or the vertex values whose interpolation shows the faces best"));
    form->addRow(tr("Light"), fit);
    tracer->setObjectName("tracer");
    tracer->addItems({tr("Embree"), tr("Hemisphere tracer")});
    tracer->setToolTip(tr("What follows the rays; the results are the same, to rounding"));
    form->addRow(tr("Tracer"), tracer);
    threads->setObjectName("threads");
    threads->setRange(0, ktStudioOptions::mostThreads);
    threads->setSpecialValueText(tr("One a core"));
    threads->setKeyboardTracking(false);
    threads->setToolTip(tr("Threads of a bake; the results do not depend on their number"));
    form->addRow(tr("Threads"), threads);
    triangles->setObjectName("maxTriangles");
    triangles->setPlaceholderText(tr("No limit"));
    triangles->setToolTip(tr("With refinement and fitted light: how many triangles the scene may have, for example "
                             "200000, or 4x for four times as many as before. Refines where it pays most."));
    form->addRow(tr("Triangle limit"), triangles);
    connect(triangles, &QLineEdit::textEdited, this, [this](const QString& text) { markTriangles(text); });
    connect(triangles, &QLineEdit::editingFinished, this, [this] {
        const QString text = triangles->text().trimmed();
        if (isBudget(text))
            change(tr("Triangle limit"), [text](ktStudioOptions& options) { options.maxTriangles = text; });
        show();
    });
    shade->setObjectName("shade");
    shade->setToolTip(tr("Every viewer then shows the light. Without it, the file has the exact results alone."));
    form->addRow(shade);
    strength->setObjectName("strength");
    strength->setRange(0, ktStudioOptions::mostStrength);
    strength->setDecimals(2);
    strength->setSingleStep(0.1);
    strength->setKeyboardTracking(false);
    strength->setToolTip(tr("How strongly the light darkens the saved colours"));
    form->addRow(tr("Strength"), strength);
    connect(strength, QOverload<double>::of(&QDoubleSpinBox::valueChanged), this, [this](double value) {
        change(tr("Strength"), [value](ktStudioOptions& options) { options.strength = value; });
    });
    exposure->setObjectName("exposure");
    exposure->setRange(ktStudioOptions::leastExposure, ktStudioOptions::mostExposure);
    exposure->setDecimals(2);
    exposure->setSingleStep(0.1);
    exposure->setKeyboardTracking(false);
    exposure->setToolTip(tr("Scale of the light in the saved colours and in pictures"));
    form->addRow(tr("Exposure"), exposure);
    compression->setObjectName("compression");
    compression->addItems({tr("As in the opened file"), tr("Draco"), tr("Meshopt"), tr("None")});
    compression->setToolTip(tr("How the geometry of the saved file is compressed"));
    form->addRow(tr("Compression"), compression);
    connect(compression, QOverload<int>::of(&QComboBox::activated), this, [this](int index) {
        change(tr("Compression: %1").arg(compression->itemText(index)),
               [index](ktStudioOptions& options) { options.compression = static_cast<ktCompressionMode>(index); });
    });

    connect(fit, QOverload<int>::of(&QComboBox::activated), this, [this](int index) {
        change(tr("Light: %1").arg(fit->itemText(index)), [index](ktStudioOptions& options) {
            options.fit = index == 0 ? ktFitMode::Vertices : ktFitMode::Surface;
        });
    });
    connect(tracer, QOverload<int>::of(&QComboBox::activated), this, [this](int index) {
        change(tr("Tracer: %1").arg(tracer->itemText(index)), [index](ktStudioOptions& options) {
            options.tracer = index == 0 ? ktTracerKind::Embree : ktTracerKind::Hemisphere;
        });
    });
    connect(threads, QOverload<int>::of(&QSpinBox::valueChanged), this, [this](int count) {
        change(tr("Threads"), [count](ktStudioOptions& options) { options.threads = count; });
    });
    connect(shade, &QCheckBox::toggled, this, [this](bool on) {
        change(tr("Multiply light into the saved colours"),
               [on](ktStudioOptions& options) { options.multiplyColors = on; });
    });
    connect(exposure, QOverload<double>::of(&QDoubleSpinBox::valueChanged), this, [this](double factor) {
        change(tr("Exposure"), [factor](ktStudioOptions& options) { options.exposure = factor; });
    });
    auto* memory = new QSpinBox(this);
    memory->setObjectName("undoMemory");
    memory->setRange(16, 1 << 20);
    memory->setSingleStep(64);
    memory->setSuffix(tr(" MiB"));
    memory->setKeyboardTracking(false);
    memory->setToolTip(tr("Memory for results that undo brings back; beyond it, the oldest go into temporary files"));
    memory->setValue(
        ktStudioPreferences::the().get(memoryKey, static_cast<int>(ktUndoMemory::getLimit() >> 20)).toInt());
    ktUndoMemory::setLimit(static_cast<std::uint64_t>(memory->value()) << 20);
    connect(memory, QOverload<int>::of(&QSpinBox::valueChanged), this, [](int mebibytes) {
        ktUndoMemory::setLimit(static_cast<std::uint64_t>(mebibytes) << 20);
        ktStudioPreferences::the().set(memoryKey, mebibytes);
    });
    form->addRow(tr("Undo memory"), memory);
    connect(&services.document, &ktStudioDocument::optionsChanged, this, &ktOptionPanel::show);
    connect(&services, &ktStudioServices::frozenChanged, this, [this](bool isFrozen) { setDisabled(isFrozen); });
    show();
}

void ktOptionPanel::change(const QString& text, const std::function<void(ktStudioOptions&)>& set) {
    ktStudioOptions options = services.document.getOptions();
    set(options);
    services.document.setOptions(options, text);
}

void ktOptionPanel::show() {
    const ktStudioOptions& options = services.document.getOptions();
    fit->setCurrentIndex(options.fit == ktFitMode::Vertices ? 0 : 1);
    tracer->setCurrentIndex(options.tracer == ktTracerKind::Embree ? 0 : 1);
    threads->setValue(options.threads);
    triangles->setText(options.maxTriangles);
    markTriangles(options.maxTriangles);
    shade->setChecked(options.multiplyColors);
    strength->setValue(options.strength);
    exposure->setValue(options.exposure);
    compression->setCurrentIndex(static_cast<int>(options.compression));
}

// A limit that cannot be read is struck out; leaving the field takes back the old one.
void ktOptionPanel::markTriangles(const QString& text) {
    QFont font = triangles->font();
    font.setStrikeOut(!isBudget(text.trimmed()));
    triangles->setFont(font);
}
