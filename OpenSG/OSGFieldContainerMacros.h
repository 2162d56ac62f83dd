// SPDX-License-Identifier: LGPL-2.1-or-later
#ifndef OSGFIELDCONTAINERMACROS_H
#define OSGFIELDCONTAINERMACROS_H

// What a container class writes instead of its type and creation functions, and of the accessors of its fields.
//
//   class Lamp : public Attachment            // Lamp.h
//   {
//       typedef Attachment Inherited;
//     public:
//       typedef LampPtr Ptr;
//       enum { PowerFieldId = Inherited::NextFieldId, NextFieldId = PowerFieldId + 1 };
//       static const BitVector PowerFieldMask;
//       OSG_FIELD_CONTAINER_DECL(LampPtr)
//       OSG_SFIELD_ACCESS(Real32, Power)
//     protected:
//       Lamp(); Lamp(const Lamp &source); virtual ~Lamp();
//       SField<Real32> _sfPower;
//       static FieldContainerType _type;
//     private:
//       friend class FieldContainer;
//   };
//   OSG_FIELD_CONTAINER_INL_DEF(Lamp, LampPtr)
//
//   OSG_FIELD_CONTAINER_DEF(Lamp, LampPtr)    // Lamp.cpp
//
// Names and arguments of the OSG_..._DECL and _DEF macros are those of OpenSG 1.x.

#define OSG_FC_TYPE_FUNCTIONS_DECL                                                                                     \
    virtual OSG::FieldContainerType &getType(void);                                                                    \
    virtual const OSG::FieldContainerType &getType(void) const;                                                        \
    static OSG::FieldContainerType &getClassType(void);                                                                \
    static OSG::UInt32 getClassTypeId(void);

#define OSG_FC_SIZE_FUNCTIONS_DECL virtual OSG::UInt32 getContainerSize(void) const;

#define OSG_FC_CREATE_FUNCTIONS_DECL(OSG_CLASS_PTR)                                                                    \
    static OSG_CLASS_PTR create(void);                                                                                 \
    static OSG_CLASS_PTR createEmpty(void);                                                                            \
    virtual OSG::FieldContainerPtr shallowCopy(void) const;

// In the class: a class that can be created, and an abstract one.
#define OSG_FIELD_CONTAINER_DECL(OSG_CLASS_PTR)                                                                        \
    OSG_FC_TYPE_FUNCTIONS_DECL                                                                                         \
    OSG_FC_CREATE_FUNCTIONS_DECL(OSG_CLASS_PTR)                                                                        \
    OSG_FC_SIZE_FUNCTIONS_DECL
#define OSG_ABSTR_FIELD_CONTAINER_DECL(OSG_CLASS_PTR)                                                                  \
    OSG_FC_TYPE_FUNCTIONS_DECL                                                                                         \
    OSG_FC_SIZE_FUNCTIONS_DECL

// In the header, after the class.
#define OSG_FIELD_CONTAINER_INL_DEF(OSG_CLASS, OSG_CLASS_PTR)                                                          \
    OSG_ABSTR_FIELD_CONTAINER_INL_DEF(OSG_CLASS, OSG_CLASS_PTR)                                                        \
    inline OSG_CLASS_PTR OSG_CLASS::create(void)                                                                       \
    {                                                                                                                  \
        return OSG_CLASS_PTR::dcast(getClassType().getPrototype()->shallowCopy());                                     \
    }                                                                                                                  \
    inline OSG_CLASS_PTR OSG_CLASS::createEmpty(void)                                                                  \
    {                                                                                                                  \
        OSG_CLASS_PTR result;                                                                                          \
        newPtr(result);                                                                                                \
        return result;                                                                                                 \
    }
#define OSG_ABSTR_FIELD_CONTAINER_INL_DEF(OSG_CLASS, OSG_CLASS_PTR)                                                    \
    inline OSG::FieldContainerType &OSG_CLASS::getClassType(void)                                                      \
    {                                                                                                                  \
        return _type;                                                                                                  \
    }                                                                                                                  \
    inline OSG::UInt32 OSG_CLASS::getClassTypeId(void)                                                                 \
    {                                                                                                                  \
        return _type.getId();                                                                                          \
    }

