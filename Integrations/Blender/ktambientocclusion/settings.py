# SPDX-License-Identifier: LGPL-2.1-or-later
"""The settings as properties: of each scene, and of the operator that bakes.

They are made from the description of ktbake's settings. The operator's properties are used where they are given, those of
the scene otherwise. So scripts can give single settings, and the panel shows what is kept in the file."""

import bpy

from .core.description import Description

DESCRIPTION = Description()


def _property_of(setting, options):
    """The properties of one setting, by name."""
    common = {"name": setting.label, "description": setting.help[0].upper() + setting.help[1:], "options": options}
    limits = {}
    if setting.least is not None:
        limits["min"] = setting.least
    if setting.most is not None:
        limits["max"] = setting.most
    if setting.kind == "switch":
        return {setting.name: bpy.props.BoolProperty(default=setting.initial, **common)}
    if setting.kind == "choice":
        items = [(c, c.replace("-", " ").capitalize(), "") for c in setting.choices]
        return {setting.name: bpy.props.EnumProperty(items=items, default=setting.initial, **common)}
    if setting.kind == "integer" and setting.levels:
        items = [(str(setting.least + i), text, "") for i, text in enumerate(setting.levels)]
        return {setting.name: bpy.props.EnumProperty(items=items, default=str(setting.initial), **common)}
    if setting.kind == "integer":
        return {setting.name: bpy.props.IntProperty(default=setting.initial, **limits, **common)}
    if setting.kind == "real":
        return {setting.name: bpy.props.FloatProperty(default=setting.initial, **limits, **common)}
    if setting.kind == "color":
        return {setting.name: bpy.props.FloatVectorProperty(subtype="COLOR", size=3, min=0, max=1, default=setting.initial,
                                                            **common)}
    if setting.kind == "length":
        use = bpy.props.BoolProperty(name="Own " + setting.label, default=False, options=options,
                                     description="Use the value beside; otherwise ktbake chooses by the size of the scene")
        # In Blender's units, which are metres in a new scene.
        length = bpy.props.FloatProperty(subtype="DISTANCE", unit="LENGTH", default=setting.initial / 1000, precision=4,
                                         **limits, **common)
        return {"use_" + setting.name: use, setting.name: length}
    raise ValueError(setting.kind)


def _option(name):
    return DESCRIPTION.options["--" + name]


def _annotations(options):
    """All properties, by name. options: flags of Blender's properties"""
    fit = DESCRIPTION.options["--fit"]
    result = {
        "scope": bpy.props.EnumProperty(
            name="Bake", default="SELECTED", options=options,
            description="What is baked. All other visible objects occlude",
            items=[("SELECTED", "Selected", "The selected meshes"), ("SCENE", "Scene", "All visible meshes")]),
        "domain": bpy.props.EnumProperty(
            name="Store On", default="CORNER", options=options, description="Where the values are stored",
            items=[("POINT", "Points", "One value per vertex. The sides of a sharp edge share it"),
                   ("CORNER", "Corners", "One value per corner of a face. Sharp edges stay sharp")]),
        "fit": bpy.props.EnumProperty(
            name="Fit", default=fit["default"], options=options, description=fit["help"].capitalize(),
            items=[(value, value.capitalize(), "") for value in fit["values"]]),
        "exposure": bpy.props.FloatProperty(
            name="Exposure", default=1, min=0.001, soft_max=10, options=options,
            description="Scale of the light in the colour attribute"),
        "strength": bpy.props.FloatProperty(
            name="Strength", default=1, min=0, max=10, options=options,
            description="How strongly the colour attribute darkens: light below 1 is raised to this power"),
        "color_name": bpy.props.StringProperty(
            name="Colour", default="Baked Light", options=options,
            description="Name of the colour attribute with all light that arrives"),
        "use_shading": bpy.props.BoolProperty(
            name="Multiply into Materials", default=False, options=options,
            description="Add the node group to the materials that multiplies the light into their colour"),
    }
    for setting in DESCRIPTION.settings:
        result.update(_property_of(setting, options))
    return result


NAMES = tuple(_annotations(set()))


class KtSceneSettings(bpy.types.PropertyGroup):
    """Settings of a bake. They are kept in the file."""

    __annotations__ = _annotations(set())


class KtSettingsOfOperator:
    """What the operator takes; a property that is not given is read from the scene."""

    __annotations__ = _annotations({"SKIP_SAVE"})


class Values:
    """The settings of one bake, by name."""

    def __init__(self, scene, operator=None):
        """operator: properties of an operator that replace those of the scene where they are given"""
        given = operator.properties if operator else None
        self._values = {}
        for name in NAMES:
            source = given if given and given.is_property_set(name) else scene.ktambientocclusion
            self._values[name] = getattr(source, name)
        for setting in DESCRIPTION.settings:
            # A length that is given to the operator counts without its switch.
            if setting.kind == "length" and given and given.is_property_set(setting.name) and \
                    not given.is_property_set("use_" + setting.name):
                self._values["use_" + setting.name] = True
        self.millimetres = scene.unit_settings.scale_length * 1000

    def __getattr__(self, name):
        try:
            return self._values[name]
        except KeyError:
            raise AttributeError(name) from None

    def for_ktbake(self):
        """Values by name, lengths in millimetres; None where ktbake chooses."""
        result = {}
        for setting in DESCRIPTION.settings:
            value = self._values[setting.name]
            if setting.kind == "length":
                value = value * self.millimetres if self._values["use_" + setting.name] else None
            elif setting.kind == "color":
                value = tuple(value)
            result[setting.name] = value
        return result


def apply(scene, values):
    """Sets properties of a scene from ktbake's values, in millimetres."""
    target = scene.ktambientocclusion
    for setting in DESCRIPTION.settings:
        if setting.name not in values:
            continue
        value = values[setting.name]
        if setting.kind == "length":
            setattr(target, "use_" + setting.name, True)
            value /= scene.unit_settings.scale_length * 1000
        elif setting.levels:
            value = str(value)
        setattr(target, setting.name, value)


def add_to_scenes():
    bpy.types.Scene.ktambientocclusion = bpy.props.PointerProperty(type=KtSceneSettings)


def remove_from_scenes():
    del bpy.types.Scene.ktambientocclusion


CLASSES = (KtSceneSettings,)
