// SPDX-License-Identifier: LGPL-2.1-or-later
#ifndef OSGFIELDACCESSMACROS_H
#define OSGFIELDACCESSMACROS_H

// Accessors and masks of a container class' fields, in the form that OpenSG 1.x's classes have them. Nothing else is
// needed for them than the field classes, so that a class written with them compiles with OpenSG 1.x, too.

// Public accessors of a single field _sf<Name> of the type SField<OSG_TYPE>: the field itself (editSF, getSF) and its
// value (edit, get, set). None of them announces anything.
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

// Same without the setter, for fields whose setter counts references.
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

// Public accessors of a multi field _mf<Name> of the type MField<OSG_TYPE>.
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

// The mask of a field whose id is known.
#define OSG_FIELD_MASK_DEF(OSG_CLASS, OSG_FIELD)                                                                       \
    const OSG::BitVector OSG_CLASS::OSG_FIELD##Mask = OSG::BitVector(1) << OSG_CLASS::OSG_FIELD##Id;

#endif