// In the source file.
#define OSG_FIELD_CONTAINER_DEF(OSG_CLASS, OSG_CLASS_PTR)                                                              \
    OSG_ABSTR_FIELD_CONTAINER_DEF(OSG_CLASS, OSG_CLASS_PTR)                                                            \
    OSG::FieldContainerPtr OSG_CLASS::shallowCopy(void) const                                                          \
    {                                                                                                                  \
        OSG_CLASS_PTR result;                                                                                          \
        newPtr(result, this);                                                                                          \
        return result;                                                                                                 \
    }
#define OSG_ABSTR_FIELD_CONTAINER_DEF(OSG_CLASS, OSG_CLASS_PTR)                                                        \
    OSG::FieldContainerType &OSG_CLASS::getType(void)                                                                  \
    {                                                                                                                  \
        return _type;                                                                                                  \
    }                                                                                                                  \
    const OSG::FieldContainerType &OSG_CLASS::getType(void) const                                                      \
    {                                                                                                                  \
        return _type;                                                                                                  \
    }                                                                                                                  \
    OSG::UInt32 OSG_CLASS::getContainerSize(void) const                                                                \
    {                                                                                                                  \
        return sizeof(OSG_CLASS);                                                                                      \
    }

// Same for a class template of one parameter, all of it in the header.
#define OSG_FIELD_CONTAINER_TMPL_DECL(OSG_CLASS_PTR) OSG_FIELD_CONTAINER_DECL(OSG_CLASS_PTR)
#define OSG_ABSTR_FIELD_CONTAINER_TMPL_DECL(OSG_CLASS_PTR) OSG_ABSTR_FIELD_CONTAINER_DECL(OSG_CLASS_PTR)

#define OSG_ABSTR_FIELD_CONTAINER_INL_TMPL_DEF(OSG_CLASS, OSG_TMPL_PARAM, OSG_CLASS_PTR)                               \
    template <class OSG_TMPL_PARAM>                                                                                    \
    inline OSG::FieldContainerType &OSG_CLASS<OSG_TMPL_PARAM>::getType(void)                                           \
    {                                                                                                                  \
        return _type;                                                                                                  \
    }                                                                                                                  \
    template <class OSG_TMPL_PARAM>                                                                                    \
    inline const OSG::FieldContainerType &OSG_CLASS<OSG_TMPL_PARAM>::getType(void) const                               \
    {                                                                                                                  \
        return _type;                                                                                                  \
    }                                                                                                                  \
    template <class OSG_TMPL_PARAM>                                                                                    \
    inline OSG::FieldContainerType &OSG_CLASS<OSG_TMPL_PARAM>::getClassType(void)                                      \
    {                                                                                                                  \
        return _type;                                                                                                  \
    }                                                                                                                  \
    template <class OSG_TMPL_PARAM>                                                                                    \
    inline OSG::UInt32 OSG_CLASS<OSG_TMPL_PARAM>::getClassTypeId(void)                                                 \
    {                                                                                                                  \
        return _type.getId();                                                                                          \
    }                                                                                                                  \
    template <class OSG_TMPL_PARAM>                                                                                    \
    inline OSG::UInt32 OSG_CLASS<OSG_TMPL_PARAM>::getContainerSize(void) const                                         \
    {                                                                                                                  \
        return sizeof(OSG_CLASS<OSG_TMPL_PARAM>);                                                                      \
    }

#define OSG_FIELD_CONTAINER_INL_TMPL_DEF(OSG_CLASS, OSG_TMPL_PARAM, OSG_CLASS_PTR)                                     \
    OSG_ABSTR_FIELD_CONTAINER_INL_TMPL_DEF(OSG_CLASS, OSG_TMPL_PARAM, OSG_CLASS_PTR)                                   \
    template <class OSG_TMPL_PARAM>                                                                                    \
    inline typename OSG_CLASS<OSG_TMPL_PARAM>::OSG_CLASS_PTR OSG_CLASS<OSG_TMPL_PARAM>::create(void)                   \
    {                                                                                                                  \
        return OSG_CLASS_PTR::dcast(getClassType().getPrototype()->shallowCopy());                                     \
    }                                                                                                                  \
    template <class OSG_TMPL_PARAM>                                                                                    \
    inline typename OSG_CLASS<OSG_TMPL_PARAM>::OSG_CLASS_PTR OSG_CLASS<OSG_TMPL_PARAM>::createEmpty(void)              \
    {                                                                                                                  \
        OSG_CLASS_PTR result;                                                                                          \
        OSG::FieldContainer::newPtr(result);                                                                           \
        return result;                                                                                                 \
    }                                                                                                                  \
    template <class OSG_TMPL_PARAM>                                                                                    \
    inline OSG::FieldContainerPtr OSG_CLASS<OSG_TMPL_PARAM>::shallowCopy(void) const                                   \
    {                                                                                                                  \
        OSG_CLASS_PTR result;                                                                                          \
        OSG::FieldContainer::newPtr(result, this);                                                                     \
        return result;                                                                                                 \
    }

