// SPDX-License-Identifier: LGPL-2.1-or-later
#ifndef OSGFIELDCONTAINERMACROS_H
#define OSGFIELDCONTAINERMACROS_H

#include "OSGFieldAccessMacros.h"

// Macros with which a container class declares its type, its creation functions and its field accessors.
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
//       Lamp(); Lamp(const Lamp &source); ~Lamp() override;
//       SField<Real32> _sfPower;
//       static FieldContainerType _type;
//     private:
//       friend class FieldContainer;
//   };
//   OSG_FIELD_CONTAINER_INL_DEF(Lamp, LampPtr)
//
//   OSG_FIELD_CONTAINER_DEF(Lamp, LampPtr)    // Lamp.cpp
//
// Names and arguments are those of OpenSG 1.x, except OSG_SFIELD_ACCESS and the like (OSGFieldAccessMacros.h).

#define OSG_FC_TYPE_FUNCTIONS_DECL                                                                                     \
    OSG::FieldContainerType& getType(void) override;                                                                   \
    const OSG::FieldContainerType& getType(void) const override;                                                       \
    static OSG::FieldContainerType& getClassType(void);                                                                \
    static OSG::UInt32 getClassTypeId(void);

#define OSG_FC_SIZE_FUNCTIONS_DECL OSG::UInt32 getContainerSize(void) const override;

#define OSG_FC_CREATE_FUNCTIONS_DECL(OSG_CLASS_PTR)                                                                    \
    static OSG_CLASS_PTR create(void);                                                                                 \
    static OSG_CLASS_PTR createEmpty(void);                                                                            \
    OSG::FieldContainerPtr shallowCopy(void) const override;

// In the class: for a class that can be created, and for an abstract one.
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
    inline OSG_CLASS_PTR OSG_CLASS::create(void) {                                                                     \
        return OSG_CLASS_PTR::dcast(getClassType().createFieldContainer());                                            \
    }                                                                                                                  \
    inline OSG_CLASS_PTR OSG_CLASS::createEmpty(void) {                                                                \
        OSG_CLASS_PTR result;                                                                                          \
        newPtr(result);                                                                                                \
        return result;                                                                                                 \
    }
#define OSG_ABSTR_FIELD_CONTAINER_INL_DEF(OSG_CLASS, OSG_CLASS_PTR)                                                    \
    inline OSG::FieldContainerType& OSG_CLASS::getClassType(void) {                                                    \
        return _type;                                                                                                  \
    }                                                                                                                  \
    inline OSG::UInt32 OSG_CLASS::getClassTypeId(void) {                                                               \
        return _type.getId();                                                                                          \
    }

// In the source file.
#define OSG_FIELD_CONTAINER_DEF(OSG_CLASS, OSG_CLASS_PTR)                                                              \
    OSG_ABSTR_FIELD_CONTAINER_DEF(OSG_CLASS, OSG_CLASS_PTR)                                                            \
    OSG::FieldContainerPtr OSG_CLASS::shallowCopy(void) const {                                                        \
        OSG_CLASS_PTR result;                                                                                          \
        newPtr(result, this);                                                                                          \
        return result;                                                                                                 \
    }
#define OSG_ABSTR_FIELD_CONTAINER_DEF(OSG_CLASS, OSG_CLASS_PTR)                                                        \
    OSG::FieldContainerType& OSG_CLASS::getType(void) {                                                                \
        return _type;                                                                                                  \
    }                                                                                                                  \
    const OSG::FieldContainerType& OSG_CLASS::getType(void) const {                                                    \
        return _type;                                                                                                  \
    }                                                                                                                  \
    OSG::UInt32 OSG_CLASS::getContainerSize(void) const {                                                              \
        return sizeof(OSG_CLASS);                                                                                      \
    }

// The same for a class template with one parameter, all in the header.
#define OSG_FIELD_CONTAINER_TMPL_DECL(OSG_CLASS_PTR) OSG_FIELD_CONTAINER_DECL(OSG_CLASS_PTR)
#define OSG_ABSTR_FIELD_CONTAINER_TMPL_DECL(OSG_CLASS_PTR) OSG_ABSTR_FIELD_CONTAINER_DECL(OSG_CLASS_PTR)

#define OSG_ABSTR_FIELD_CONTAINER_INL_TMPL_DEF(OSG_CLASS, OSG_TMPL_PARAM, OSG_CLASS_PTR)                               \
    template <class OSG_TMPL_PARAM>                                                                                    \
    inline OSG::FieldContainerType& OSG_CLASS<OSG_TMPL_PARAM>::getType(void) {                                         \
        return _type;                                                                                                  \
    }                                                                                                                  \
    template <class OSG_TMPL_PARAM>                                                                                    \
    inline const OSG::FieldContainerType& OSG_CLASS<OSG_TMPL_PARAM>::getType(void) const {                             \
        return _type;                                                                                                  \
    }                                                                                                                  \
    template <class OSG_TMPL_PARAM>                                                                                    \
    inline OSG::FieldContainerType& OSG_CLASS<OSG_TMPL_PARAM>::getClassType(void) {                                    \
        return _type;                                                                                                  \
    }                                                                                                                  \
    template <class OSG_TMPL_PARAM>                                                                                    \
    inline OSG::UInt32 OSG_CLASS<OSG_TMPL_PARAM>::getClassTypeId(void) {                                               \
        return _type.getId();                                                                                          \
    }                                                                                                                  \
    template <class OSG_TMPL_PARAM>                                                                                    \
    inline OSG::UInt32 OSG_CLASS<OSG_TMPL_PARAM>::getContainerSize(void) const {                                       \
        return sizeof(OSG_CLASS<OSG_TMPL_PARAM>);                                                                      \
    }

#define OSG_FIELD_CONTAINER_INL_TMPL_DEF(OSG_CLASS, OSG_TMPL_PARAM, OSG_CLASS_PTR)                                     \
    OSG_ABSTR_FIELD_CONTAINER_INL_TMPL_DEF(OSG_CLASS, OSG_TMPL_PARAM, OSG_CLASS_PTR)                                   \
    template <class OSG_TMPL_PARAM>                                                                                    \
    inline typename OSG_CLASS<OSG_TMPL_PARAM>::OSG_CLASS_PTR OSG_CLASS<OSG_TMPL_PARAM>::create(void) {                 \
        return OSG_CLASS_PTR::dcast(getClassType().createFieldContainer());                                            \
    }                                                                                                                  \
    template <class OSG_TMPL_PARAM>                                                                                    \
    inline typename OSG_CLASS<OSG_TMPL_PARAM>::OSG_CLASS_PTR OSG_CLASS<OSG_TMPL_PARAM>::createEmpty(void) {            \
        OSG_CLASS_PTR result;                                                                                          \
        OSG::FieldContainer::newPtr(result);                                                                           \
        return result;                                                                                                 \
    }                                                                                                                  \
    template <class OSG_TMPL_PARAM>                                                                                    \
    inline OSG::FieldContainerPtr OSG_CLASS<OSG_TMPL_PARAM>::shallowCopy(void) const {                                 \
        OSG_CLASS_PTR result;                                                                                          \
        OSG::FieldContainer::newPtr(result, this);                                                                     \
        return result;                                                                                                 \
    }

#endif
