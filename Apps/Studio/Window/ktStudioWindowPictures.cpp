// SPDX-License-Identifier: LGPL-2.1-or-later
// Saves pictures and the statistics from the main window.
#include "ktMessageBar.h"
#include "ktPictureDialog.h"
#include "ktPreview.h"
#include "ktSafeFile.h"
#include "ktSceneView.h"
#include "ktStudioWindow.h"

#include <QBuffer>
#include <QDir>
#include <QFile>
#include <QFileDialog>
#include <QFileInfo>
#include <QJsonDocument>

namespace {

/// Writes a picture as PNG in place of the old file; returns why it cannot, empty on success.
QString writePicture(const QImage& picture, const QString& path) {
    QByteArray content;
    QBuffer buffer(&content);
    if (picture.isNull() || !buffer.open(QIODevice::WriteOnly) || !picture.save(&buffer, "PNG"))
        return ktStudioWindow::tr("there is not enough memory");
    QString reason;
    ktSafeFile::replace(QFile::encodeName(path), content, reason);
    return reason;
}

} // namespace

void ktStudioWindow::chooseFileToWrite(const QString& title, const QString& proposal, const QString& filter,
                                       const std::function<void(const QString&)>& write) {
    const QFileInfo info(document.proposeOutputPath());
    auto* dialog = new QFileDialog(this, title, info.path(), filter);
    dialog->setAcceptMode(QFileDialog::AcceptSave);
    dialog->setDefaultSuffix(QFileInfo(proposal).suffix());
    dialog->setAttribute(Qt::WA_DeleteOnClose);
    dialog->selectFile(proposal);
    // Queued, so that the dialog is gone before the work begins.
    connect(
        dialog, &QFileDialog::fileSelected, this,
        [this, write](const QString& path) {
            if (!isFrozen() && document.isOpen())
                write(path);
        },
        Qt::QueuedConnection);
    dialog->open();
}

void ktStudioWindow::showWritten(const QString& path, const QString& reason) {
    if (reason.isEmpty())
        messages->show(ktMessageBar::Level::Info, tr("Saved as %1").arg(path), {}, "saved");
    else
        messages->show(ktMessageBar::Level::Error, tr("%1 was not written: %2").arg(path, reason), {}, "file");
}

void ktStudioWindow::choosePicture(PictureKind kind) {
    using Kind = ktPictureDialog::Kind;
    QStringList views;
    for (const std::string& side : ktPreviewSideNames())
        views << QString::fromStdString(side);
    for (const ktSceneCamera& camera : document.getCameras())
        views << QString::fromStdString(camera.name);
    const Kind kinds[] = {Kind::Preview, Kind::View, Kind::Turntable};
    auto* dialog = new ktPictureDialog(kinds[static_cast<int>(kind)], views, this);
    dialog->setAttribute(Qt::WA_DeleteOnClose);
    connect(dialog, &QDialog::accepted, this, [this, dialog, kind] {
        ktPreviewOptions look;
        look.width_px = dialog->getSize().width();
        look.height_px = dialog->getSize().height();
        look.hasHeadlight = dialog->hasHeadlight();
        std::string reason;
        if (const auto found = ktFindPreviewView(dialog->getView().toStdString(), document.getCameras(), reason))
            look.view = *found;
        const int count = kind == PictureKind::Turntable ? dialog->getCount() : 1;
        const QString name = QFileInfo(document.proposeOutputPath()).completeBaseName();
        chooseFileToWrite(tr("Save a picture"), name + (kind == PictureKind::Turntable ? "-turn.png" : ".png"),
                          tr("PNG (*.png)"), [this, kind, look, count](const QString& path) {
                              if (kind != PictureKind::Preview)
                                  saveViewPictures(path, QSize(look.width_px, look.height_px), count);
                              else if (document.savePreview(path, look))
                                  showWritten(path);
                          });
    });
    dialog->open();
}

void ktStudioWindow::saveViewPictures(const QString& path, const QSize& size, int count) {
    const QFileInfo info(path);
    ktStudioDocument::Work work(document, tr("Drawing %1").arg(info.fileName()));
    for (int i = 0; i < count; ++i) {
        if (!work.goOn(static_cast<double>(i) / count)) {
            showWritten(path, tr("cancelled"));
            return;
        }
        const QString file =
            count == 1 ? path
                       : info.dir().filePath(
                             QString("%1-%2.png").arg(info.completeBaseName()).arg(i + 1, 4, 10, QLatin1Char('0')));
        const QString reason = writePicture(view->renderPicture(size, 360.0 * i / count), file);
        if (!reason.isEmpty()) {
            showWritten(file, reason);
            return;
        }
    }
    if (count == 1)
        showWritten(path);
    else
        messages->show(ktMessageBar::Level::Info,
                       tr("%n pictures of a turn were saved in %1", "", count).arg(info.path()), {}, "saved");
}

void ktStudioWindow::chooseStatistics() {
    const QString name = QFileInfo(document.proposeOutputPath()).completeBaseName() + ".json";
    chooseFileToWrite(tr("Save the statistics"), name, tr("JSON (*.json)"), [this](const QString& path) {
        QString reason;
        ktSafeFile::replace(QFile::encodeName(path),
                            QJsonDocument(services.statistics.describe(document.getRoot())).toJson(), reason);
        showWritten(path, reason);
    });
}