// Public accessors of a single field _sf<Name> of the type SField<OSG_TYPE>: the field itself (editSF, getSF) and its
// value (edit, get, set). None of them announces anything.
#define OSG_SFIELD_ACCESS(OSG_TYPE, OSG_NAME)                                                                          \
    OSG::SField<OSG_TYPE> *editSF##OSG_NAME(void) { return &_sf##OSG_NAME; }                                           \
    const OSG::SField<OSG_TYPE> *getSF##OSG_NAME(void) const { return &_sf##OSG_NAME; }                                \
    OSG::SField<OSG_TYPE> *getSF##OSG_NAME(void) { return &_sf##OSG_NAME; }                                            \
    OSG_TYPE &edit##OSG_NAME(void) { return _sf##OSG_NAME.getValue(); }                                                \
    const OSG_TYPE &get##OSG_NAME(void) const { return _sf##OSG_NAME.getValue(); }                                     \
    OSG_TYPE &get##OSG_NAME(void) { return _sf##OSG_NAME.getValue(); }                                                 \
    void set##OSG_NAME(const OSG_TYPE &value) { _sf##OSG_NAME.setValue(value); }

// Same without the setter, for fields whose setter counts references.
#define OSG_SFIELD_READ_ACCESS(OSG_TYPE, OSG_NAME)                                                                     \
    const OSG::SField<OSG_TYPE> *getSF##OSG_NAME(void) const { return &_sf##OSG_NAME; }                                \
    OSG::SField<OSG_TYPE> *getSF##OSG_NAME(void) { return &_sf##OSG_NAME; }                                            \
    const OSG_TYPE &get##OSG_NAME(void) const { return _sf##OSG_NAME.getValue(); }                                     \
    OSG_TYPE &get##OSG_NAME(void) { return _sf##OSG_NAME.getValue(); }

// Public accessors of a multi field _mf<Name> of the type MField<OSG_TYPE>.
#define OSG_MFIELD_ACCESS(OSG_TYPE, OSG_NAME)                                                                          \
    OSG::MField<OSG_TYPE> *editMF##OSG_NAME(void) { return &_mf##OSG_NAME; }                                           \
    const OSG::MField<OSG_TYPE> *getMF##OSG_NAME(void) const { return &_mf##OSG_NAME; }                                \
    OSG::MField<OSG_TYPE> *getMF##OSG_NAME(void) { return &_mf##OSG_NAME; }                                            \
    OSG_TYPE &edit##OSG_NAME(const OSG::UInt32 index) { return _mf##OSG_NAME[index]; }                                 \
    const OSG_TYPE &get##OSG_NAME(const OSG::UInt32 index) const { return _mf##OSG_NAME[index]; }                      \
    OSG_TYPE &get##OSG_NAME(const OSG::UInt32 index) { return _mf##OSG_NAME[index]; }                                  \
    OSG::MField<OSG_TYPE> &get##OSG_NAME(void) { return _mf##OSG_NAME; }                                               \
    const OSG::MField<OSG_TYPE> &get##OSG_NAME(void) const { return _mf##OSG_NAME; }

// The mask of a field whose id is known.
#define OSG_FIELD_MASK_DEF(OSG_CLASS, OSG_FIELD)                                                                       \
    const OSG::BitVector OSG_CLASS::OSG_FIELD##Mask = OSG::BitVector(1) << OSG_CLASS::OSG_FIELD##Id;

#endif
