// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

#include <limits>
#include <OpenSG/OSGColor.h>

/// The columns of a row of ktAmbientOcclusionSettings.h. A row is an empty struct with static members:
///   initial         value of a new controller and of a new attachment
///   range           a Range; a Switch and a Color have none
///   names, places   Names, Places
///   group, help     heading and text of the option in `ktbake --help`
///   fileFallback, choices, and columns that few rows have: see the kinds below
namespace ktAmbientOcclusionSettings {

/// The names of a setting; nullptr: the setting is not kept in this place. A Color has three text keys, columns and
/// script names, which end in R, G and B.
struct Names {
    const char* json;    ///< member of `ambientOcclusion` in the `extras` of a node
    const char* textKey; ///< key of the older form of the settings on nodes
    const char* column;  ///< column of the templates file
    const char* script;  ///< entry of `kthost.settings()`; arguments of the scripting module have the same names
    const char* option;  ///< option of `ktbake` without "--", and member of `--stats`
};

/// The position of a setting in each order: 1, 2, ... without a gap; 0: the setting is not in it. The orders differ on
/// purpose. Undo steps, files and scripts depend on them, so a new setting goes to the end of each order.
struct Places {
    int texts;   ///< writing and deleting text keys; columns of the templates file
    int presets; ///< setters that applying a preset calls
    int scripts; ///< `kthost.settings()`
    int options; ///< `ktbake --help`
};

/// Values that `ktbake` takes. The controller takes any value, unless its setter says otherwise.
struct Range {
    double least;
    double most = std::numeric_limits<double>::infinity();
};

/// Linear red, green, blue as a constant, which osg::Color3f cannot be.
struct Rgb {
    float r, g, b;
    operator osg::Color3f() const { return osg::Color3f(r, g, b); }
};

/// What the kinds have in common. A row overrides what differs.
/// Value is the controller's type, Field the attachment's.
template <class ValueType, class FieldType>
struct Kind {
    using Value = ValueType;
    using Field = FieldType;

    /// Units of a preset in one unit of the controller. Presets keep qualities in finer units.
    static constexpr int presetUnits = 1;
    // fileFallback, in every row with a column: the value that is read from a templates file without this column, in
    // the preset's type and units. Files without the column have always been read like this, so some rows have another
    // value than `initial`. Likewise `choices`, in every Choice: the names of the values from 0 on.

    /// Whether `ktbake` refuses the least value of the range, too.
    static constexpr bool isLeastExcluded = false;
    /// Whether the setting takes effect only after a change: `ktbake` then sets another value first.
    static constexpr bool needsAChange = false;
    /// Text behind the initial value in `ktbake --help`.
    static constexpr const char* initialNote = "";
    /// Name of the argument of an Integer in `ktbake --help`; nullptr: the range, such as 0..5.
    static constexpr const char* argument = nullptr;
    /// Unit of the value; empty: none.
    static constexpr const char* unit = "";

    template <class Controller, class Argument>
    static void call(Controller& controller, void (Controller::*setter)(Argument), Value value) {
        (controller.*setter)(static_cast<Argument>(value));
    }
};

struct Switch : Kind<bool, bool> {};
struct Integer : Kind<int, osg::Int32> {};
struct Choice : Integer {};
struct Real : Kind<double, osg::Real32> {};

template <class ValueType>
struct Length : Kind<ValueType, osg::Real32> {
    static constexpr const char* unit = "mm";
};

struct Color : Kind<osg::Color3f, osg::Color3f> {
    template <class Controller>
    static void call(Controller& controller, void (Controller::*setter)(float, float, float), const Value& color) {
        (controller.*setter)(color[0], color[1], color[2]);
    }
};

// clang-format off
/// In a row: where the value is kept. These are templates because the table does not know the classes.
/// @param Row          the row's name, which is the name of the attachment's field
/// @param getter       of the controller, like the two that follow
/// @param setter       pushes one undo step
/// @param signal       tells a change of the value
/// @param presetMember of AOPreset; any name when the row has no place in presets
#define KT_SETTING(Row, getter, setter, signal, presetMember)                                                          \
    template <class Controller>                                                                                        \
    static Value get(const Controller& controller) { return static_cast<Value>(controller.getter()); }                 \
    template <class Controller>                                                                                        \
    static void set(Controller& controller, const Value& value) { call(controller, &Controller::setter, value); }      \
    template <class Controller>                                                                                        \
    static auto changed(const Controller&) { return &Controller::signal; }                                             \
    template <class Attachment>                                                                                        \
    static Field getOnNode(const Attachment& attachment) { return attachment.get##Row(); }                             \
    template <class Attachment>                                                                                        \
    static void setOnNode(Attachment& attachment, const Value& value) {                                                \
        attachment.set##Row(static_cast<Field>(value));                                                                \
    }                                                                                                                  \
    template <class Preset>                                                                                            \
    static auto& inPreset(Preset& preset) { return preset.presetMember; }
// clang-format on

} // namespace ktAmbientOcclusionSettings
