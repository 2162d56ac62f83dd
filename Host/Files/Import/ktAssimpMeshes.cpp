// SPDX-License-Identifier: LGPL-2.1-or-later
// Converts Assimp's meshes to glTF primitives.
#include "ktAssimpTarget.h"
#include "ktFileMessages.h"
#include "ktSmoothNormals.h"

#include <algorithm>
#include <cmath>

namespace {

const int vertexTarget = 34962;

std::vector<float> vectors(const aiVector3D* data, std::size_t count, int width = 3) {
    std::vector<float> out;
    out.reserve(count * static_cast<std::size_t>(width));
    for (std::size_t i = 0; i < count; ++i)
        for (int c = 0; c < width; ++c)
            out.push_back(data[i][static_cast<unsigned>(c)]);
    return out;
}

bool isFinite(const aiVector3D& v) {
    return std::isfinite(v.x) && std::isfinite(v.y) && std::isfinite(v.z);
}

// Components that are not finite become zero.
std::vector<float> finiteVectors(const aiVector3D* data, std::size_t count, int width = 3) {
    std::vector<float> out = vectors(data, count, width);
    for (float& component : out)
        if (!std::isfinite(component))
            component = 0.0f;
    return out;
}

// Unit vectors; zero for vectors without direction.
std::vector<float> directions(const aiVector3D* data, std::size_t count) {
    std::vector<float> out = finiteVectors(data, count);
    for (std::size_t i = 0; i < out.size(); i += 3) {
        const float length = std::hypot(out[i], out[i + 1], out[i + 2]);
        for (std::size_t c = 0; c < 3; ++c)
            out[i + c] = length > 0.0f && std::isfinite(length) ? out[i + c] / length : 0.0f;
    }
    return out;
}

// The mesh's normals; empty if it has none, or only zeros, as some STL files do. Smooth normals replace single ones
// without direction.
std::vector<float> normals(ktAssimpTarget& target, const aiMesh& mesh, const std::vector<float>& positions,
                           const std::vector<std::uint32_t>& triangles) {
    if (!mesh.HasNormals())
        return {};
    std::vector<float> out = directions(mesh.mNormals, mesh.mNumVertices);
    if (std::all_of(out.begin(), out.end(), [](float component) { return component == 0.0f; }))
        return {};
    std::vector<float> smooth;
    for (std::size_t i = 0; i < out.size(); i += 3) {
        if (out[i] != 0.0f || out[i + 1] != 0.0f || out[i + 2] != 0.0f)
            continue;
        if (smooth.empty()) {
            target.messages.warn(mesh.mName.C_Str(), "normals without direction replaced");
            smooth = ktMakeSmoothNormals(positions.data(), mesh.mNumVertices, triangles);
        }
        std::copy_n(&smooth[i], 3, &out[i]);
    }
    return out;
}

std::vector<float> tangents(const aiMesh& mesh) {
    std::vector<float> along = directions(mesh.mTangents, mesh.mNumVertices);
    std::vector<float> out;
    for (std::size_t i = 0; i < mesh.mNumVertices; ++i) {
        if (along[3 * i] == 0.0f && along[3 * i + 1] == 0.0f && along[3 * i + 2] == 0.0f)
            along[3 * i] = 1.0f;
        out.insert(out.end(), &along[3 * i], &along[3 * i] + 3);
        const aiVector3D across = mesh.mNormals[i] ^ mesh.mTangents[i];
        out.push_back(across * mesh.mBitangents[i] < 0.0f ? -1.0f : 1.0f);
    }
    return out;
}

void addSkinning(ktAssimpTarget& target, const aiMesh& mesh, ktJson& attributes) {
    const std::size_t count = mesh.mNumVertices;
    std::vector<std::uint16_t> joints(4 * count, 0);
    std::vector<float> weights(4 * count, 0.0f);
    std::vector<std::uint8_t> used(count, 0);
    for (unsigned b = 0; b < mesh.mNumBones; ++b)
        for (unsigned w = 0; w < mesh.mBones[b]->mNumWeights; ++w) {
            const aiVertexWeight& weight = mesh.mBones[b]->mWeights[w];
            if (weight.mVertexId >= count || used[weight.mVertexId] == 4 || !(weight.mWeight > 0.0f))
                continue;
            const std::size_t slot = 4 * weight.mVertexId + used[weight.mVertexId]++;
            joints[slot] = static_cast<std::uint16_t>(b);
            weights[slot] = weight.mWeight;
        }
    for (std::size_t i = 0; i < count; ++i) {
        float* own = &weights[4 * i];
        const float sum = own[0] + own[1] + own[2] + own[3];
        if (sum > 0.0f)
            std::for_each(own, own + 4, [sum](float& weight) { weight /= sum; });
        else
            own[0] = 1.0f;
    }
    const std::size_t view = target.addView(joints.data(), joints.size() * sizeof joints[0], vertexTarget);
    attributes["JOINTS_0"] =
        target.add("accessors", {{"bufferView", view}, {"componentType", 5123}, {"count", count}, {"type", "VEC4"}});
    attributes["WEIGHTS_0"] = target.addFloats(weights, "VEC4", 4, false, vertexTarget);
}

ktJson morphTarget(ktAssimpTarget& target, const aiMesh& mesh, const aiAnimMesh& morph, bool hasNormals) {
    ktJson attributes = ktJson::object();
    const auto difference = [&](const aiVector3D* to, const aiVector3D* from) {
        std::vector<float> out = finiteVectors(to, mesh.mNumVertices);
        const std::vector<float> base = finiteVectors(from, mesh.mNumVertices);
        for (std::size_t i = 0; i < out.size(); ++i)
            out[i] -= base[i];
        return out;
    };
    if (morph.HasPositions())
        attributes["POSITION"] =
            target.addFloats(difference(morph.mVertices, mesh.mVertices), "VEC3", 3, true, vertexTarget);
    if (morph.HasNormals() && hasNormals)
        attributes["NORMAL"] =
            target.addFloats(difference(morph.mNormals, mesh.mNormals), "VEC3", 3, false, vertexTarget);
    return attributes;
}

// Vertices per face for the mesh's kind of primitive, and glTF's mode; 0 if the kind is unknown.
std::pair<unsigned, int> kindOf(const aiMesh& mesh) {
    if (mesh.mPrimitiveTypes & aiPrimitiveType_TRIANGLE)
        return {3, 4};
    if (mesh.mPrimitiveTypes & aiPrimitiveType_LINE)
        return {2, 1};
    if (mesh.mPrimitiveTypes & aiPrimitiveType_POINT || mesh.mNumFaces == 0)
        return {1, 0};
    return {0, 0};
}

} // namespace

