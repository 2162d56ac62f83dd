// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

#include "ktGltfDocument.h"

/// glTF's component types.
enum class ktComponent : std::uint32_t {
    Byte = 5120,
    UnsignedByte = 5121,
    Short = 5122,
    UnsignedShort = 5123,
    UnsignedInt = 5125,
    Float = 5126,
};

/// Size of one component in bytes.
std::size_t ktComponentSize(ktComponent type);
/// Number of components of "SCALAR", "VEC2" to "VEC4", "MAT4"; 0 for any other name.
int ktComponentCount(const std::string& type);

/// Typed, range-checked view of one accessor. Valid while the document's buffers are not changed.
class ktGltfAccessor {
public:
    /// Throws ktFileError that names the accessor, or what it refers to, if any element lies outside its data, or if
    /// more than 2^24 elements have no data.
    ktGltfAccessor(const ktGltfDocument& document, std::size_t index);

    std::size_t count() const { return elements; }
    int components() const { return width; }
    ktComponent componentType() const { return type; }
    /// False if all elements are zero because the accessor has no data.
    bool hasData() const { return data || !sparseIndices.empty(); }
    /// True if each element has data of its own.
    bool hasAllData() const { return data != nullptr; }
    bool isNormalized() const { return normalized; }

    /// Reads elements as floats. Normalised integers become 0 to 1 or -1 to 1.
    /// @param which   indices of the elements, each below count(); null means 0 to n - 1
    /// @param n       number of elements
    /// @param wanted  components to write per element; missing ones become `fill`, further ones are left out
    /// @param out     n * wanted floats
    void readFloats(const std::uint32_t* which, std::size_t n, int wanted, float fill, float* out) const;
    /// Reads all elements of an index accessor. Throws ktFileError if it is not a SCALAR of unsigned integers.
    std::vector<std::uint32_t> readIndices() const;
    /// Reads components as unsigned integers, for instance joints. The arguments are as for readFloats().
    void readWhole(const std::uint32_t* which, std::size_t n, int wanted, std::uint32_t* out) const;
    /// Copies elements as they are.
    /// @param which  indices of the elements, each below count()
    /// @param step   bytes from one element to the next in `out`
    void readBytes(const std::uint32_t* which, std::size_t n, std::size_t step, std::uint8_t* out) const;

private:
    template <class T>
    void convert(const std::uint32_t* which, std::size_t n, int wanted, float fill, float* out) const;
    const std::uint8_t* element(std::size_t index) const;
    void openSparse(const ktGltfDocument& document, const ktJson& sparse);

    std::string object;
    std::size_t elements = 0;
    int width = 0;
    ktComponent type = ktComponent::Float;
    bool normalized = false;
    const std::uint8_t* data = nullptr; ///< null: all zero
    std::size_t stride = 0;
    std::vector<std::uint32_t> sparseIndices; ///< ascending
    const std::uint8_t* sparseValues = nullptr;
};

/// The data of a buffer view. ktFindGltfView() throws ktFileError that names a view that is not inside its buffer.
struct ktGltfViewRange {
    const std::uint8_t* data;
    std::size_t size;
    std::size_t stride; ///< 0: tightly packed
};
ktGltfViewRange ktFindGltfView(const ktGltfDocument& document, std::size_t index);
