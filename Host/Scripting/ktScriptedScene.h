// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

#include "ktHostExport.h"

#include <string>

class ktSceneFile;

/// The scene that an application has open, if scripts share it: the module `kthost` then opens, bakes and saves through
/// the application. Without such an application the module keeps its own scene. Main thread only.
class KT_HOST_EXPORT ktScriptedScene {
public:
    /// How a file is to be read: arguments of kthost.open().
    struct OpenOptions {
        std::string unit, up; ///< up: empty as the file says
        bool uniqueInstances = false, groundPlane = false, keepVertices = false;
        double creaseAngle_deg = 30;
    };
    /// How the scene is to be saved: arguments of kthost.save().
    struct SaveOptions {
        bool multiplyColors = true;
        double exposure = 1, strength = 1;
        std::string compress = "as-input"; ///< one of ktCompressionNames()
    };
    enum class Bake { Ran, NothingToDo, Refused };

    virtual ~ktScriptedScene();

    /// The open file; null if there is none.
    virtual ktSceneFile* getFile() = 0;
    /// @return empty on success, else the reason
    virtual std::string open(const std::string& path, const OpenOptions& options) = 0;
    virtual std::string save(const std::string& path, const SaveOptions& options) = 0;
    /// Bakes the selection. @param reason set if it is refused
    virtual Bake bake(bool missingOnly, std::string& reason) = 0;
    /// Of the open file and its last bake: JSON in the form of `ktbake --stats`. Needs an open file.
    virtual std::string getStatistics() = 0;
    /// Tells the statistics that a script has drawn a picture of the scene.
    virtual void previewDrawn(double seconds) = 0;

    /// The scene of the application; null if scripts share none.
    static ktScriptedScene* get();
    /// @param scene must live until it is replaced; null: none
    static void set(ktScriptedScene* scene);
};
