// SPDX-License-Identifier: LGPL-2.1-or-later
// Decodes Draco streams in a process with limits: a damaged stream may describe any amount of data.
#include "ktDracoStreamReader.h"

#include "ktFileError.h"
#include "ktLimitedProcess.h"

#include <cstring>
#include <draco/attributes/attribute_octahedron_transform.h>
#include <draco/attributes/attribute_quantization_transform.h>
#include <draco/compression/decode.h>
#include <type_traits>

namespace {

// Decoded data may be this many times its stream, and a megabyte of streams this much more than nothing.
constexpr std::size_t largestMeshRatio = 256, alwaysAllowed = std::size_t(1) << 24;

/// Writes the answer of the limited process.
class Answer {
public:
    explicit Answer(ktByteSink& sink_) : sink(sink_) {}
    template <class Value>
    void put(const Value& value) {
        static_assert(std::is_trivially_copyable_v<Value>);
        sink.write(&value, sizeof value);
    }
    template <class Value>
    void put(const std::vector<Value>& values) {
        put(std::uint64_t(values.size()));
        sink.write(values.data(), values.size() * sizeof(Value));
    }

private:
    ktByteSink& sink;
};

/// Reads it.
class AnswerReader {
public:
    explicit AnswerReader(const ktBytes& bytes_) : bytes(bytes_) {}
    template <class Value>
    Value get() {
        Value value;
        take(&value, sizeof value);
        return value;
    }
    template <class Value>
    std::vector<Value> list() {
        const auto count = get<std::uint64_t>();
        if (count > (bytes.size() - at) / sizeof(Value))
            throw ktFileError("file", "lost data while it was decoded");
        std::vector<Value> values(static_cast<std::size_t>(count));
        if (count > 0)
            take(values.data(), values.size() * sizeof(Value));
        return values;
    }

private:
    void take(void* out, std::size_t size) {
        if (size > bytes.size() - at)
            throw ktFileError("file", "lost data while it was decoded");
        std::memcpy(out, bytes.data() + at, size);
        at += size;
    }

