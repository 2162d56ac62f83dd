// SPDX-License-Identifier: LGPL-2.1-or-later
// The page that a window shows while it reads a file.
#include "ktReadingPage.h"

#include <QLabel>
#include <QProgressBar>
#include <QPushButton>
#include <QTimer>
#include <QVBoxLayout>

ktReadingPage::ktReadingPage(QWidget* parent)
    : QWidget(parent), text(new QLabel(this)), bar(new QProgressBar(this)), timer(new QTimer(this)) {
    auto* rows = new QVBoxLayout(this);
    rows->addStretch();
    rows->addWidget(text, 0, Qt::AlignHCenter);
    bar->setAccessibleName(tr("Progress"));
    bar->setMaximumWidth(400);
    bar->setMinimumWidth(300);
    rows->addWidget(bar, 0, Qt::AlignHCenter);
    auto* cancel = new QPushButton(tr("Cancel"), this);
    cancel->setObjectName("cancelReading");
    cancel->setShortcut(QKeySequence(Qt::Key_Escape));
    rows->addWidget(cancel, 0, Qt::AlignHCenter);
    rows->addStretch();
    connect(cancel, &QPushButton::clicked, this, &ktReadingPage::cancelRequested);
    timer->setInterval(200);
    connect(timer, &QTimer::timeout, this, [this] {
        text->setText(tr("%1 … %L2 s").arg(what).arg(static_cast<double>(elapsed.elapsed()) / 1000, 0, 'f', 1));
    });
}

void ktReadingPage::begin(const QString& newWhat) {
    what = newWhat;
    text->setText(what + " …");
    bar->setRange(0, 0); // until somebody knows the share
    elapsed.start();
    timer->start();
}

void ktReadingPage::end() {
    timer->stop();
}

void ktReadingPage::setShare(double share) {
    bar->setRange(0, 1000);
    bar->setValue(static_cast<int>(1000 * share));
}
