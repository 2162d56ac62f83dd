// SPDX-License-Identifier: LGPL-2.1-or-later
#ifndef OSGCHANGELIST_H
#define OSGCHANGELIST_H

#include "OSGFieldContainerPtr.h"

#include <utility>
#include <vector>

OSG_BEGIN_NAMESPACE

/// Records one thread's edits, references, creations and destructions of containers, in order.
///
/// A thread has at most one current list (Thread::getCurrentChangeList()). A list is read-only unless
/// setReadWriteDefault() was called before the thread's first use of it, or setReadOnly(false) on it. Read-only lists
/// record nothing, so that they take no memory in programs that do not use them.
class ChangeList {
public:
    /// Container id and the fields that changed.
    typedef std::pair<UInt32, BitVector> ChangeEntry;
    /// Container id.
    typedef UInt32 IdRefEntry;

    typedef std::vector<ChangeEntry>::size_type changed_size_type;
    typedef std::vector<ChangeEntry>::const_iterator changed_const_iterator;
    typedef std::vector<IdRefEntry>::size_type refd_size_type;
    typedef std::vector<IdRefEntry>::const_iterator refd_const_iterator;
    typedef refd_size_type idrefd_size_type;
    typedef refd_const_iterator idrefd_const_iterator;

    ChangeList();
    ChangeList(const ChangeList&) = delete;
    void operator=(const ChangeList&) = delete;

    changed_size_type sizeChanged() const { return _changed.size(); }
    changed_const_iterator beginChanged() const { return _changed.begin(); }
    changed_const_iterator endChanged() const { return _changed.end(); }

    refd_size_type sizeAddRefd() const { return _addRefd.size(); }
    refd_const_iterator beginAddRefd() const { return _addRefd.begin(); }
    refd_const_iterator endAddRefd() const { return _addRefd.end(); }

    refd_size_type sizeSubRefd() const { return _subRefd.size(); }
    refd_const_iterator beginSubRefd() const { return _subRefd.begin(); }
    refd_const_iterator endSubRefd() const { return _subRefd.end(); }

    idrefd_size_type sizeCreated() const { return _created.size(); }
    idrefd_const_iterator beginCreated() const { return _created.begin(); }
    idrefd_const_iterator endCreated() const { return _created.end(); }

    idrefd_size_type sizeDestroyed() const { return _destroyed.size(); }
    idrefd_const_iterator beginDestroyed() const { return _destroyed.begin(); }
    idrefd_const_iterator endDestroyed() const { return _destroyed.end(); }

    // These append an entry and are called by the edit functions of OSGFieldContainerPtr.h. They do nothing on a
    // read-only list.
    void addChanged(const FieldContainerPtr& container, BitVector whichField);
    void addAddRefd(const FieldContainerPtr& container);
    void addSubRefd(const FieldContainerPtr& container);
    void addSubRefd(UInt32 containerId);
    void addCreated(UInt32 containerId);
    void addDestroyed(UInt32 containerId);

    void clearAll();
    /// Exchanges the entries with those of other. Neither list changes between read-only and read-write.
    void swap(ChangeList& other);
    /// Appends the entries of other, even if this list is read-only. Returns true.
    bool merge(const ChangeList& other);
    bool empty() const;

    void setReadOnly(bool readOnly) { _readOnly = readOnly; }
    /// Sets whether lists created from now on record changes.
    static void setReadWriteDefault(bool readWrite = true);

    /// Compacts the changes when more than size are recorded. 0 (the default) means never.
    static void setMaxChangedSize(UInt32 size);
    static UInt32 getMaxChangedSize();
    /// Merges all changes of a container into one entry, at the position of its first change.
    void compactChanged();

    /// Writes the number of entries by kind to standard error.
    void dump() const;

private:
    std::vector<ChangeEntry> _changed;
    std::vector<IdRefEntry> _addRefd;
    std::vector<IdRefEntry> _subRefd;
    std::vector<IdRefEntry> _created;
    std::vector<IdRefEntry> _destroyed;
    bool _readOnly;
};

OSG_END_NAMESPACE

#endif
