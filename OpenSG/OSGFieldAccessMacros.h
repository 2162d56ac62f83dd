// SPDX-License-Identifier: LGPL-2.1-or-later
#ifndef OSGFIELDACCESSMACROS_H
#define OSGFIELDACCESSMACROS_H

// Accessors and masks of a container class's fields, in the form of OpenSG 1.x's classes. They need only the field
// classes, so a class that uses them also compiles with OpenSG 1.x.

// Public accessors of a single field _sf<Name> of type SField<OSG_TYPE>: the field itself (editSF, getSF) and its value
// (edit, get, set). None of them announces a change.
#define OSG_SFIELD_ACCESS(OSG_TYPE, OSG_NAME)                                                                          \
    auto* editSF##OSG_NAME(void) {                                                                                     \
        return &_sf##OSG_NAME;                                                                                         \
    }                                                                                                                  \
    const auto* getSF##OSG_NAME(void) const {                                                                          \
        return &_sf##OSG_NAME;                                                                                         \
    }                                                                                                                  \
    auto* getSF##OSG_NAME(void) {                                                                                      \
        return &_sf##OSG_NAME;                                                                                         \
    }                                                                                                                  \
    OSG_TYPE& edit##OSG_NAME(void) {                                                                                   \
        return _sf##OSG_NAME.getValue();                                                                               \
    }                                                                                                                  \
    const OSG_TYPE& get##OSG_NAME(void) const {                                                                        \
        return _sf##OSG_NAME.getValue();                                                                               \
    }                                                                                                                  \
    OSG_TYPE& get##OSG_NAME(void) {                                                                                    \
        return _sf##OSG_NAME.getValue();                                                                               \
    }                                                                                                                  \
    void set##OSG_NAME(const OSG_TYPE& value) {                                                                        \
        _sf##OSG_NAME.setValue(value);                                                                                 \
    }

// The same without the setter, for fields whose setter counts references.
#define OSG_SFIELD_READ_ACCESS(OSG_TYPE, OSG_NAME)                                                                     \
    const auto* getSF##OSG_NAME(void) const {                                                                          \
        return &_sf##OSG_NAME;                                                                                         \
    }                                                                                                                  \
    auto* getSF##OSG_NAME(void) {                                                                                      \
        return &_sf##OSG_NAME;                                                                                         \
    }                                                                                                                  \
    const OSG_TYPE& get##OSG_NAME(void) const {                                                                        \
        return _sf##OSG_NAME.getValue();                                                                               \
    }                                                                                                                  \
    OSG_TYPE& get##OSG_NAME(void) {                                                                                    \
        return _sf##OSG_NAME.getValue();                                                                               \
    }

// Public accessors of a multi field _mf<Name> of type MField<OSG_TYPE>.
#define OSG_MFIELD_ACCESS(OSG_TYPE, OSG_NAME)                                                                          \
    auto* editMF##OSG_NAME(void) {                                                                                     \
        return &_mf##OSG_NAME;                                                                                         \
    }                                                                                                                  \
    const auto* getMF##OSG_NAME(void) const {                                                                          \
        return &_mf##OSG_NAME;                                                                                         \
    }                                                                                                                  \
    auto* getMF##OSG_NAME(void) {                                                                                      \
        return &_mf##OSG_NAME;                                                                                         \
    }                                                                                                                  \
    OSG_TYPE& edit##OSG_NAME(const OSG::UInt32 index) {                                                                \
        return _mf##OSG_NAME[index];                                                                                   \
    }                                                                                                                  \
    const OSG_TYPE& get##OSG_NAME(const OSG::UInt32 index) const {                                                     \
        return _mf##OSG_NAME[index];                                                                                   \
    }                                                                                                                  \
    OSG_TYPE& get##OSG_NAME(const OSG::UInt32 index) {                                                                 \
        return _mf##OSG_NAME[index];                                                                                   \
    }                                                                                                                  \
    auto& get##OSG_NAME(void) {                                                                                        \
        return _mf##OSG_NAME;                                                                                          \
    }                                                                                                                  \
    const auto& get##OSG_NAME(void) const {                                                                            \
        return _mf##OSG_NAME;                                                                                          \
    }

// Defines the mask of a field from its id.
#define OSG_FIELD_MASK_DEF(OSG_CLASS, OSG_FIELD)                                                                       \
    const OSG::BitVector OSG_CLASS::OSG_FIELD##Mask = OSG::BitVector(1) << OSG_CLASS::OSG_FIELD##Id;

#endif
