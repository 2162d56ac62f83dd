// SPDX-License-Identifier: LGPL-2.1-or-later
#ifndef OSGSWITCH_H
#define OSGSWITCH_H

#include "OSGGroup.h"
#include "OSGSFSysTypes.h"

OSG_BEGIN_NAMESPACE

class Switch;
typedef FCPtr<GroupPtr, Switch> SwitchPtr;
typedef RefPtr<SwitchPtr> SwitchRefPtr;

/// The core of nodes that show one child, all children or none.
class Switch : public Group {
    typedef Group Inherited;

public:
    typedef SwitchPtr Ptr;

    enum { ALL = -2, NONE = -1 };

    enum { ChoiceFieldId = Inherited::NextFieldId, NextFieldId = ChoiceFieldId + 1 };
    static const BitVector ChoiceFieldMask;

    OSG_FIELD_CONTAINER_DECL(SwitchPtr)

    /// Index of the visible child, ALL or NONE. Other values show nothing. NONE in a new switch.
    OSG_SFIELD_ACCESS(Int32, Choice)

protected:
    Switch() : _sfChoice(NONE) {}
    Switch(const Switch& source) : Inherited(source), _sfChoice(source._sfChoice) {}
    ~Switch() override = default;

    SFInt32 _sfChoice;
    static FieldContainerType _type;

private:
    friend class FieldContainer;
};

OSG_FIELD_CONTAINER_INL_DEF(Switch, SwitchPtr)

OSG_END_NAMESPACE

#endif
