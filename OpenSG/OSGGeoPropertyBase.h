// SPDX-License-Identifier: LGPL-2.1-or-later
#ifndef OSGGEOPROPERTYBASE_H
#define OSGGEOPROPERTYBASE_H

#include "OSGGeoPropertyConversion.h"
#include "OSGGeoPropertyInterface.h"
#include "OSGMFBaseTypes.h"
#include "OSGMFSysTypes.h"
#include "OSGMFVecTypes.h"

OSG_BEGIN_NAMESPACE

namespace detail {
/// Notifies the geometries that hold the property that its data changed.
void geoPropertyChanged(const Attachment& property);
} // namespace detail

/// A geometry property of one kind (positions, normals, ...), for any storage type. Indices passed to the functions
/// below must be smaller than size().
template <class GeoPropertyDesc>
class AbstractGeoProperty : public Attachment, public GeoPropertyArrayInterface {
    typedef Attachment Inherited;

public:
    typedef AbstractGeoProperty<GeoPropertyDesc> PropertyType;
    typedef FCPtr<AttachmentPtr, PropertyType> PtrType;
    typedef PtrType Ptr;
    typedef typename GeoPropertyDesc::GenericType GenericType;

    OSG_ABSTR_FIELD_CONTAINER_TMPL_DECL(PtrType)

    /// A new property of the same class with the same values.
    virtual PtrType clone() = 0;

    virtual GenericType getValue(UInt32 index) const = 0;
    virtual void getValue(GenericType& value, UInt32 index) const = 0;
    virtual void setValue(const GenericType& value, UInt32 index) = 0;
    virtual void addValue(const GenericType& value) = 0;
    virtual void push_back(const GenericType& value) = 0;
    /// Returns false and does nothing if index is above size().
    virtual bool insertValue(const GenericType& value, UInt32 index) = 0;

    void changed(const BitVector whichField, const UInt32 origin) override {
        Inherited::changed(whichField, origin);
        if (whichField & ~(ParentsFieldMask | InternalFieldMask))
            detail::geoPropertyChanged(*this);
    }

protected:
    AbstractGeoProperty() = default;
    AbstractGeoProperty(const AbstractGeoProperty& source) : Inherited(source), GeoPropertyArrayInterface(source) {}
    ~AbstractGeoProperty() override = default;

    static FieldContainerType _type;

private:
    friend class FieldContainer;
};

OSG_ABSTR_FIELD_CONTAINER_INL_TMPL_DEF(AbstractGeoProperty, GeoPropertyDesc, PtrType)

template <class GeoPropertyDesc>
FieldContainerType AbstractGeoProperty<GeoPropertyDesc>::_type(GeoPropertyDesc::getTypeName(), "Attachment",
                                                               GeoPropertyDesc::getGroupName());

/// A geometry property with its storage type. GeoPropertyDesc defines Inherited, StoredFieldType and format.
template <class GeoPropertyDesc>
class GeoProperty : public GeoPropertyDesc::Inherited {
    typedef typename GeoPropertyDesc::Inherited LocalInherited;
    typedef typename LocalInherited::PtrType LocalInheritedPtr;

public:
    typedef GeoProperty<GeoPropertyDesc> PropertyType;
    typedef GeoProperty<GeoPropertyDesc> Self;
    typedef FCPtr<LocalInheritedPtr, PropertyType> PtrType;
    typedef PtrType Ptr;
    typedef typename GeoPropertyDesc::StoredFieldType StoredFieldType;
    typedef typename StoredFieldType::StoredType StoredType;
    typedef typename LocalInherited::GenericType StoredGenericType;

    enum { GeoPropDataFieldId = LocalInherited::NextFieldId, NextFieldId = GeoPropDataFieldId + 1 };
    static constexpr BitVector GeoPropDataFieldMask = BitVector(1) << GeoPropDataFieldId;

    OSG_FIELD_CONTAINER_TMPL_DECL(PtrType)

    /// The values in their storage type.
    StoredFieldType* getFieldPtr() { return &_field; }
    const StoredFieldType* getFieldPtr() const { return &_field; }
    StoredFieldType* editFieldPtr() { return &_field; }
    StoredFieldType& getField() { return _field; }
    const StoredFieldType& getField() const { return _field; }
    StoredFieldType& editField() { return _field; }

    LocalInheritedPtr clone() override {
        const PtrType copy = create();
        beginEditCP(copy, GeoPropDataFieldMask);
        copy->_field.setValues(_field);
        endEditCP(copy, GeoPropDataFieldMask);
        return copy;
    }

