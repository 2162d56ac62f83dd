// SPDX-License-Identifier: LGPL-2.1-or-later
// Reads glTF accessors, sparse ones too, as floats or whole numbers, and checks that all data is in range.
#include "ktGltfAccessor.h"

#include "ktFileError.h"

#include <algorithm>
#include <cstring>
#include <limits>
#include <type_traits>

namespace {

const std::uint8_t zeros[16 * sizeof(float)] = {};

// Elements that an accessor may have without data. Does not depend on the size of the document: what is left out when a
// file is read must be left out of its larger output, too.
constexpr std::size_t withoutDataLimit = std::size_t(1) << 24;

ktComponent componentOf(const ktJson& object, const std::string& pointer) {
    const auto value = ktJsonWhole(object, "componentType");
    switch (value.value_or(0)) {
    case 5120:
    case 5121:
    case 5122:
    case 5123:
    case 5125:
    case 5126:
        return static_cast<ktComponent>(*value);
    default:
        throw ktFileError(pointer, "has no valid componentType");
    }
}

// First byte of `count` elements in a view. Throws ktFileError unless all their bytes are inside the view.
const std::uint8_t* rangeInView(const ktGltfDocument& document, const ktJson& object, const std::string& pointer,
                                std::size_t count, std::size_t elementSize, bool strided, std::size_t& stride) {
    const auto view = ktJsonWhole(object, "bufferView");
    if (!view)
        throw ktFileError(pointer, "has no valid bufferView");
    const ktGltfViewRange range = ktFindGltfView(document, static_cast<std::size_t>(*view));
    const auto given = ktJsonByteOffset(object);
    if (!given)
        throw ktFileError(pointer, "has no valid byteOffset");
    const std::uint64_t offset = *given;
    stride = strided && range.stride ? range.stride : elementSize;
    if (stride < elementSize)
        throw ktFileError(pointer, "has elements larger than the byteStride of its bufferView");
    if (offset > range.size || (count > 0 && elementSize > range.size - offset) ||
        (count > 1 && (range.size - offset - elementSize) / stride < count - 1))
        throw ktFileError(pointer, "reaches beyond the end of its bufferView");
    return range.data + offset;
}

template <class T>
T load(const std::uint8_t* at) {
    T value;
    std::memcpy(&value, at, sizeof value);
    return value;
}

template <class T>
float toFloat(T value, bool normalized) {
    if constexpr (std::is_same_v<T, float>)
        return value;
    const float number = static_cast<float>(value);
    if (!normalized)
        return number;
    const float scaled = static_cast<float>(static_cast<double>(value) / std::numeric_limits<T>::max());
    return std::is_signed_v<T> ? std::max(scaled, -1.0f) : scaled;
}

std::uint32_t wholeAt(const std::uint8_t* at, ktComponent type) {
    switch (type) {
    case ktComponent::UnsignedByte:
        return *at;
    case ktComponent::UnsignedShort:
        return load<std::uint16_t>(at);
    default:
        return load<std::uint32_t>(at);
    }
}

bool isUnsigned(ktComponent type) {
    return type == ktComponent::UnsignedByte || type == ktComponent::UnsignedShort || type == ktComponent::UnsignedInt;
}

} // namespace

std::size_t ktGltfDocument::dataSize() const {
    std::size_t size = 0;
    for (const ktGltfBuffer& buffer : buffers)
        size += buffer.bytes.size();
    return size;
}

std::size_t ktComponentSize(ktComponent type) {
    switch (type) {
    case ktComponent::Byte:
    case ktComponent::UnsignedByte:
        return 1;
    case ktComponent::Short:
    case ktComponent::UnsignedShort:
        return 2;
    default:
        return 4;
    }
}

int ktComponentCount(const std::string& type) {
    if (type == "SCALAR")
        return 1;
    if (type == "MAT4")
        return 16;
    if (type.size() == 4 && type.compare(0, 3, "VEC") == 0 && type[3] >= '2' && type[3] <= '4')
        return type[3] - '0';
    return 0;
}

ktGltfViewRange ktFindGltfView(const ktGltfDocument& document, std::size_t index) {
    const std::string pointer = ktPointer("bufferViews", index);
    const ktJson* view = ktJsonElement(document.json, "bufferViews", index);
    if (!view)
        throw ktFileError(pointer, "does not exist");
    const auto buffer = ktJsonWhole(*view, "buffer");
    if (!buffer || *buffer >= document.buffers.size())
        throw ktFileError(pointer, "has no valid buffer");
    const ktGltfBuffer& source = document.buffers[static_cast<std::size_t>(*buffer)];
    if (!source.problem.empty())
        throw ktFileError(ktPointer("buffers", static_cast<std::size_t>(*buffer)), source.problem);
    const auto length = ktJsonWhole(*view, "byteLength");
    const auto offset = ktJsonByteOffset(*view);
    if (!length || !offset)
        throw ktFileError(pointer, "has no valid byteLength or byteOffset");
    if (*offset > source.bytes.size() || *length > source.bytes.size() - *offset)
        throw ktFileError(pointer, "reaches beyond the end of its buffer");
    std::size_t stride = 0;
    if (ktJsonMember(*view, "byteStride")) {
        const auto given = ktJsonWhole(*view, "byteStride");
        if (!given || *given < 1 || *given > 65536)
            throw ktFileError(pointer, "has no valid byteStride");
        stride = static_cast<std::size_t>(*given);
    }
    return {source.bytes.data() + *offset, static_cast<std::size_t>(*length), stride};
}

