// SPDX-License-Identifier: LGPL-2.1-or-later
// Buttons and progress of runs.
#include "ktRunPanel.h"

#include "ktRunProgress.h"
#include "ktStudioServices.h"
#include "ktUndoStack.h"

#include <QHBoxLayout>
#include <QLabel>
#include <QProgressBar>
#include <QPushButton>
#include <QTimer>
#include <QVBoxLayout>

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
    cancel->setToolTip(tr("Stop the bake; parts that are finished keep their new results"));
    QFont strong = start->font();
    strong.setBold(true);
    start->setFont(strong);
    bar->setRange(0, 1000);
    bar->setAccessibleName(tr("Progress of the bake"));
    for (QLabel* label : {phase, figures, estimate})
        label->setWordWrap(true);
    estimate->setObjectName("estimate");
    phase->setObjectName("runPhase");
    figures->setObjectName("runFigures");
    bar->setObjectName("runProgress");

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
    rows->addStretch();

    connect(start, &QPushButton::clicked, this, [this] { services.run.start(false); });
    connect(startMissing, &QPushButton::clicked, this, [this] { services.run.start(true); });
    connect(cancel, &QPushButton::clicked, &services.run, &ktStudioRun::cancel);
    connect(&services, &ktStudioServices::frozenChanged, this, [this](bool isFrozen) {
        start->setEnabled(!isFrozen);
        startMissing->setEnabled(!isFrozen);
        showState();
    });
    connect(&services.run, &ktStudioRun::stateChanged, this, &ktRunPanel::showState);
    settle->setSingleShot(true);
    settle->setInterval(200);
    connect(settle, &QTimer::timeout, this, &ktRunPanel::showEstimate);
    const auto later = [this] { settle->start(); };
    connect(&services, &ktStudioServices::frozenChanged, this, later); // work may be on when it is due
    connect(&services.selection, &ktStudioSelection::changed, this, later);
    connect(&services.document.undoStack(), &QUndoStack::indexChanged, this, later);
    connect(&services.document, &ktStudioDocument::opened, this, later);
    showState();
    showEstimate();
}

void ktRunPanel::showState() {
    const bool isRunning = services.run.isRunning();
    start->setVisible(!isRunning);
    startMissing->setVisible(!isRunning);
    cancel->setVisible(isRunning);
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
        parts << (state.isRateLow ? tr("At least %1 rays/s") : tr("%1 rays/s"))
                     .arg(ktStudioRun::countText(state.raysPerSecond));
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
    const QString rays = ktStudioRun::countText(services.run.estimateRays());
    const double seconds = services.run.estimateSeconds();
    estimate->setText(services.run.isEstimateLow() ? tr("At least %1 rays").arg(rays)
                      : seconds < 0                ? tr("About %1 rays").arg(rays)
                      : seconds < 1                ? tr("About %1 rays, less than a second").arg(rays)
                                                   : tr("About %1 rays, roughly %2").arg(rays, durationText(seconds)));
}