    const ktBytes& bytes;
    std::size_t at = 0;
};

// The values of an attribute, before the grid on which they were rounded is removed: the same values, and its numbers.
std::unique_ptr<draco::PointAttribute> withoutGrid(const draco::PointAttribute& attribute,
                                                   ktDracoQuantization& quantization) {
    const draco::AttributeTransformData* transform = attribute.GetAttributeTransformData();
    if (!transform)
        return nullptr;
    auto target = std::make_unique<draco::PointAttribute>();
    const auto start = [&](int width) {
        target->Init(attribute.attribute_type(), static_cast<int8_t>(width), draco::DT_FLOAT32, false,
                     attribute.size());
    };
    if (transform->transform_type() == draco::ATTRIBUTE_QUANTIZATION_TRANSFORM) {
        draco::AttributeQuantizationTransform grid;
        start(attribute.num_components());
        if (!grid.InitFromAttribute(attribute) || !grid.InverseTransformAttribute(attribute, target.get()))
            return nullptr;
        quantization = {grid.quantization_bits(), grid.min_values(), grid.range()};
    } else {
        draco::AttributeOctahedronTransform grid;
        start(3);
        if (transform->transform_type() != draco::ATTRIBUTE_OCTAHEDRON_TRANSFORM ||
            !grid.InitFromAttribute(attribute) || !grid.InverseTransformAttribute(attribute, target.get()))
            return nullptr;
        quantization.bits = grid.quantization_bits();
    }
    return target;
}

template <class Value>
bool copyValues(const draco::PointAttribute& mapping, const draco::PointAttribute& source, std::size_t vertices,
                ktDracoAttribute& out) {
    const int width = std::min<int>(out.width, source.num_components());
    for (std::size_t i = 0; i < vertices; ++i) {
        const draco::AttributeValueIndex index = mapping.mapped_index(draco::PointIndex(static_cast<std::uint32_t>(i)));
        Value values[16] = {};
        if (index.value() >= source.size() || !source.ConvertValue(index, static_cast<int8_t>(width), values))
            return false;
        std::memcpy(out.values.data() + i * out.stride(), values, static_cast<std::size_t>(out.width) * sizeof(Value));
    }
    return true;
}

bool readAttribute(const draco::Mesh& mesh, ktDracoAttribute& out) {
    const draco::PointAttribute* attribute = mesh.GetAttributeByUniqueId(out.id);
    if (!attribute)
        return false;
    const std::unique_ptr<draco::PointAttribute> plain = withoutGrid(*attribute, out.quantization);
    if (!plain && attribute->GetAttributeTransformData())
        return false;
    const draco::PointAttribute& source = plain ? *plain : *attribute;
    const std::size_t vertices = mesh.num_points();
    out.values.assign(vertices * out.stride(), 0);
    switch (out.component) {
    case ktComponent::Byte:
        return copyValues<std::int8_t>(*attribute, source, vertices, out);
    case ktComponent::UnsignedByte:
        return copyValues<std::uint8_t>(*attribute, source, vertices, out);
    case ktComponent::Short:
        return copyValues<std::int16_t>(*attribute, source, vertices, out);
    case ktComponent::UnsignedShort:
        return copyValues<std::uint16_t>(*attribute, source, vertices, out);
    case ktComponent::UnsignedInt:
        return copyValues<std::uint32_t>(*attribute, source, vertices, out);
    case ktComponent::Float:
        return copyValues<float>(*attribute, source, vertices, out);
    }
    return false;
}

// Decodes one stream. Returns the reason if it cannot.
std::string decodeMesh(ktDracoMesh& out) {
    draco::Decoder decoder;
    for (int type = draco::GeometryAttribute::POSITION; type < draco::GeometryAttribute::NAMED_ATTRIBUTES_COUNT; ++type)
        decoder.SetSkipAttributeTransform(static_cast<draco::GeometryAttribute::Type>(type));
    draco::DecoderBuffer buffer;
    buffer.Init(reinterpret_cast<const char*>(out.data), out.size);
    draco::StatusOr<std::unique_ptr<draco::Mesh>> decoded = decoder.DecodeMeshFromBuffer(&buffer);
    if (!decoded.ok() || !decoded.value())
        return "its compressed data (KHR_draco_mesh_compression) is damaged";
    const draco::Mesh& mesh = *decoded.value();
    std::size_t size = std::size_t(mesh.num_faces()) * 12;
    for (const ktDracoAttribute& attribute : out.attributes)
        size += attribute.stride() * mesh.num_points();
    if (size > alwaysAllowed + largestMeshRatio * out.size)
        return "its compressed data (KHR_draco_mesh_compression) describes far more than its size justifies";
    out.vertices = mesh.num_points();
    out.indices.reserve(3 * std::size_t(mesh.num_faces()));
    for (draco::FaceIndex face(0); face < mesh.num_faces(); ++face)
        for (const draco::PointIndex& point : mesh.face(face)) {
            if (point.value() >= mesh.num_points())
                return "its compressed data (KHR_draco_mesh_compression) has an index out of range";
            out.indices.push_back(point.value());
        }
    for (ktDracoAttribute& attribute : out.attributes)
        if (!readAttribute(mesh, attribute))
            return "its compressed data (KHR_draco_mesh_compression) lacks the attribute " +
                   std::to_string(attribute.id) + " or holds it in a form that cannot be read";
    return {};
}

void answer(ktDracoMesh& mesh, Answer out) {
    const std::string problem = decodeMesh(mesh);
    out.put(std::vector<char>(problem.begin(), problem.end()));
    out.put(std::uint64_t(mesh.vertices));
    out.put(mesh.indices);
    for (const ktDracoAttribute& attribute : mesh.attributes) {
        out.put(attribute.values);
        out.put(std::int32_t(attribute.quantization.bits));
        out.put(attribute.quantization.least);
        out.put(attribute.quantization.range);
    }
}

} // namespace

void ktReadDracoStreams(std::vector<ktDracoMesh>& meshes) {
    std::size_t size = 0;
    for (const ktDracoMesh& mesh : meshes)
        size += mesh.size;
    ktProcessLimits limits;
    limits.memory_bytes = (std::size_t(1) << 30) + 4 * largestMeshRatio * size;
    limits.time_s = 20 + static_cast<unsigned>(size >> 16);
    limits.wait_s = 60 + 4 * limits.time_s;
    ktBytes bytes;
    try {
        bytes = ktRunLimited(limits, [&](ktByteSink& sink) {
            for (ktDracoMesh& mesh : meshes) {
                answer(mesh, Answer(sink));
                std::vector<std::uint32_t>().swap(mesh.indices);
                for (ktDracoAttribute& attribute : mesh.attributes)
                    ktBytes().swap(attribute.values);
            }
        });
    } catch (const ktFileError& error) {
        throw ktFileError(meshes.size() == 1 ? meshes.front().object : "/meshes",
                          "compressed geometry (KHR_draco_mesh_compression) " + error.reason());
    }
    AnswerReader reader(bytes);
    for (ktDracoMesh& mesh : meshes) {
        const std::vector<char> problem = reader.list<char>();
        if (!problem.empty())
            throw ktFileError(mesh.object, std::string(problem.begin(), problem.end()));
        mesh.vertices = static_cast<std::size_t>(reader.get<std::uint64_t>());
        mesh.indices = reader.list<std::uint32_t>();
        for (ktDracoAttribute& attribute : mesh.attributes) {
            attribute.values = reader.list<std::uint8_t>();
            attribute.quantization.bits = reader.get<std::int32_t>();
            attribute.quantization.least = reader.list<float>();
            attribute.quantization.range = reader.get<float>();
        }
    }
}