    UInt32 getFormat() const override { return GeoPropertyDesc::getFormat(); }
    UInt32 getFormatSize() const override { return GeoPropertyDesc::getFormatSize(); }
    UInt32 getDimension() const override { return UInt32(sizeof(StoredType)) / GeoPropertyDesc::getFormatSize(); }
    UInt32 getStride() const override { return 0; }
    UInt32 getSize() const override { return _field.size(); }
    UInt32 size() const override { return _field.size(); }
    UInt8* getData() const override { return const_cast<GeoProperty*>(this)->editData(); }
    UInt8* editData() override { return reinterpret_cast<UInt8*>(_field.getValues().data()); }

    StoredGenericType getValue(const UInt32 index) const override { return toGeneric(_field[index]); }
    void getValue(StoredGenericType& value, const UInt32 index) const override { value = toGeneric(_field[index]); }
    void setValue(const StoredGenericType& value, const UInt32 index) override { _field[index] = toStored(value); }
    void addValue(const StoredGenericType& value) override { _field.push_back(toStored(value)); }
    void push_back(const StoredGenericType& value) override { _field.push_back(toStored(value)); }
    bool insertValue(const StoredGenericType& value, const UInt32 index) override {
        if (index > _field.size())
            return false;
        _field.insert(_field.begin() + index, toStored(value));
        return true;
    }

    void clear() override { _field.clear(); }
    void resize(const size_t newSize) override { _field.resize(newSize); }
    void shrink() override { _field.getValues().shrink_to_fit(); }

protected:
    GeoProperty() = default;
    GeoProperty(const GeoProperty& source) : LocalInherited(source), _field(source._field) {}
    ~GeoProperty() override = default;

    StoredFieldType _field;
    static FieldContainerType _type;

private:
    friend class FieldContainer;

    static StoredGenericType toGeneric(const StoredType& value) {
        return detail::GeoValueConversion<StoredGenericType, StoredType>::toGeneric(value);
    }
    static StoredType toStored(const StoredGenericType& value) {
        return detail::GeoValueConversion<StoredGenericType, StoredType>::toStored(value);
    }
};

OSG_FIELD_CONTAINER_INL_TMPL_DEF(GeoProperty, GeoPropertyDesc, PtrType)

template <class GeoPropertyDesc>
FieldContainerType GeoProperty<GeoPropertyDesc>::_type(GeoPropertyDesc::getTypeName(),
                                                       GeoPropertyDesc::getParentTypeName(),
                                                       GeoPropertyDesc::getGroupName(), []() -> FieldContainerPtr {
                                                           return GeoProperty<GeoPropertyDesc>::createEmpty();
                                                       });

/// Defines the property class Geo<NAME> of the kind KIND and its pointer types. Declares the instantiations that
/// OSGGeoProperty.cpp defines.
#define OSG_GEO_PROPERTY(KIND, NAME, FIELD, FORMAT, COMPONENT)                                                         \
    struct NAME##PropertyDesc : public KIND##PropertyDesc {                                                            \
        typedef KIND Inherited;                                                                                        \
        typedef FIELD StoredFieldType;                                                                                 \
        static const Char8* getTypeName() { return #NAME; }                                                            \
        static const Char8* getParentTypeName() { return #KIND; }                                                      \
        static UInt32 getFormat() { return FORMAT; }                                                                   \
        static UInt32 getFormatSize() { return sizeof(COMPONENT); }                                                    \
    };                                                                                                                 \
    typedef GeoProperty<NAME##PropertyDesc> NAME;                                                                      \
    typedef NAME::PtrType NAME##Ptr;                                                                                   \
    typedef RefPtr<NAME##Ptr> NAME##RefPtr;                                                                            \
    extern template class GeoProperty<NAME##PropertyDesc>;

/// Defines a kind of property and its pointer types.
#define OSG_GEO_PROPERTY_KIND(KIND)                                                                                    \
    typedef AbstractGeoProperty<KIND##PropertyDesc> KIND;                                                              \
    typedef KIND::PtrType KIND##Ptr;                                                                                   \
    typedef RefPtr<KIND##Ptr> KIND##RefPtr;                                                                            \
    using SF##KIND##Ptr = SField<KIND##Ptr>;                                                                           \
    using MF##KIND##Ptr = MField<KIND##Ptr>;                                                                           \
    extern template class AbstractGeoProperty<KIND##PropertyDesc>;

OSG_END_NAMESPACE

#endif
