// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

#include "ktSceneDistances.h"
#include "ktStudioOptions.h"

#include <atomic>
#include <functional>
#include <memory>
#include <OpenSG/OSGNode.h>
#include <OpenSG/OSGRefPtr.h>
#include <optional>
#include <QObject>
#include <QString>
#include <QStringList>
#include <set>
#include <string>
#include <vector>

class ktAddedScene;
class ktFileWatch;
class ktReadRecord;
class ktSceneFile;
class ktSceneReader;
class ktUndoStack;
struct ktFileReport;
struct ktPreviewOptions;
struct ktSceneCamera;

/// The open scene and its files. Messages about files go to the host's log. Main thread only; make one object.
class ktStudioDocument : public QObject {
    Q_OBJECT
public:
    explicit ktStudioDocument(QObject* parent = nullptr);
    ~ktStudioDocument() override;

    bool isOpen() const { return file != nullptr; }
    /// Whether a file is read, or other Work is on.
    bool isReading() const { return reading; }
    const QString& getPath() const { return path; } ///< of the file that was read
    /// Where save() writes; empty until saveAs().
    const QString& getOutputPath() const { return outputPath; }
    /// SCENE-baked.glb beside the scene, as `ktbake` names it.
    QString proposeOutputPath() const;
    bool isModified() const; ///< something that is not saved would be lost
    const ktStudioReadOptions& getReadOptions() const { return readOptions; }
    double getDiagonal() const { return diagonal; } ///< world units
    double getUnit_mm() const;                      ///< of the file
    bool isUnitGuessed() const;                     ///< the scene was scaled to a size that people bake
    bool isUpAxisGuessed() const;                   ///< the file does not say which axis points up; y does

    double getReadSeconds() const { return readSeconds; }

    osg::NodePtr getRoot() const;                  ///< null if nothing is open
    std::vector<osg::NodePtr> getTopNodes() const; ///< of all files: what there is to select
    /// What a tree of the scene shows first: the top nodes; with several files, one node for each file.
    std::vector<osg::NodePtr> getTreeNodes() const;
    ktSceneFile* getFile() const { return file.get(); }   ///< the opened file; null: none
    const std::vector<ktSceneCamera>& getCameras() const; ///< of the opened file; needs an open file
    ktUndoStack& undoStack() const;

    /// What views make of a scene on the thread that reads it; see ktSceneReader::Request.
    using Preparation =
        std::function<std::shared_ptr<void>(const osg::NodePtr& root, const std::function<bool()>& isInterrupted)>;
    void setPreparation(Preparation newPreparation) { preparation = std::move(newPreparation); }
    /// Makes memory ready for the next opening; takes some milliseconds. For an idle moment without a scene.
    void warmUpReading();
    /// What the preparation made of the scenes that were read since the last call.
    std::vector<std::shared_ptr<void>> takePrepared();

    /// Reads a file and makes it the host's scene, with its top nodes selected and an empty undo stack. Reads on
    /// another thread, and handles events meanwhile. On failure or cancel emits failed() and the scene that is open
    /// stays.
    bool open(const QString& newPath, const ktStudioReadOptions& options = {});
    /// Reads the file once more. Keeps the selection by the names of the nodes.
    bool reload(const ktStudioReadOptions& options);
    bool isReloading() const { return reloading; } ///< during opened()
    bool isReplacing() const { return replacing; } ///< while the host gets another scene, and the old one goes
    /// Adds files to the open scene as one undo step: parts beside it, or its surroundings. The selection stays. A file
    /// of the opened file's format is read with its options and its unit. A file that cannot be read is left out, with
    /// failed().
    /// @return number of files that were added
    int addFiles(const QStringList& paths);
    QStringList getAddedPaths() const;
    /// Reads a copy of a scene (see saveCopy()) as that scene, with unsaved changes.
    bool openCopy(const QString& copyPath, const QString& scenePath, const ktStudioReadOptions& options);
    void cancelReading();
    /// Whether the last reading, or other Work, was cancelled.
    bool isCancelled() const { return isReadingCancelled; }
    /// Decodes the pictures, which bounced light needs. Handles events meanwhile; cancelReading() ends it. False, with
    /// failed(), if memory runs out.
    bool loadPictures();

