// SPDX-License-Identifier: LGPL-2.1-or-later
// Buttons, progress and options of runs.
#include "ktRunPanel.h"

#include "ktRunProgress.h"
#include "ktStudioServices.h"
#include "ktUndoStack.h"

#include <QCheckBox>
#include <QComboBox>
#include <QDoubleSpinBox>
#include <QFormLayout>
#include <QGroupBox>
#include <QHBoxLayout>
#include <QLabel>
#include <QProgressBar>
#include <QPushButton>
#include <QSpinBox>
#include <QTimer>
#include <QVBoxLayout>

static QString countText(double count) {
    return QString::fromStdString(formatCount(count));
}

static QString durationText(double seconds) {
    return QString::fromStdString(formatDuration(seconds));
}

ktRunPanel::ktRunPanel(ktStudioServices& services_, QWidget* parent)
    : QWidget(parent), services(services_), start(new QPushButton(tr("Bake"), this)),
      startMissing(new QPushButton(tr("Bake what is missing"), this)), cancel(new QPushButton(tr("Cancel"), this)),
      bar(new QProgressBar(this)), phase(new QLabel(this)), figures(new QLabel(this)), estimate(new QLabel(this)),
      settle(new QTimer(this)) {
    start->setObjectName("bakeButton");
    start->setToolTip(tr("Calculate the light of the selected parts"));
    startMissing->setObjectName("bakeMissingButton");
    startMissing->setToolTip(tr("Calculate only selected parts without results; the others keep theirs"));
    cancel->setObjectName("cancelButton");
    cancel->setEnabled(false);
    QFont strong = start->font();
    strong.setBold(true);
    start->setFont(strong);
    bar->setRange(0, 1000);
    bar->setAccessibleName(tr("Progress of the bake"));
    for (QLabel* label : {phase, figures, estimate})
        label->setWordWrap(true);
    estimate->setObjectName("estimate");

    auto* rows = new QVBoxLayout(this);
    auto* buttons = new QHBoxLayout;
    buttons->addWidget(start);
    buttons->addWidget(startMissing);
    buttons->addWidget(cancel);
    rows->addLayout(buttons);
    rows->addWidget(estimate);
    rows->addWidget(phase);
    rows->addWidget(bar);
    rows->addWidget(figures);
    rows->addWidget(makeOptions());
    rows->addStretch();

    connect(start, &QPushButton::clicked, this, [this] { services.run.start(false); });
    connect(startMissing, &QPushButton::clicked, this, [this] { services.run.start(true); });
    connect(cancel, &QPushButton::clicked, &services.run, &ktStudioRun::cancel);
    connect(&services, &ktStudioServices::frozenChanged, this, [this](bool isFrozen) {
        start->setEnabled(!isFrozen);
        startMissing->setEnabled(!isFrozen);
        optionBox->setEnabled(!isFrozen);
        cancel->setEnabled(services.run.isRunning());
        showState();
    });
    connect(&services.run, &ktStudioRun::stateChanged, this, &ktRunPanel::showState);
    connect(&services.document, &ktStudioDocument::optionsChanged, this, &ktRunPanel::showOptions);
    settle->setSingleShot(true);
    settle->setInterval(200);
    connect(settle, &QTimer::timeout, this, &ktRunPanel::showEstimate);
    const auto later = [this] { settle->start(); };
    connect(&services.selection, &ktStudioSelection::changed, this, later);
    connect(&services.document.undoStack(), &QUndoStack::indexChanged, this, later);
    connect(&services.document, &ktStudioDocument::opened, this, later);
    connect(&services.run, &ktStudioRun::ended, this, later);
    showOptions();
    showState();
    showEstimate();
}

QWidget* ktRunPanel::makeOptions() {
    optionBox = new QGroupBox(tr("Options"), this);
    auto* form = new QFormLayout(optionBox);
    fit = new QComboBox(optionBox);
    fit->setObjectName("fit");
    fit->addItems({tr("At the vertices"), tr("Fitted to the surface")});
    fit->setToolTip(tr("Light at the vertices, or the vertex values whose interpolation shows the faces best"));
    form->addRow(tr("Light"), fit);
    tracer = new QComboBox(optionBox);
    tracer->setObjectName("tracer");
    tracer->addItems({tr("Embree"), tr("Hemisphere tracer")});
    tracer->setToolTip(tr("What follows the rays; the results are the same, to rounding"));
    form->addRow(tr("Tracer"), tracer);
    threads = new QSpinBox(optionBox);
    threads->setObjectName("threads");
    threads->setRange(0, 1024);
    threads->setSpecialValueText(tr("One a core"));
    threads->setKeyboardTracking(false);
    form->addRow(tr("Threads"), threads);
    shade = new QCheckBox(tr("Multiply light into the saved colours"), optionBox);
    shade->setObjectName("shade");
    shade->setToolTip(tr("Every viewer then shows the light. Without it, the file has the exact results alone."));
    form->addRow(shade);
    exposure = new QDoubleSpinBox(optionBox);
    exposure->setObjectName("exposure");
    exposure->setRange(0.01, 100);
    exposure->setDecimals(2);
    exposure->setSingleStep(0.1);
    exposure->setKeyboardTracking(false);
    exposure->setToolTip(tr("Scale of the light in the saved colours and in pictures"));
    form->addRow(tr("Exposure"), exposure);

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
    return optionBox;
}

void ktRunPanel::change(const QString& text, const std::function<void(ktStudioOptions&)>& set) {
    ktStudioOptions options = services.document.getOptions();
    set(options);
    services.document.setOptions(options, text);
}

void ktRunPanel::showOptions() {
    const ktStudioOptions& options = services.document.getOptions();
    fit->setCurrentIndex(options.fit == ktFitMode::Vertices ? 0 : 1);
    tracer->setCurrentIndex(options.tracer == ktTracerKind::Embree ? 0 : 1);
    threads->setValue(options.threads);
    shade->setChecked(options.multiplyColors);
    exposure->setValue(options.exposure);
}

void ktRunPanel::showState() {
    const bool isRunning = services.run.isRunning();
    bar->setVisible(isRunning);
    phase->setVisible(isRunning);
    figures->setVisible(isRunning);
    estimate->setVisible(!isRunning);
    if (!isRunning)
        return;
    const ktStudioRunState& state = services.run.getState();
    bar->setValue(static_cast<int>(1000 * state.share));
    phase->setText(state.part.isEmpty() ? state.phase : tr("%1: %2").arg(state.phase, state.part));
    QStringList parts;
    if (state.raysPerSecond > 0)
        parts << tr("%1 rays/s").arg(countText(state.raysPerSecond));
    else if (state.verticesPerSecond > 0)
        parts << tr("%1 vertices/s").arg(countText(state.verticesPerSecond));
    parts << tr("%1 so far").arg(durationText(state.seconds));
    if (state.secondsLeft >= 0)
        parts << tr("%1 left").arg(durationText(state.secondsLeft));
    figures->setText(parts.join(", "));
}

void ktRunPanel::showEstimate() {
    if (services.isFrozen())
        return;
    if (!services.document.isOpen() || services.selection.isEmpty()) {
        estimate->setText(services.document.isOpen() ? tr("Nothing is selected.") : QString());
        return;
    }
    const double rays = services.run.estimateRays(), seconds = services.run.estimateSeconds();
    estimate->setText(seconds < 0 ? tr("About %1 rays").arg(countText(rays))
                                  : tr("About %1 rays, roughly %2").arg(countText(rays), durationText(seconds)));
}
