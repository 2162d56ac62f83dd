// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

#include "ktGltfAccessor.h"

/// What a buffer view is for (glTF 2.0, bufferView.target).
constexpr int ktVertexTarget = 34962, ktIndexTarget = 34963;

/// An accessor to add.
struct ktGltfNewAccessor {
    std::size_t view;
    std::size_t byteOffset;
    std::size_t count;
    ktComponent component = ktComponent::Float;
    const char* type = "SCALAR";
    bool normalized = false;
    const char* mark = nullptr;            ///< text for "ambientOcclusion" in the extras; null: none
    std::vector<float> min = {}, max = {}; ///< one number per component; not written if empty
};

/// Marks a buffer view, a buffer or an accessor as added by this program.
void ktMarkAsOwn(ktJson& entry);
/// Whether it is marked so.
bool ktIsOwn(const ktJson& entry);

/// Adds data to a document. Marks its buffer views with "ambientOcclusion": true in their extras, to tell them from the
/// data of the input. The constructor removes data that an earlier store added and that nothing refers to any more, so
/// repeated baking does not make a file grow. New data goes to the end of the first buffer if that buffer has no file
/// (as in a .glb), else into a buffer that is marked in the same way.
class ktGltfStore {
public:
    /// The document must outlive the store. Remove references to old data from it first. Throws ktFileError if one of
    /// the document's collections is not an array.
    explicit ktGltfStore(ktGltfDocument& document);
    ktGltfStore(const ktGltfStore&) = delete;
    ktGltfStore& operator=(const ktGltfStore&) = delete;

    /// Adds a buffer view with a copy of the data, aligned to 4 bytes. Returns its index.
    /// @param stride bytes from one element to the next, needed if several accessors use the view; 0: none
    /// @param target ktVertexTarget or ktIndexTarget
    std::size_t addView(const void* data, std::size_t size, std::size_t stride, int target);
    /// Adds an accessor to a view. Returns its index.
    std::size_t addAccessor(const ktGltfNewAccessor& accessor);
    /// Updates the document's lengths. Call once, after everything is added.
    void finish();

private:
    bool mayChange(std::size_t buffer) const; ///< whether data may be added to the buffer or removed from it
    void findOwnRegions();
    void reclaimAccessors();
    void reclaimViews();
    void compactBuffer(std::size_t index);
    void chooseBuffer();
    std::size_t appendBytes(std::size_t buffer, const void* data, std::size_t size);

    ktJson& list(const char* collection) { return document.json[collection]; }

    ktGltfDocument& document;
    std::vector<std::string> madeCollections; ///< arrays of the document that the store created
    std::vector<std::size_t> ownBegin; ///< per buffer, where the input's data ends and ours begins; SIZE_MAX: none
    std::size_t target;                ///< buffer for new data; SIZE_MAX: not chosen yet
    std::vector<std::size_t> freedAccessors, freedViews; ///< entries to reuse, the last one first
};
