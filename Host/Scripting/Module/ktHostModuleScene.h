// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

#include <boost/python.hpp>

/// Functions of the module `kthost` that open, save and show the scene, described in ktHostModuleHelp.h.
namespace ktHostModuleScene {

void open(const boost::python::object& path, const boost::python::object& unit, bool uniqueInstances, bool groundPlane,
          const boost::python::object& up, double creaseAngle_deg, bool keepVertices);
void close();
void save(const boost::python::object& path, const boost::python::object& shade, double exposure, double strength,
          const boost::python::object& compress);
void preview(const boost::python::object& path, int width, int height, double exposure, double turn_degrees,
             const boost::python::object& view, bool headlight, const boost::python::object& progress);

/// Selects the top nodes of the open file. Throws ktHostModuleError if no file is open.
void selectTopNodes();
/// Decodes the materials' pictures. Does nothing if no file is open. False if memory runs out.
bool loadPictures();

} // namespace ktHostModuleScene
