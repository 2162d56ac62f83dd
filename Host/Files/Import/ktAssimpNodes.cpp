// SPDX-License-Identifier: LGPL-2.1-or-later
// Converts Assimp's nodes, skins, cameras and lights to glTF.
#include "ktAssimpTarget.h"
#include "ktAssimpTransform.h"
#include "ktFileMessages.h"

#include <algorithm>
#include <cmath>
#include <set>

namespace {

std::set<std::string> animatedNames(const aiScene& scene) {
    std::set<std::string> names;
    for (unsigned a = 0; a < scene.mNumAnimations; ++a)
        for (unsigned c = 0; c < scene.mAnimations[a]->mNumChannels; ++c)
            names.insert(scene.mAnimations[a]->mChannels[c]->mNodeName.C_Str());
    return names;
}

ktJson extrasOf(const aiMetadata& data) {
    ktJson extras = ktJson::object();
    for (unsigned i = 0; i < data.mNumProperties; ++i) {
        const aiMetadataEntry& entry = data.mValues[i];
        const std::string key = data.mKeys[i].C_Str();
        if (key.empty() || !entry.mData)
            continue;
        switch (entry.mType) {
        case AI_BOOL:
            extras[key] = *static_cast<const bool*>(entry.mData);
            break;
        case AI_INT32:
            extras[key] = *static_cast<const std::int32_t*>(entry.mData);
            break;
        case AI_UINT64:
            extras[key] = *static_cast<const std::uint64_t*>(entry.mData);
            break;
        case AI_AISTRING:
            extras[key] = static_cast<const aiString*>(entry.mData)->C_Str();
            break;
        default:
            break;
        }
    }
    return extras;
}

class Nodes {
public:
    explicit Nodes(ktAssimpTarget& target_) : target(target_), animated(animatedNames(target_.scene)) {}

    void convert();

private:
    void walk();
    std::string nameOf(const aiNode& source) const;
    void addMeshes();
    void addMeshTo(std::size_t node, const std::vector<unsigned>& meshes, const aiMesh* skinned);
    std::size_t skinOf(const aiMesh& mesh);
    void addLights();
    void addCameras();
    std::size_t addOriented(const aiString& name, const aiVector3D& place, const aiVector3D& forward,
                            const aiVector3D& up);

