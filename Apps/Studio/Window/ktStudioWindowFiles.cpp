// SPDX-License-Identifier: LGPL-2.1-or-later
// Opens and saves files from the main window: dialogs, dropped files, unsaved changes.
#include "ktMessageBar.h"
#include "ktReadingOptions.h"
#include "ktStudioWindow.h"

#include <algorithm>
#include <cmath>
#include <QDragEnterEvent>
#include <QDropEvent>
#include <QFileDialog>
#include <QFileInfo>
#include <QLocale>
#include <QMessageBox>
#include <QMimeData>
#include <QUrl>

namespace {

/// The local files that are dragged.
QStringList draggedFiles(const QMimeData* data) {
    QStringList files;
    for (const QUrl& url : data->urls())
        if (url.isLocalFile())
            files << url.toLocalFile();
    return files;
}

QString sceneFilter() {
    return ktStudioWindow::tr("Scenes (*.glb *.gltf *.obj *.ply *.stl *.fbx *.dae *.zae *.3mf *.ifc *.x3d *.ac *.3ds "
                              "*.lwo *.ase *.dxf *.off *.x);;"
                              "All files (*)");
}

struct LengthUnit {
    const char* name;
    double millimetres;
};

/// The three units that bring a diagonal, in units of the file, nearest to what people bake; the smallest first.
std::vector<LengthUnit> likelyUnits(double diagonal) {
    std::vector<LengthUnit> units = {{"mm", 1}, {"cm", 10}, {"inch", 25.4}, {"m", 1000}};
    const auto distance = [diagonal](const LengthUnit& unit) {
        return std::abs(std::log(diagonal * unit.millimetres / 1500));
    };
    const auto isNearer = [&](const LengthUnit& a, const LengthUnit& b) { return distance(a) < distance(b); };
    const auto isSmaller = [](const LengthUnit& a, const LengthUnit& b) { return a.millimetres < b.millimetres; };
    std::sort(units.begin(), units.end(), isNearer);
    units.resize(3);
    std::sort(units.begin(), units.end(), isSmaller);
    return units;
}

} // namespace

void ktStudioWindow::openFile(const QString& path, const ktStudioReadOptions& options) {
    if (!isFrozen() && mayLoseChanges())
        readFile(path, options);
}

bool ktStudioWindow::readFile(const QString& path, const ktStudioReadOptions& options) {
    // A short reading and the first picture after it need the time that panels take to become grey and come back.
    paintPause.begin();
    const bool isOpened = document.open(path, options);
    if (!isOpened)
        paintPause.end();
    return isOpened;
}

void ktStudioWindow::openFiles(const QStringList& paths, const ktStudioReadOptions& options) {
    if (isFrozen() || !mayLoseChanges())
        return;
    for (int i = 0; i < paths.size(); ++i) {
        if (readFile(paths[i], options)) {
            if (i + 1 < paths.size())
                addFiles(paths.mid(i + 1));
            return;
        }
        if (document.isCancelled())
            return;
    }
}

void ktStudioWindow::addFiles(const QStringList& paths) {
    if (!isFrozen() && document.isOpen() && document.addFiles(paths) > 0)
        messages->show(ktMessageBar::Level::Info,
                       tr("Added. Only what is selected is baked; everything casts shadows. Select the new parts, too, "
                          "to bake them."),
                       {}, "added");
}

void ktStudioWindow::chooseFilesToAdd() {
    auto* dialog =
        new QFileDialog(this, tr("Add files to the scene"), QFileInfo(document.getPath()).path(), sceneFilter());
    dialog->setFileMode(QFileDialog::ExistingFiles);
    dialog->setAttribute(Qt::WA_DeleteOnClose);
    connect(dialog, &QFileDialog::filesSelected, this, &ktStudioWindow::addFiles, Qt::QueuedConnection);
    dialog->open();
}

void ktStudioWindow::chooseFile() {
    auto* dialog = new QFileDialog(this, tr("Open a scene"), QFileInfo(document.getPath()).path(), sceneFilter());
    dialog->setFileMode(QFileDialog::ExistingFile);
    dialog->setAttribute(Qt::WA_DeleteOnClose);
    // Queued, so that the dialog is gone before the file is read.
    connect(
        dialog, &QFileDialog::fileSelected, this, [this](const QString& path) { openFile(path); },
        Qt::QueuedConnection);
    dialog->open();
}

void ktStudioWindow::save() {
    if (document.getOutputPath().isEmpty())
        chooseOutput();
    else
        document.save();
}

