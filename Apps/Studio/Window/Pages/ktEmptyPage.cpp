// SPDX-License-Identifier: LGPL-2.1-or-later
// The page of an empty window: open, example scenes, recent files.
#include "ktEmptyPage.h"

#include "ktStudioPreferences.h"

#include <QCommandLinkButton>
#include <QCoreApplication>
#include <QDir>
#include <QFileInfo>
#include <QLabel>
#include <QProcess>
#include <QPushButton>
#include <QStandardPaths>
#include <QVBoxLayout>

namespace {

const char* const engine = "/usr/share/assimp/models/glTF2/2CylinderEngine-glTF-Binary/2CylinderEngine.glb";

QString exampleFolder() {
    return QStandardPaths::writableLocation(QStandardPaths::GenericCacheLocation) + "/ktAmbientOcclusion/examples";
}

/// The script that makes the example scenes: installed, or in the source tree. Empty if there is none.
QString exampleScript() {
    const QString name = "scenes.py";
    for (const QString& folder :
         {QDir(QCoreApplication::applicationDirPath()).filePath("../share/ktAmbientOcclusion/Examples"),
          QString(KT_EXAMPLES)})
        if (QFileInfo::exists(folder + "/" + name))
            return folder + "/" + name;
    return {};
}

} // namespace

ktEmptyPage::ktEmptyPage(QWidget* parent) : QWidget(parent) {
    auto* center = new QVBoxLayout(this);
    center->addStretch(1);
    auto* box = new QWidget(this);
    box->setMinimumWidth(420);
    box->setMaximumWidth(560);
    center->addWidget(box, 0, Qt::AlignHCenter);
    center->addStretch(2);
    auto* rows = new QVBoxLayout(box);

    auto* title = new QLabel(tr("Open a scene to bake light into it"), box);
    QFont large = title->font();
    large.setPointSizeF(large.pointSizeF() * 1.6);
    title->setFont(large);
    rows->addWidget(title);
    auto* help =
        new QLabel(tr("Drop a file here, or choose one below. Then press Bake, look at the result, and save it."), box);
    help->setWordWrap(true);
    rows->addWidget(help);

    const auto addButton = [&](const char* name, const QString& text, const QString& description) {
        auto* button = new QCommandLinkButton(text, description, box);
        button->setObjectName(name);
        rows->addWidget(button);
        return button;
    };
    connect(addButton("openScene", tr("Open a scene…"), tr("glTF, OBJ, PLY, STL, FBX, Collada and more")),
            &QPushButton::clicked, this, &ktEmptyPage::openRequested);
    if (QFileInfo::exists(engine))
        connect(addButton("openEngine", tr("Two-cylinder engine"), tr("An assembly of the package assimp-testmodels")),
                &QPushButton::clicked, this, [this] { emit fileChosen(engine); });
    if (!exampleScript().isEmpty()) {
        connect(addButton("openRoom", tr("Room with two coloured walls"), tr("An example for bounced light and lamps")),
                &QPushButton::clicked, this, [this] { openExample("room.glb"); });
        connect(addButton("openCar", tr("Car"), tr("An example for a ground plane and refinement")),
                &QPushButton::clicked, this, [this] { openExample("car.glb"); });
    }
    recent = new QVBoxLayout;
    rows->addLayout(recent);
    connect(&ktStudioPreferences::the(), &ktStudioPreferences::recentFilesChanged, this, &ktEmptyPage::listRecentFiles);
    listRecentFiles();
}

void ktEmptyPage::listRecentFiles() {
    while (QLayoutItem* item = recent->takeAt(0)) {
        item->widget()->deleteLater();
        delete item;
    }
    const QStringList files = ktStudioPreferences::the().getRecentFiles();
    if (files.isEmpty())
        return;
    recent->addWidget(new QLabel("<b>" + tr("Recent files") + "</b>", this));
    for (const QString& file : files.mid(0, 5)) {
        auto* link = new QPushButton(QFileInfo(file).fileName().replace("&", "&&"), this);
        link->setObjectName("recent");
        link->setFlat(true);
        link->setStyleSheet("text-align: left");
        link->setToolTip(file);
        recent->addWidget(link);
        connect(link, &QPushButton::clicked, this, [this, file] { emit fileChosen(file); });
    }
}

void ktEmptyPage::openExample(const QString& name) {
    const QString folder = exampleFolder(), scene = folder + "/" + name;
    if (QFileInfo::exists(scene)) {
        emit fileChosen(scene);
        return;
    }
    if (maker)
        return;
    QDir().mkpath(folder);
    maker = new QProcess(this);
    const auto end = [this, scene] {
        const QString output = QString::fromUtf8(maker->readAllStandardError()).trimmed();
        const QString why = output.isEmpty() ? maker->errorString() : output;
        maker->deleteLater();
        maker = nullptr;
        if (QFileInfo::exists(scene))
            emit fileChosen(scene);
        else
            emit failed(tr("The example scenes cannot be made: %1").arg(why));
    };
    connect(maker, QOverload<int, QProcess::ExitStatus>::of(&QProcess::finished), this, end);
    connect(maker, &QProcess::errorOccurred, this, [end](QProcess::ProcessError error) {
        if (error == QProcess::FailedToStart)
            end();
    });
    maker->start("python3", {exampleScript(), folder});
}