    ktAssimpTarget& target;
    std::set<std::string> animated;
    std::size_t top = 0;                                 ///< of all nodes
    std::map<unsigned, ktJson> primitives;               ///< per mesh; null if unusable
    std::map<std::vector<unsigned>, std::size_t> meshOf; ///< per list of meshes
};

void Nodes::convert() {
    if (!target.scene.mRootNode)
        return;
    walk();
    addMeshes();
    addLights();
    addCameras();
    target.add("scenes", {{"nodes", {top}}});
    target.json["scene"] = 0;
}

/// Some importers name the top node after the file, even with the whole path: here it is the file's plain name.
std::string Nodes::nameOf(const aiNode& source) const {
    std::string name = source.mName.C_Str();
    const std::string alias = target.file.nameWithEnding();
    if (name == alias || name == alias.substr(target.folder.size()))
        return target.file.path.substr(target.folder.size());
    return name;
}

void Nodes::walk() {
    std::vector<std::pair<const aiNode*, std::size_t>> open = {{target.scene.mRootNode, 0}};
    std::set<const aiNode*> seen;
    while (!open.empty()) {
        const auto [source, parent] = open.back();
        open.pop_back();
        if (!seen.insert(source).second)
            continue;
        ktJson node = ktJson::object();
        const std::string name = nameOf(*source);
        if (!name.empty())
            node["name"] = name;
        ktJson above = ktWriteAssimpTransform(node, source->mTransformation, animated.count(name) > 0);
        if (source->mMetaData) {
            ktJson extras = extrasOf(*source->mMetaData);
            if (!extras.empty())
                node["extras"] = std::move(extras);
        }
        const std::size_t index = target.add("nodes", std::move(node));
        std::size_t upper = index;
        if (!above.is_null()) {
            above["children"] = {index};
            upper = target.add("nodes", std::move(above));
        }
        if (seen.size() > 1)
            target.json["nodes"][parent]["children"].push_back(upper);
        else
            top = upper;
        target.nodes.push_back(index);
        target.assimpNodes.push_back(source);
        target.nodeOfName.emplace(name, index);
        for (unsigned c = source->mNumChildren; c-- > 0;)
            if (source->mChildren[c])
                open.push_back({source->mChildren[c], index});
    }
}

void Nodes::addMeshes() {
    for (std::size_t i = 0; i < target.assimpNodes.size(); ++i) {
        const aiNode& source = *target.assimpNodes[i];
        std::vector<unsigned> plain;
        for (unsigned m = 0; m < source.mNumMeshes; ++m) {
            const unsigned mesh = source.mMeshes[m];
            if (mesh >= target.scene.mNumMeshes || !target.scene.mMeshes[mesh])
                continue;
            if (target.scene.mMeshes[mesh]->HasBones()) {
                const std::size_t child = target.add("nodes", ktJson::object());
                target.json["nodes"][target.nodes[i]]["children"].push_back(child);
                addMeshTo(child, {mesh}, target.scene.mMeshes[mesh]);
            } else {
                plain.push_back(mesh);
            }
        }
        if (!plain.empty())
            addMeshTo(target.nodes[i], plain, nullptr);
    }
}

void Nodes::addMeshTo(std::size_t node, const std::vector<unsigned>& meshes, const aiMesh* skinned) {
    if (!meshOf.count(meshes)) {
        ktJson mesh = {{"primitives", ktJson::array()}};
        for (const unsigned index : meshes) {
            if (!primitives.count(index))
                primitives[index] = ktConvertAssimpMesh(target, *target.scene.mMeshes[index]);
            if (!primitives[index].is_null())
                mesh["primitives"].push_back(primitives[index]);
        }
        const aiString& name = target.scene.mMeshes[meshes.front()]->mName;
        if (name.length)
            mesh["name"] = name.C_Str();
        if (mesh["primitives"].empty())
            return;
        meshOf[meshes] = target.add("meshes", std::move(mesh));
    }
    target.json["nodes"][node]["mesh"] = meshOf[meshes];
    if (skinned)
        target.json["nodes"][node]["skin"] = skinOf(*skinned);
}

std::size_t Nodes::skinOf(const aiMesh& mesh) {
    ktJson skin = {{"joints", ktJson::array()}};
    std::vector<float> matrices;
    std::set<std::size_t> joints;
    for (unsigned b = 0; b < mesh.mNumBones; ++b) {
        const auto found = target.nodeOfName.find(mesh.mBones[b]->mName.C_Str());
        if (found == target.nodeOfName.end())
            target.messages.warn(mesh.mBones[b]->mName.C_Str(), "bone without a node; the root moves it");
        std::size_t joint = found == target.nodeOfName.end() ? 0 : found->second;
        if (!joints.insert(joint).second) {
            // A skin may list a joint only once. A new child node, which moves with the joint, replaces it.
            const std::size_t standIn = target.add("nodes", ktJson::object());
            target.json["nodes"][joint]["children"].push_back(standIn);
            joint = standIn;
        }
        skin["joints"].push_back(joint);
        const aiMatrix4x4& offset = mesh.mBones[b]->mOffsetMatrix;
        for (unsigned column = 0; column < 4; ++column)
            for (unsigned row = 0; row < 4; ++row)
                matrices.push_back(row == 3 ? (column == 3 ? 1.0f : 0.0f) : offset[row][column]);
    }
    skin["inverseBindMatrices"] = target.addFloats(matrices, "MAT4", 16, false);
    return target.add("skins", std::move(skin));
}

// Adds a child of the named node that looks along its local -z, as glTF's lights and cameras do.
std::size_t Nodes::addOriented(const aiString& name, const aiVector3D& place, const aiVector3D& forward,
                               const aiVector3D& up) {
    aiVector3D back = forward * -1.0f;
    if (back.SquareLength() < 1e-12f)
        back = aiVector3D(0, 0, 1);
    back.Normalize();
    aiVector3D right = up ^ back;
    if (right.SquareLength() < 1e-12f)
        right = aiVector3D(0, 1, 0) ^ back;
    if (right.SquareLength() < 1e-12f)
        right = aiVector3D(1, 0, 0);
    right.Normalize();
    const aiVector3D above = back ^ right;
    const aiMatrix4x4 matrix(right.x, above.x, back.x, place.x, right.y, above.y, back.y, place.y, right.z, above.z,
                             back.z, place.z, 0, 0, 0, 1);
    ktJson node = {{"name", name.C_Str()}};
    ktWriteAssimpTransform(node, matrix, false); // at right angles, so one node is enough
    const std::size_t index = target.add("nodes", std::move(node));
    const auto owner = target.nodeOfName.find(name.C_Str());
    const std::size_t parent = owner == target.nodeOfName.end() ? 0 : owner->second;
    target.json["nodes"][parent]["children"].push_back(index);
    return index;
}

// In these formats brightness is a colour without a unit. It is taken as candela or lux.
void Nodes::addLights() {
    for (unsigned i = 0; i < target.scene.mNumLights; ++i) {
        const aiLight& source = *target.scene.mLights[i];
        const char* type = source.mType == aiLightSource_DIRECTIONAL ? "directional"
                           : source.mType == aiLightSource_POINT     ? "point"
                           : source.mType == aiLightSource_SPOT      ? "spot"
                                                                     : nullptr;
        const aiColor3D& color = source.mColorDiffuse;
        const float brightness = std::max({color.r, color.g, color.b});
        if (!type || !(brightness > 0.0f) || !std::isfinite(brightness))
            continue;
        ktJson light = {{"type", type}};
        light["color"] = {ktJsonFromFloat(color.r / brightness), ktJsonFromFloat(color.g / brightness),
                          ktJsonFromFloat(color.b / brightness)};
        light["intensity"] = ktJsonFromFloat(brightness);
        if (source.mType == aiLightSource_SPOT) {
            const double outer = std::clamp(source.mAngleOuterCone / 2.0, 0.01, 1.5707);
            const double inner = std::clamp(source.mAngleInnerCone / 2.0, 0.0, outer - 0.005);
            light["spot"] = {{"innerConeAngle", inner}, {"outerConeAngle", outer}};
        }
        ktJson& lights = target.json["extensions"]["KHR_lights_punctual"]["lights"];
        lights.push_back(std::move(light));
        const std::size_t index = lights.size() - 1;
        target.useExtension("KHR_lights_punctual");
        const std::size_t node = addOriented(source.mName, source.mPosition, source.mDirection, source.mUp);
        target.json["nodes"][node]["extensions"]["KHR_lights_punctual"]["light"] = index;
    }
}

void Nodes::addCameras() {
    for (unsigned i = 0; i < target.scene.mNumCameras; ++i) {
        const aiCamera& source = *target.scene.mCameras[i];
        const double aspect = source.mAspect > 0.0f ? source.mAspect : 1.0;
        const double across = std::clamp(static_cast<double>(source.mHorizontalFOV), 0.01, 3.1);
        const double near = source.mClipPlaneNear > 0.0f ? source.mClipPlaneNear : 0.01;
        ktJson lens = {{"yfov", 2.0 * std::atan(std::tan(across / 2.0) / aspect)}, {"znear", near}};
        if (source.mAspect > 0.0f)
            lens["aspectRatio"] = aspect;
        if (source.mClipPlaneFar > near)
            lens["zfar"] = source.mClipPlaneFar;
        const std::size_t camera = target.add("cameras", {{"type", "perspective"}, {"perspective", lens}});
        const std::size_t node = addOriented(source.mName, source.mPosition, source.mLookAt, source.mUp);
        target.json["nodes"][node]["camera"] = camera;
    }
}

} // namespace

void ktConvertAssimpNodes(ktAssimpTarget& target) {
    Nodes(target).convert();
}
