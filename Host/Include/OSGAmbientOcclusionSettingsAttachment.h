// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

#include "ktAmbientOcclusionSettings.h"
#include "ktHostExport.h"

#include <OpenSG/OSGAttachment.h>
#include <OpenSG/OSGFieldAccessMacros.h>
#include <OpenSG/OSGSFBaseTypes.h>
#include <OpenSG/OSGSFSysTypes.h>
#include <type_traits>

OSG_BEGIN_NAMESPACE

class AmbientOcclusionSettingsAttachment;
typedef FCPtr<AttachmentPtr, AmbientOcclusionSettingsAttachment> AmbientOcclusionSettingsAttachmentPtr;

/// The settings of the calculation of a node's ambient occlusion, one field per setting; ktAmbientOcclusionSettings.h
/// describes them. Several nodes may share one attachment; a node has at most one. A new attachment holds the defaults
/// of the ambient occlusion controller.
class KT_HOST_EXPORT AmbientOcclusionSettingsAttachment : public Attachment {
    typedef Attachment Inherited;

public:
    typedef AmbientOcclusionSettingsAttachmentPtr Ptr;

    // ModeFieldId = Inherited::NextFieldId, then each field's id is one more than that of the field before it.
    enum {
        FieldIdBeforeMode = Inherited::NextFieldId - 1,
#define KT_FIELD_ID(Row, member) Row##FieldId,
        KT_AMBIENT_OCCLUSION_SETTINGS(KT_FIELD_ID)
#undef KT_FIELD_ID
            NextFieldId
    };

#define KT_FIELD_MASK(Row, member) static constexpr BitVector Row##FieldMask = BitVector(1) << Row##FieldId;
    KT_AMBIENT_OCCLUSION_SETTINGS(KT_FIELD_MASK)
#undef KT_FIELD_MASK

    OSG_FIELD_CONTAINER_DECL(AmbientOcclusionSettingsAttachmentPtr)

    // Of each field: getMode(), setMode(), editMode(), getSFMode(), editSFMode(). The types are those of the rows.
#define KT_FIELD_ACCESS(Row, member) OSG_SFIELD_ACCESS(ktAmbientOcclusionSettings::Row::Field, Row)
    KT_AMBIENT_OCCLUSION_SETTINGS(KT_FIELD_ACCESS)
#undef KT_FIELD_ACCESS

protected:
    AmbientOcclusionSettingsAttachment();
    AmbientOcclusionSettingsAttachment(const AmbientOcclusionSettingsAttachment& source);
    ~AmbientOcclusionSettingsAttachment() override;

    // Of OpenSG's fields of bool, only SFBool works.
    template <class ValueT>
    using FieldOf = std::conditional_t<std::is_same_v<ValueT, bool>, SFBool, SField<ValueT>>;

#define KT_FIELD(Row, member)                                                                                          \
    FieldOf<ktAmbientOcclusionSettings::Row::Field> _sf##Row{                                                          \
        static_cast<ktAmbientOcclusionSettings::Row::Field>(ktAmbientOcclusionSettings::Row::initial)};
    KT_AMBIENT_OCCLUSION_SETTINGS(KT_FIELD)
#undef KT_FIELD

    static FieldContainerType _type;

private:
    friend class FieldContainer;
};

OSG_FIELD_CONTAINER_INL_DEF(AmbientOcclusionSettingsAttachment, AmbientOcclusionSettingsAttachmentPtr)

OSG_END_NAMESPACE
