// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

#include "ktGltfDocument.h"

/// Changes the content of buffer views. finish() writes all buffers with data as one buffer without a file: the input's
/// data first, results of this program last (as ktGltfStore needs them), and nothing that no view shows. Views that
/// share bytes share them afterwards. Buffers without data stay apart.
class ktBufferRebuild {
public:
    /// The document must outlive the object, and its buffers may not change until finish().
    explicit ktBufferRebuild(ktGltfDocument& document);

    /// Gives a view other bytes.
    void replace(std::size_t view, ktBytes bytes);
    /// Removes a view that nothing refers to.
    void remove(std::size_t view);
    /// Adds a view, in the place of a removed one if there is one. Returns its index.
    /// @param json byteStride, target, extras
    std::size_t add(const ktJson& json, ktBytes bytes);
    /// Stores a view as a stream of EXT_meshopt_compression.
    /// @param extension byteStride, count, mode, filter
    void compress(std::size_t view, ktBytes stream, ktJson extension);
    void finish();

private:
    enum class How { Kept, Replaced, Compressed, Removed };
    // Moving JSON does not throw, which the check does not see. NOLINTNEXTLINE(bugprone-exception-escape)
    struct Change {
        How how = How::Kept;
        ktBytes bytes = {};
        ktJson extension = {};
    };
    struct Piece;

    std::vector<Piece> findPieces(bool own) const;
    void keepPieces(bool own);
    void placeChanged(bool own);
    void moveViewsWithoutData();
    void makeBuffers();
    void removeViews();
    std::size_t append(const std::uint8_t* data, std::size_t size, std::size_t phase);

    ktGltfDocument& document;
    ktJson& views;
    std::vector<Change> changes; ///< by view
    ktBytes bytes;               ///< of the new buffer
    std::size_t fallbackSize = 0;
    std::vector<bool> isPlaced;           ///< by view
    std::vector<std::size_t> withoutData; ///< old buffers that stay
};
