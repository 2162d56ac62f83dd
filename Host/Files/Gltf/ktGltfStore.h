// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

#include "ktGltfAccessor.h"

/// What an accessor to be added says about its data.
struct ktGltfNewAccessor {
    std::size_t view;
    std::size_t byteOffset;
    std::size_t count;
    ktComponent component = ktComponent::Float;
    const char* type = "SCALAR";
    bool normalized = false;
    const char* mark = nullptr;            ///< text that the extras hold under "ambientOcclusion"; null: none
    std::vector<float> min = {}, max = {}; ///< written when not empty; one number a component
};

/// Marks a buffer view, a buffer or an accessor as added by this program.
void ktMarkAsOwn(ktJson& entry);

/// Adds data to a document so that it can be told from what came in: buffer views carry "ambientOcclusion": true in
/// their extras. Making a store first clears away what an earlier one added and nothing refers to any more, so that
/// baking a file again and again does not let it grow. Data goes to the end of the first buffer where that has no file
/// of its own (as in a .glb), else into a buffer that is marked in the same way.
class ktGltfStore {
public:
    /// The document must outlive the store, and references that are no longer wanted must be gone from it. Throws
    /// ktFileError when one of the document's collections is not an array.
    explicit ktGltfStore(ktGltfDocument& document);
    ktGltfStore(const ktGltfStore&) = delete;
    ktGltfStore& operator=(const ktGltfStore&) = delete;

    /// Adds a buffer view with a copy of the data, aligned to 4 bytes; returns its index.
    /// @param stride bytes from one element to the next, needed when several accessors use the view; 0: none
    /// @param target 34962 for vertices, 34963 for indices
    std::size_t addView(const void* data, std::size_t size, std::size_t stride, int target);
    /// Adds an accessor to a view; returns its index.
    std::size_t addAccessor(const ktGltfNewAccessor& accessor);
    /// Brings the document's lengths up to date. Call once, when all is added.
    void finish();

private:
    void findOwnRegions();
    void reclaimAccessors();
    void reclaimViews();
    void compactBuffer(std::size_t index);
    void chooseBuffer();
    std::size_t appendBytes(std::size_t buffer, const void* data, std::size_t size);

    ktJson& list(const char* collection) { return document.json[collection]; }

    ktGltfDocument& document;
    std::vector<std::string> madeCollections; ///< arrays of the document that were not there before
    std::vector<std::size_t> ownBegin; ///< per buffer, where data that came in ends and ours begins; SIZE_MAX: none
    std::size_t target;                ///< buffer that takes new data; SIZE_MAX before the first
    std::vector<std::size_t> freedAccessors, freedViews; ///< entries to be used again, the last one first
};
