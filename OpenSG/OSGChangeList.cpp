// SPDX-License-Identifier: LGPL-2.1-or-later
// Records the edits, references, creations and destructions of containers per thread.
#include "OSGChangeList.h"

#include <atomic>
#include <cstdio>
#include <unordered_map>

OSG_BEGIN_NAMESPACE

namespace {

std::atomic<bool> readWriteDefault(false);
std::atomic<UInt32> maxChangedSize(0);

// Both may be the same list.
template <class T>
void append(std::vector<T>& list, const std::vector<T>& more) {
    const std::size_t count = more.size();
    for (std::size_t i = 0; i < count; ++i)
        list.push_back(more[i]);
}

} // namespace

ChangeList::ChangeList() : _readOnly(!readWriteDefault) {}

void ChangeList::addChanged(const FieldContainerPtr& container, const BitVector whichField) {
    if (_readOnly)
        return;
    if (maxChangedSize != 0 && _changed.size() > maxChangedSize)
        compactChanged();
    _changed.emplace_back(container.getFieldContainerId(), whichField);
}

void ChangeList::addAddRefd(const FieldContainerPtr& container) {
    if (!_readOnly)
        _addRefd.push_back(container.getFieldContainerId());
}

void ChangeList::addSubRefd(const FieldContainerPtr& container) {
    addSubRefd(container.getFieldContainerId());
}

void ChangeList::addSubRefd(const UInt32 containerId) {
    if (!_readOnly)
        _subRefd.push_back(containerId);
}

void ChangeList::addCreated(const UInt32 containerId) {
    if (!_readOnly)
        _created.push_back(containerId);
}

void ChangeList::addDestroyed(const UInt32 containerId) {
    if (!_readOnly)
        _destroyed.push_back(containerId);
}

void ChangeList::clearAll() {
    _changed.clear();
    _addRefd.clear();
    _subRefd.clear();
    _created.clear();
    _destroyed.clear();
}

void ChangeList::swap(ChangeList& other) {
    _changed.swap(other._changed);
    _addRefd.swap(other._addRefd);
    _subRefd.swap(other._subRefd);
    _created.swap(other._created);
    _destroyed.swap(other._destroyed);
}

bool ChangeList::merge(const ChangeList& other) {
    append(_changed, other._changed);
    append(_addRefd, other._addRefd);
    append(_subRefd, other._subRefd);
    append(_created, other._created);
    append(_destroyed, other._destroyed);
    return true;
}

bool ChangeList::empty() const {
    return _changed.empty() && _addRefd.empty() && _subRefd.empty() && _created.empty() && _destroyed.empty();
}

void ChangeList::setReadWriteDefault(const bool readWrite) {
    readWriteDefault = readWrite;
}

void ChangeList::setMaxChangedSize(const UInt32 size) {
    maxChangedSize = size;
}

UInt32 ChangeList::getMaxChangedSize() {
    return maxChangedSize;
}

void ChangeList::compactChanged() {
    std::vector<ChangeEntry> compacted;
    std::unordered_map<UInt32, size_t> places;
    for (const ChangeEntry& entry : _changed) {
        const auto place = places.emplace(entry.first, compacted.size());
        if (place.second)
            compacted.push_back(entry);
        else
            compacted[place.first->second].second |= entry.second;
    }
    _changed.swap(compacted);
}

void ChangeList::dump() const {
    std::fprintf(stderr, "ChangeList: %zu changed, %zu referenced, %zu unreferenced, %zu created, %zu destroyed\n",
                 _changed.size(), _addRefd.size(), _subRefd.size(), _created.size(), _destroyed.size());
}

OSG_END_NAMESPACE
