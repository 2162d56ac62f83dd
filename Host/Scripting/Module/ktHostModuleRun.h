// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

#include <boost/python.hpp>

/// Functions of the module `kthost` for bakes, presets and undo, described in ktHostModuleHelp.h.
namespace ktHostModuleRun {

bool bake(bool missing, const boost::python::object& keep);
/// The statistics of the open scene, as `ktbake --stats` writes them.
boost::python::object stats();

boost::python::list presets();
void applyPreset(const boost::python::object& name);
void savePreset(const boost::python::object& name, bool replace);
void deletePreset(const boost::python::object& name);

void setThreads(int count);
void setFit(const boost::python::object& name);
void setMaxTriangles(const boost::python::object& budget);
void setTracer(const boost::python::object& name);

bool undo();
bool redo();

} // namespace ktHostModuleRun
