// SPDX-License-Identifier: LGPL-2.1-or-later
// Compresses triangles with Draco.
#include "ktDracoStreamWriter.h"

#include <algorithm>
#include <cstdio>
#include <draco/compression/decode.h>
#include <draco/compression/expert_encode.h>
#include <limits>

namespace {

constexpr int speed = 5; // Draco's own default: between 0, the smallest stream, and 10, the fastest

draco::GeometryAttribute::Type typeOf(const std::string& name) {
    if (name == "POSITION")
        return draco::GeometryAttribute::POSITION;
    if (name == "NORMAL")
        return draco::GeometryAttribute::NORMAL;
    if (name.compare(0, 6, "COLOR_") == 0)
        return draco::GeometryAttribute::COLOR;
    if (name.compare(0, 9, "TEXCOORD_") == 0)
        return draco::GeometryAttribute::TEX_COORD;
    return draco::GeometryAttribute::GENERIC;
}

draco::DataType dataTypeOf(ktComponent component) {
    switch (component) {
    case ktComponent::Byte:
        return draco::DT_INT8;
    case ktComponent::UnsignedByte:
        return draco::DT_UINT8;
    case ktComponent::Short:
        return draco::DT_INT16;
    case ktComponent::UnsignedShort:
        return draco::DT_UINT16;
    case ktComponent::UnsignedInt:
        return draco::DT_UINT32;
    default:
        return draco::DT_FLOAT32;
    }
}

void fillMesh(draco::Mesh& mesh, const std::vector<ktDracoNewAttribute>& attributes, std::size_t vertices,
              const std::vector<std::uint32_t>& indices) {
    mesh.set_num_points(static_cast<std::uint32_t>(vertices));
    mesh.SetNumFaces(indices.size() / 3);
    for (std::size_t i = 0; i < indices.size(); i += 3)
        mesh.SetFace(
            draco::FaceIndex(static_cast<std::uint32_t>(i / 3)),
            {draco::PointIndex(indices[i]), draco::PointIndex(indices[i + 1]), draco::PointIndex(indices[i + 2])});
    for (const ktDracoNewAttribute& source : attributes) {
        const std::size_t size = ktComponentSize(source.component) * static_cast<std::size_t>(source.width);
        draco::GeometryAttribute attribute;
        attribute.Init(typeOf(source.name), nullptr, static_cast<std::uint8_t>(source.width),
                       dataTypeOf(source.component), source.isNormalized, static_cast<std::int64_t>(size), 0);
        const int id = mesh.AddAttribute(attribute, true, static_cast<std::uint32_t>(vertices));
        mesh.attribute(id)->set_unique_id(static_cast<std::uint32_t>(id));
        for (std::size_t i = 0; i < vertices; ++i)
            mesh.attribute(id)->SetAttributeValue(draco::AttributeValueIndex(static_cast<std::uint32_t>(i)),
                                                  source.values.data() + i * size);
    }
}

// The options of ExpertEncoder::SetAttributeExplicitQuantization(). That function keeps only six digits behind the
// decimal point, which is too few for small models.
draco::Options optionsFor(const ktDracoQuantization& grid, int width) {
    const auto write = [](float value) {
        char text[32];
        std::snprintf(text, sizeof text, "%.9g", static_cast<double>(value));
        return std::string(text);
    };
    std::string origin;
    for (std::size_t c = 0; c < static_cast<std::size_t>(width); ++c)
        origin += (c > 0 ? " " : "") + write(grid.least[c]);
    draco::Options options;
    options.SetInt("quantization_bits", grid.bits);
    options.SetString("quantization_origin", origin);
    options.SetString("quantization_range", write(grid.range));
    return options;
}

bool encodeMesh(const draco::Mesh& mesh, const std::vector<ktDracoNewAttribute>& attributes, int method,
                draco::EncoderBuffer& out) {
    draco::ExpertEncoder encoder(mesh);
    encoder.SetSpeedOptions(speed, speed);
    encoder.SetEncodingMethod(method);
    for (std::size_t i = 0; i < attributes.size(); ++i) {
        const ktDracoQuantization& grid = attributes[i].quantization;
        if (grid.bits == 0 || attributes[i].component != ktComponent::Float)
            continue;
        if (grid.isDirect())
            encoder.options().SetAttributeOptions(static_cast<int>(i), optionsFor(grid, attributes[i].width));
        else
            encoder.SetAttributeQuantization(static_cast<int>(i), grid.bits);
    }
    return encoder.EncodeToBuffer(&out).ok();
}

// Reads a stream of this program, to learn what a reader gets.
bool inspect(const draco::EncoderBuffer& stream, ktDracoNewStream& out) {
    draco::Decoder decoder;
    draco::DecoderBuffer buffer;
    buffer.Init(stream.data(), stream.size());
    draco::StatusOr<std::unique_ptr<draco::Mesh>> decoded = decoder.DecodeMeshFromBuffer(&buffer);
    if (!decoded.ok() || !decoded.value() || decoded.value()->num_faces() == 0)
        return false;
    const draco::Mesh& mesh = *decoded.value();
    const draco::PointAttribute* positions = mesh.GetAttributeByUniqueId(0);
    if (!positions)
        return false;
    out.vertices = mesh.num_points();
    out.triangles = mesh.num_faces();
    out.least.assign(3, std::numeric_limits<float>::max());
    out.most.assign(3, std::numeric_limits<float>::lowest());
    for (draco::PointIndex point(0); point < mesh.num_points(); ++point) {
        float value[3] = {};
        positions->ConvertValue(positions->mapped_index(point), 3, value);
        for (std::size_t c = 0; c < 3; ++c) {
            out.least[c] = std::min(out.least[c], value[c]);
            out.most[c] = std::max(out.most[c], value[c]);
        }
    }
    return true;
}

} // namespace

ktDracoNewStream ktWriteDracoStream(const std::vector<ktDracoNewAttribute>& attributes, std::size_t vertices,
                                    const std::vector<std::uint32_t>& indices, bool keepsOrder) {
    draco::Mesh mesh;
    fillMesh(mesh, attributes, vertices, indices);
    for (const int method : {draco::MESH_EDGEBREAKER_ENCODING, draco::MESH_SEQUENTIAL_ENCODING}) {
        if (keepsOrder && method == draco::MESH_EDGEBREAKER_ENCODING)
            continue;
        // Vertices at equal positions become neighbours for the prediction of values. This code comes before the other.
        if (method == draco::MESH_EDGEBREAKER_ENCODING)
            mesh.DeduplicateAttributeValues();
        draco::EncoderBuffer buffer;
        ktDracoNewStream stream;
        if (!encodeMesh(mesh, attributes, method, buffer) || !inspect(buffer, stream) ||
            (keepsOrder && stream.vertices != vertices))
            continue;
        stream.bytes.assign(buffer.data(), buffer.data() + buffer.size());
        return stream;
    }
    return {};
}