    /// Writes the opened file's part of the scene, then added files with new results beside it as NAME-baked.glb.
    /// Handles events meanwhile; cancelReading() ends it. On failure or cancel emits failed(), and a file that exists
    /// is unchanged.
    bool saveAs(const QString& newPath);
    bool save() { return saveAs(outputPath); }
    /// As saveAs(), with other options of the output than those of the window.
    bool saveWith(const QString& newPath, bool multiplyColors, double exposure, double strength,
                  ktCompressionMode compression);
    /// Writes the scene to another file without a change of what is unsaved. A failure is logged only.
    bool saveCopy(const QString& copyPath);
    /// An added file as it is now.
    struct AddedCopy {
        QString scene;               ///< the file that was added
        QString copy;                ///< that file with its new results; empty: it has none
        ktStudioReadOptions options; ///< to read the copy, else the file
    };
    /// The added files. Writes those with new results into a folder; a failure is logged only.
    std::vector<AddedCopy> saveAddedCopies(const QString& folder);
    /// Adds files of such a list to a scene that openCopy() has opened, with their results unsaved. No undo step.
    void addCopies(const std::vector<AddedCopy>& copies);
    /// Draws the picture of `ktbake --preview`; on failure emits failed(). Size, view and headlight of the options
    /// hold.
    bool savePreview(const QString& picturePath, const ktPreviewOptions& look);

    /// During its lifetime, something takes its time while the scene stays in view. Nothing may change meanwhile.
    class Work {
    public:
        /// @param what is done, in words
        Work(ktStudioDocument& document, const QString& what);
        ~Work();
        Work(const Work&) = delete;
        Work& operator=(const Work&) = delete;
        /// Tells the share that is done, and handles events. @return false: the user has cancelled
        bool goOn(double share);

    private:
        ktStudioDocument& document;
        const QString what;
        const bool wasReading; ///< inside other work
    };

    const ktStudioOptions& getOptions() const { return options; }
    /// Changes options as one undo step, called `text`.
    void setOptions(const ktStudioOptions& newOptions, const QString& text);

signals:
    /// A file is read: what is done, in words. Meanwhile nothing may change.
    void readingChanged(bool isReading, const QString& what);
    void readingProgressed(double share); ///< 0 to 1; importers of some formats tell no share
    /// As readingChanged(), but the scene stays in view.
    void workChanged(bool isWorking, const QString& what);
    void workProgressed(double share);
    /// Files were added to the scene or removed from it.
    void filesChanged();
    /// The materials have their pictures now.
    void picturesLoaded();
    /// Another scene is open; the old one is gone.
    void opened();
    void modifiedChanged(bool isModified);
    void optionsChanged();
    void saved(const QString& path, double seconds);
    void previewDrawn(double seconds);
    void failed(const QString& reason);
    /// Another program has changed a file of the scene: one that was opened or added, or one that it refers to.
    void changedOnDisk(const QString& path);

private:
    class AddCommand;
    class OptionsCommand;

    bool writeTo(ktSceneFile& written, const QString& newPath, ktFileReport& report);
    bool saveOne(ktSceneFile& written, const QString& newPath);
    bool saveAdded();
    struct ReadScene {
        std::unique_ptr<ktSceneFile> file; ///< null: it cannot be read
        double diagonal = 0;
        std::set<QString> sources; ///< files that were read for it
    };
    ReadScene read(const QString& newPath, const ktStudioReadOptions& options);
    /// How a file that is added is read.
    ktStudioReadOptions optionsOfAdded(const QString& newPath) const;
    std::shared_ptr<ktAddedScene> readAdded(const QString& newPath);
    void attach(const std::shared_ptr<ktAddedScene>& scene);
    void detach(const std::shared_ptr<ktAddedScene>& scene);
    void showTree(const std::vector<osg::NodePtr>& selected);
    void showPictures();
    void logMessages(const QString& ofFile, const ktFileReport& report) const;
    void fail(const ktFileReport& report);
    bool letEventsIn(); ///< whether to end reading
    void noteModified();
    void followScene();
    void watchFiles();

    std::unique_ptr<ktSceneReader> reader; // destroyed after the scenes
    std::unique_ptr<ktSceneFile> file;
    std::vector<std::shared_ptr<ktAddedScene>> added;
    Preparation preparation;
    std::vector<std::shared_ptr<void>> prepared;
    osg::NodeRefPtr group; ///< above the roots of all files, if there are several
    QString path, outputPath;
    double readSeconds = 0;
    ktStudioReadOptions readOptions;
    ktStudioOptions options;
    double diagonal = 0;
    bool reading = false, reloading = false, replacing = false;
    std::atomic<bool> isReadingCancelled{false}; ///< asked on several threads
    unsigned long savedCommand = 0;              ///< ktSceneCommand::findNewest() at the last save
    bool wasModified = false;
    std::optional<ktSceneDistances> followed; ///< distances that followScene() chose
    std::unique_ptr<ktReadRecord> record;     ///< of the last reading
    std::set<QString> sources;                ///< files that were read for the opened one
    ktFileWatch* fileWatch;
};
