// SPDX-License-Identifier: LGPL-2.1-or-later
// The settings of a calculation as attributes of kthost.settings.
#include "ktHostModuleSettings.h"

#include "ktHostModuleError.h"
#include "ktHostModuleGuard.h"
#include "ktHostModuleHelp.h"
#include "ktHostModuleText.h"
#include "ktPythonNumber.h"
#include "ktScriptedPlugin.h"

#include <cmath>
#include <limits>
#include <QString>

namespace python = boost::python;

namespace {

using Setting = ktScriptedPlugin::Setting;

// A class of the interpreter: its properties and its call have signatures and help without further work.
const char source[] = R"(
def make_settings(described, get, change, text, call_text):
    class Settings(object):
        __doc__ = text
        __slots__ = ()

        def __call__(self):
            return get()

        __call__.__doc__ = call_text

        def __repr__(self):
            return "<kthost.settings %s>" % ", ".join("%s=%r" % (name, get()[name]) for name, text in described)

    def add(name, text):
        setattr(Settings, name, property(lambda self: get()[name], lambda self, value: change(name, value), None, text))

    for name, text in described:
        add(name, text)
    Settings.__module__ = "kthost"
    return Settings
)";

std::string number(double value) {
    return QString::number(value, 'g', 6).toStdString();
}

/// What values the setting has, such as "a number from 0 on".
std::string rangeOf(const Setting& setting) {
    if (setting.kind == Setting::Switch)
        return "True or False";
    const std::string what = setting.kind == Setting::Integer ? "a whole number " : "a number ";
    const std::string least = (setting.isLeastExcluded ? "above " : "from ") + number(setting.least);
    if (std::isfinite(setting.most))
        return what + least + " to " + number(setting.most);
    return what + least + (setting.isLeastExcluded ? "" : " on");
}

std::string representation(const python::object& value) {
    return ktPythonString(python::object(value.attr("__repr__")()).ptr());
}

[[noreturn]] void refuseType(const Setting& setting, const python::object& value) {
    PyErr_SetString(PyExc_TypeError,
                    (setting.name + " is " + rangeOf(setting) + ", not " + representation(value)).c_str());
    python::throw_error_already_set();
    throw; // not reached
}

/// The number that a value means. Raises TypeError for another type.
double numberOf(const Setting& setting, const python::object& given) {
    const python::object value = python::object(python::handle<>(ktPlainNumber(given.ptr())));
    const bool isSwitch = setting.kind == Setting::Switch;
    if (isSwitch && !PyBool_Check(value.ptr()))
        refuseType(setting, given);
    if (PyFloat_Check(value.ptr()) && setting.kind != Setting::Real)
        refuseType(setting, given);
    if (ktIsPythonString(value) || !PyNumber_Check(value.ptr()))
        refuseType(setting, given);
    const double result = PyFloat_AsDouble(value.ptr());
    if (result == -1 && PyErr_Occurred())
        python::throw_error_already_set();
    return result;
}

void checkRange(const Setting& setting, double value, const python::object& given) {
    if (setting.kind == Setting::Switch)
        return;
    const bool isAbove = setting.isLeastExcluded ? value > setting.least : value >= setting.least;
    // Comparisons with NaN are false. Distances are floats in the plug-in.
    if (!isAbove || !(value <= setting.most) || !(value <= std::numeric_limits<float>::max()))
        throw ktHostModuleError(setting.name + " is " + rangeOf(setting) + ", not " + representation(given));
}

python::dict getAll() {
    python::dict dict;
    for (const Setting& setting : ktScriptedPlugin::the().getSettings()) {
        if (setting.kind == Setting::Switch)
            dict[setting.name] = setting.value != 0;
        else if (setting.kind == Setting::Integer)
            dict[setting.name] = static_cast<long>(setting.value);
        else
            dict[setting.name] = setting.value;
    }
    return dict;
}

void change(const std::string& name, const python::object& given) {
    ktHostModuleGuard::refuseWhileBaking();
    for (const Setting& setting : ktScriptedPlugin::the().getSettings())
        if (setting.name == name) {
            const double value = numberOf(setting, given);
            checkRange(setting, value, given);
            ktScriptedPlugin::the().setSetting(name, value);
        }
}

void changeOf(const std::string& name, const python::object& value) {
    change(name, value);
}

} // namespace

void ktAddSettings(const python::object& target) {
    python::object module = target; // attributes of a constant object cannot be set
    using ktHostModuleGuard::OnMainThread;
    python::dict names;
    names["__builtins__"] = python::import(PY_MAJOR_VERSION >= 3 ? "builtins" : "__builtin__");
    python::exec(source, names, names);
    python::list described;
    for (const Setting& setting : ktScriptedPlugin::the().getSettings())
        described.append(python::make_tuple(setting.name, setting.help + "; " + rangeOf(setting) + "."));
    module.attr("Settings") = names["make_settings"](described, python::make_function(&OnMainThread<&getAll>::call),
                                                     python::make_function(&OnMainThread<&changeOf>::call),
                                                     ktHostModuleHelp::settings, ktHostModuleHelp::settingsCall);
    module.attr("settings") = module.attr("Settings")();
}
