// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

#include "ktSceneDistances.h"
#include "ktStudioOptions.h"

#include <atomic>
#include <memory>
#include <OpenSG/OSGNode.h>
#include <optional>
#include <QDateTime>
#include <QObject>
#include <QString>
#include <QStringList>
#include <string>
#include <vector>

class ktSceneFile;
class ktUndoStack;
class QFileSystemWatcher;
class QTimer;
struct ktFileReport;

/// The open scene and its files. Messages about files go to the host's log. Main thread only; make one object.
class ktStudioDocument : public QObject {
    Q_OBJECT
public:
    explicit ktStudioDocument(QObject* parent = nullptr);
    ~ktStudioDocument() override;

    bool isOpen() const { return file != nullptr; }
    bool isReading() const { return reading; }
    const QString& getPath() const { return path; } ///< of the file that was read
    /// Where save() writes; empty until saveAs().
    const QString& getOutputPath() const { return outputPath; }
    /// SCENE-baked.glb beside the scene, as `ktbake` names it.
    QString proposeOutputPath() const;
    bool isModified() const; ///< something that is not saved would be lost
    const ktStudioReadOptions& getReadOptions() const { return readOptions; }
    double getDiagonal() const { return diagonal; }      ///< world units
    double getUnit_mm() const;                           ///< of the file
    bool isUnitGuessed() const { return unitIsGuessed; } ///< the scene was scaled to a size that people bake

    osg::NodePtr getRoot() const; ///< null if nothing is open
    std::vector<osg::NodePtr> getTopNodes() const;
    ktUndoStack& undoStack() const;

    /// Reads a file and makes it the host's scene, with its top nodes selected and an empty undo stack. Handles events
    /// meanwhile. On failure or cancel emits failed() and the scene that is open stays.
    bool open(const QString& newPath, const ktStudioReadOptions& options = {});
    /// Reads the file once more. Keeps the selection by the names of the nodes.
    bool reload(const ktStudioReadOptions& options);
    bool isReloading() const { return reloading; } ///< during opened()
    /// Reads a copy of a scene (see saveCopy()) as that scene, with unsaved changes.
    bool openCopy(const QString& copyPath, const QString& scenePath, const ktStudioReadOptions& options);
    void cancelReading() { isReadingCancelled = true; }
    /// Decodes the pictures, which bounced light needs. Handles events meanwhile; cancelReading() ends it.
    void loadPictures();

    /// Writes the scene; on failure emits failed() and an existing file is unchanged.
    bool saveAs(const QString& newPath);
    bool save() { return saveAs(outputPath); }
    /// Writes the scene to another file without a change of what is unsaved. A failure is logged only.
    bool saveCopy(const QString& copyPath);
    /// Draws the picture of `ktbake --preview`; on failure emits failed().
    bool savePreview(const QString& picturePath);

    const ktStudioOptions& getOptions() const { return options; }
    /// Changes options as one undo step, called `text`.
    void setOptions(const ktStudioOptions& newOptions, const QString& text);

signals:
    /// A file is read, or a picture drawn: what is done, in words. Meanwhile nothing may change.
    void readingChanged(bool isReading, const QString& what);
    /// Another scene is open; the old one is gone.
    void opened();
    void modifiedChanged(bool isModified);
    void optionsChanged();
    void saved(const QString& path);
    void failed(const QString& reason);
    /// Another program has changed the file that was read.
    void changedOnDisk();

private:
    class OptionsCommand;

    bool writeTo(const QString& newPath, ktFileReport& report);
    bool read(const QString& newPath, const ktStudioReadOptions& options, std::unique_ptr<ktSceneFile>& newFile);
    void logMessages(const QString& ofFile, const ktFileReport& report) const;
    void fail(const ktFileReport& report);
    bool letEventsIn(); ///< whether to end reading
    void noteModified();
    void followScene();
    void watch();
    void checkFile();

    std::unique_ptr<ktSceneFile> file;
    QString path, outputPath;
    ktStudioReadOptions readOptions;
    ktStudioOptions options;
    double diagonal = 0;
    bool unitIsGuessed = false;
    bool reading = false, reloading = false;
    std::atomic<bool> isReadingCancelled{false}; ///< asked on several threads
    unsigned long savedCommand = 0;              ///< ktSceneCommand::findNewest() at the last save
    bool wasModified = false;
    std::optional<ktSceneDistances> followed; ///< distances that followScene() chose
    QFileSystemWatcher* watcher;
    QTimer* settle; ///< a program that writes the file changes it many times
    QDateTime fileTime;
    qint64 fileSize = -1;
};