ktGltfAccessor::ktGltfAccessor(const ktGltfDocument& document, std::size_t index)
    : object(ktPointer("accessors", index)) {
    const ktJson* accessor = ktJsonElement(document.json, "accessors", index);
    if (!accessor || !accessor->is_object())
        throw ktFileError(object, "does not exist");
    const auto given = ktJsonWhole(*accessor, "count");
    if (!given || *given < 1 || *given > std::numeric_limits<std::uint32_t>::max())
        throw ktFileError(object, "has no valid count");
    elements = static_cast<std::size_t>(*given);
    type = componentOf(*accessor, object);
    width = ktComponentCount(ktJsonText(*accessor, "type"));
    if (!width)
        throw ktFileError(object, "has no type that can be read");
    normalized = ktJsonBool(*accessor, "normalized", false);
    if (ktJsonMember(*accessor, "bufferView"))
        data = rangeInView(document, *accessor, object, elements, ktComponentSize(type) * width, true, stride);
    else if (elements > withoutDataLimit)
        throw ktFileError(object, "has " + std::to_string(elements) + " elements without data, too many");
    if (const ktJson* sparse = ktJsonMember(*accessor, "sparse"))
        openSparse(document, *sparse);
}

void ktGltfAccessor::openSparse(const ktGltfDocument& document, const ktJson& sparse) {
    const std::string pointer = object + "/sparse";
    const auto count = ktJsonWhole(sparse, "count");
    const ktJson* indices = ktJsonMember(sparse, "indices");
    const ktJson* values = ktJsonMember(sparse, "values");
    if (!count || *count < 1 || *count > elements || !indices || !values)
        throw ktFileError(pointer, "has no valid count, indices or values");
    const std::size_t n = static_cast<std::size_t>(*count);
    const ktComponent indexType = componentOf(*indices, pointer + "/indices");
    if (!isUnsigned(indexType))
        throw ktFileError(pointer + "/indices", "has no valid componentType");
    std::size_t step = 0;
    const std::uint8_t* at =
        rangeInView(document, *indices, pointer + "/indices", n, ktComponentSize(indexType), false, step);
    sparseValues = rangeInView(document, *values, pointer + "/values", n, ktComponentSize(type) * width, false, step);
    sparseIndices.resize(n);
    for (std::size_t i = 0; i < n; ++i) {
        sparseIndices[i] = wholeAt(at + i * ktComponentSize(indexType), indexType);
        if (sparseIndices[i] >= elements || (i > 0 && sparseIndices[i] <= sparseIndices[i - 1]))
            throw ktFileError(pointer + "/indices", "are not ascending indices of elements");
    }
}

const std::uint8_t* ktGltfAccessor::element(std::size_t index) const {
    if (!sparseIndices.empty()) {
        const auto found = std::lower_bound(sparseIndices.begin(), sparseIndices.end(), index);
        if (found != sparseIndices.end() && *found == index)
            return sparseValues +
                   static_cast<std::size_t>(found - sparseIndices.begin()) * ktComponentSize(type) * width;
    }
    return data ? data + index * stride : zeros;
}

template <class T>
void ktGltfAccessor::convert(const std::uint32_t* which, std::size_t n, int wanted, float fill, float* out) const {
    const int shared = std::min(width, wanted);
    for (std::size_t i = 0; i < n; ++i) {
        const std::uint8_t* at = element(which ? which[i] : i);
        for (int c = 0; c < shared; ++c)
            *out++ = toFloat(load<T>(at + c * sizeof(T)), normalized);
        for (int c = shared; c < wanted; ++c)
            *out++ = fill;
    }
}

void ktGltfAccessor::readFloats(const std::uint32_t* which, std::size_t n, int wanted, float fill, float* out) const {
    const std::size_t packed = sizeof(float) * static_cast<std::size_t>(width);
    if (!which && type == ktComponent::Float && wanted == width && data && stride == packed && sparseIndices.empty()) {
        std::memcpy(out, data, n * packed);
        return;
    }
    switch (type) {
    case ktComponent::Byte:
        return convert<std::int8_t>(which, n, wanted, fill, out);
    case ktComponent::UnsignedByte:
        return convert<std::uint8_t>(which, n, wanted, fill, out);
    case ktComponent::Short:
        return convert<std::int16_t>(which, n, wanted, fill, out);
    case ktComponent::UnsignedShort:
        return convert<std::uint16_t>(which, n, wanted, fill, out);
    case ktComponent::UnsignedInt:
        return convert<std::uint32_t>(which, n, wanted, fill, out);
    case ktComponent::Float:
        return convert<float>(which, n, wanted, fill, out);
    }
}

std::vector<std::uint32_t> ktGltfAccessor::readIndices() const {
    if (width != 1 || !isUnsigned(type))
        throw ktFileError(object, "is used for indices but holds no unsigned scalars");
    std::vector<std::uint32_t> indices(elements);
    readWhole(nullptr, elements, 1, indices.data());
    return indices;
}

void ktGltfAccessor::readWhole(const std::uint32_t* which, std::size_t n, int wanted, std::uint32_t* out) const {
    const std::size_t size = ktComponentSize(type);
    for (std::size_t i = 0; i < n; ++i) {
        const std::uint8_t* at = element(which ? which[i] : i);
        for (int c = 0; c < wanted; ++c)
            *out++ = c < width && isUnsigned(type) ? wholeAt(at + c * size, type) : 0;
    }
}

void ktGltfAccessor::readBytes(const std::uint32_t* which, std::size_t n, std::size_t step, std::uint8_t* out) const {
    const std::size_t size = ktComponentSize(type) * static_cast<std::size_t>(width);
    for (std::size_t i = 0; i < n; ++i)
        std::memcpy(out + i * step, element(which[i]), size);
}