ktJson ktConvertAssimpMesh(ktAssimpTarget& target, const aiMesh& mesh) {
    const auto [corners, mode] = kindOf(mesh);
    if (!mesh.HasPositions() || !corners)
        return nullptr;
    std::vector<std::uint32_t> indices;
    for (unsigned f = 0; f < mesh.mNumFaces; ++f) {
        const aiFace& face = mesh.mFaces[f];
        if (face.mNumIndices != corners)
            continue;
        if (!std::all_of(face.mIndices, face.mIndices + corners, [&](unsigned i) { return i < mesh.mNumVertices; }))
            target.messages.warn(mesh.mName.C_Str(), "face with an index out of range left out");
        else if (!std::all_of(face.mIndices, face.mIndices + corners,
                              [&](unsigned i) { return isFinite(mesh.mVertices[i]); }))
            target.messages.warn(mesh.mName.C_Str(), "face with a position that is not finite left out");
        else
            indices.insert(indices.end(), face.mIndices, face.mIndices + corners);
    }
    if (indices.empty() && mode != 0)
        return nullptr;

    const std::vector<float> positions = finiteVectors(mesh.mVertices, mesh.mNumVertices);
    ktJson attributes = {{"POSITION", target.addFloats(positions, "VEC3", 3, true, vertexTarget)}};
    const std::vector<float> directed = mode == 4 ? normals(target, mesh, positions, indices) : std::vector<float>();
    if (!directed.empty())
        attributes["NORMAL"] = target.addFloats(directed, "VEC3", 3, false, vertexTarget);
    if (attributes.contains("NORMAL") && mesh.HasTangentsAndBitangents())
        attributes["TANGENT"] = target.addFloats(tangents(mesh), "VEC4", 4, false, vertexTarget);
    for (unsigned t = 0, n = 0; t < AI_MAX_NUMBER_OF_TEXTURECOORDS; ++t)
        if (mesh.HasTextureCoords(t))
            attributes["TEXCOORD_" + std::to_string(n++)] = target.addFloats(
                finiteVectors(mesh.mTextureCoords[t], mesh.mNumVertices, 2), "VEC2", 2, false, vertexTarget);
    if (mesh.HasVertexColors(0)) {
        const float* first = &mesh.mColors[0][0].r;
        std::vector<float> colors(first, first + 4 * static_cast<std::size_t>(mesh.mNumVertices));
        for (float& component : colors)
            component = component > 0.0f ? std::min(component, 1.0f) : 0.0f;
        attributes["COLOR_0"] = target.addFloats(colors, "VEC4", 4, false, vertexTarget);
    }
    if (mesh.HasBones())
        addSkinning(target, mesh, attributes);

    ktJson primitive = {{"attributes", attributes}};
    if (!indices.empty())
        primitive["indices"] = target.addIndices(indices);
    primitive["mode"] = mode;
    if (mesh.mMaterialIndex < target.scene.mNumMaterials)
        primitive["material"] = ktChooseAssimpMaterial(target, mesh.mMaterialIndex, attributes);
    for (unsigned m = 0; m < mesh.mNumAnimMeshes; ++m)
        if (mesh.mAnimMeshes[m] && mesh.mAnimMeshes[m]->mNumVertices == mesh.mNumVertices)
            primitive["targets"].push_back(morphTarget(target, mesh, *mesh.mAnimMeshes[m], !directed.empty()));
    return primitive;
}
