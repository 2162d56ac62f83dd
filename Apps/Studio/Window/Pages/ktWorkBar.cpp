// SPDX-License-Identifier: LGPL-2.1-or-later
// The row of the window for work that takes its time.
#include "ktWorkBar.h"

#include <QHBoxLayout>
#include <QLabel>
#include <QProgressBar>
#include <QPushButton>
#include <QTimer>

static constexpr int shownAfter_ms = 200;

ktWorkBar::ktWorkBar(QWidget* parent)
    : QWidget(parent), text(new QLabel(this)), bar(new QProgressBar(this)), delay(new QTimer(this)) {
    auto* line = new QHBoxLayout(this);
    line->setContentsMargins(8, 4, 8, 4);
    line->addWidget(text);
    line->addWidget(bar, 1);
    bar->setAccessibleName(tr("Progress"));
    auto* cancel = new QPushButton(tr("Cancel"), this);
    cancel->setObjectName("cancelWork");
    cancel->setShortcut(QKeySequence(Qt::Key_Escape));
    line->addWidget(cancel);
    connect(cancel, &QPushButton::clicked, this, &ktWorkBar::cancelRequested);
    delay->setSingleShot(true);
    delay->setInterval(shownAfter_ms);
    connect(delay, &QTimer::timeout, this, &QWidget::show);
    hide();
}

void ktWorkBar::begin(const QString& what) {
    if (depth++ > 0)
        return;
    text->setText(what + " …");
    bar->setRange(0, 0);
    delay->start();
}

void ktWorkBar::setShare(double share) {
    bar->setRange(0, 1000);
    bar->setValue(static_cast<int>(1000 * share));
}

void ktWorkBar::end() {
    if (--depth > 0)
        return;
    delay->stop();
    hide();
}