void ktStudioWindow::chooseOutput() {
    auto* dialog = new QFileDialog(this, tr("Save the baked scene"), document.proposeOutputPath(),
                                   tr("glTF, one file (*.glb);;glTF, with separate data (*.gltf)"));
    dialog->setAcceptMode(QFileDialog::AcceptSave);
    dialog->setDefaultSuffix("glb");
    dialog->setAttribute(Qt::WA_DeleteOnClose);
    dialog->selectFile(document.proposeOutputPath());
    connect(dialog, &QFileDialog::filterSelected, dialog,
            [dialog](const QString& filter) { dialog->setDefaultSuffix(filter.contains("*.gltf") ? "gltf" : "glb"); });
    connect(
        dialog, &QFileDialog::fileSelected, this, [this](const QString& path) { document.saveAs(path); },
        Qt::QueuedConnection);
    dialog->open();
}

void ktStudioWindow::chooseReadingOptions() {
    auto* dialog = new ktReadingOptions(document.getReadOptions(), this);
    dialog->setAttribute(Qt::WA_DeleteOnClose);
    connect(dialog, &QDialog::accepted, this, [this, dialog] {
        QMetaObject::invokeMethod(
            this,
            [this, options = dialog->get()] {
                if (!isFrozen() && mayLoseChanges())
                    document.reload(options);
            },
            Qt::QueuedConnection);
    });
    dialog->open();
}

void ktStudioWindow::askUnitAndUpAxis() {
    const auto rereadWith = [this](QString ktStudioReadOptions::*option, const QString& value) {
        return [this, option, value] {
            ktStudioReadOptions options = document.getReadOptions();
            options.*option = value;
            if (!isFrozen() && mayLoseChanges())
                document.reload(options);
        };
    };
    std::vector<ktMessageBar::Button> buttons;
    if (document.isUnitGuessed()) {
        const double diagonal = document.getDiagonal() / document.getUnit_mm(); // units of the file
        for (const LengthUnit& unit : likelyUnits(diagonal))
            buttons.push_back({tr("%L1 m (unit: %2)").arg(diagonal * unit.millimetres / 1000, 0, 'g', 3).arg(unit.name),
                               rereadWith(&ktStudioReadOptions::unit, unit.name)});
    }
    if (document.isUpAxisGuessed())
        buttons.push_back({tr("z points up"), rereadWith(&ktStudioReadOptions::up, "z")});
    if (buttons.empty())
        return;
    messages->show(
        ktMessageBar::Level::Info,
        !document.isUnitGuessed() ? tr("The file does not say which axis points up. y is taken for it.")
        : document.isUpAxisGuessed()
            ? tr("The file does not say how large the scene is, and which axis points up. Its diagonal is taken for 3 "
                 "m, and y for up. Is it different?")
            : tr("The file does not say how large the scene is. Its diagonal is taken for 3 m. Is it another size?"),
        buttons, "unit");
}

void ktStudioWindow::offerRecovery() {
    for (const ktStudioRecovery::Copy& copy : services.recovery.findAbandoned())
        messages->show(ktMessageBar::Level::Warning,
                       tr("%1 was baked at %2 and not saved before ktstudio ended.")
                           .arg(QFileInfo(copy.scene).fileName(), QLocale().toString(copy.time, QLocale::ShortFormat)),
                       {{tr("Open the copy"),
                         [this, copy] {
                             if (!isFrozen() && mayLoseChanges())
                                 services.recovery.open(copy);
                         }},
                        {tr("Discard it"), [copy] { ktStudioRecovery::discard(copy); }}});
}

bool ktStudioWindow::mayLoseChanges() {
    if (!document.isModified())
        return true;
    QMessageBox question(
        QMessageBox::Question, tr("Unsaved changes"),
        tr("%1 has baked light or other changes that are not saved.").arg(QFileInfo(document.getPath()).fileName()),
        QMessageBox::Save | QMessageBox::Discard | QMessageBox::Cancel, this);
    question.setDefaultButton(QMessageBox::Save);
    switch (question.exec()) {
    case QMessageBox::Save:
        return document.saveAs(document.proposeOutputPath());
    case QMessageBox::Discard:
        return true;
    default:
        return false;
    }
}

void ktStudioWindow::dragEnterEvent(QDragEnterEvent* event) {
    if (!isFrozen() && !draggedFiles(event->mimeData()).isEmpty())
        event->acceptProposedAction();
}

// With Shift or Ctrl, the files are added to the scene.
void ktStudioWindow::dropEvent(QDropEvent* event) {
    const QStringList paths = draggedFiles(event->mimeData());
    if (paths.isEmpty())
        return;
    event->acceptProposedAction();
    const bool isAdded = document.isOpen() && event->keyboardModifiers() & (Qt::ShiftModifier | Qt::ControlModifier);
    // Later, because reading takes its time and the other program waits for the end of the drop.
    QMetaObject::invokeMethod(
        this, [this, paths, isAdded] { isAdded ? addFiles(paths) : openFiles(paths); }, Qt::QueuedConnection);
}
