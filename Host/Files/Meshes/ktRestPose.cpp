// SPDX-License-Identifier: LGPL-2.1-or-later
// Applies morph target weights and skin joints, so that a mesh is baked in the pose that its node shows.
#include "ktRestPose.h"

#include "ktFileError.h"
#include "ktFileMessages.h"
#include "ktGltfAccessor.h"

#include <algorithm>
#include <cmath>
#include <unordered_map>

namespace {

std::vector<double> weightsOf(const ktJson& holder) {
    std::vector<double> weights(ktJsonCount(holder, "weights"));
    if (!weights.empty() && !ktJsonNumbers(holder, "weights", weights.size(), weights.data()))
        weights.clear();
    // Weights that are all zero do not change the shape.
    if (std::all_of(weights.begin(), weights.end(), [](double weight) { return weight == 0.0; }))
        weights.clear();
    return weights;
}

bool isFinite(const ktMatrix& matrix) {
    return std::all_of(matrix.begin(), matrix.end(), [](double number) { return std::isfinite(number); });
}

void readSkin(const ktGltfDocument& document, std::size_t skinIndex,
              const std::vector<std::optional<ktMatrix>>& toScene, ktSkin& read) {
    const std::string object = read.object = ktPointer("skins", skinIndex);
    const ktJson* skin = ktJsonElement(document.json, "skins", skinIndex);
    const std::size_t count = skin ? ktJsonCount(*skin, "joints") : 0;
    if (!count)
        throw ktFileError(object, "has no joints");
    std::vector<float> inverse;
    if (const auto accessor = ktJsonWhole(*skin, "inverseBindMatrices")) {
        const ktGltfAccessor matrices(document, static_cast<std::size_t>(*accessor));
        if (matrices.components() != 16 || matrices.count() < count)
            throw ktFileError(object, "has too few inverse bind matrices");
        inverse.resize(16 * count);
        matrices.readFloats(nullptr, count, 16, 0.0f, inverse.data());
    }
    for (std::size_t j = 0; j < count; ++j) {
        const auto node = ktJsonAsWhole(*ktJsonElement(*skin, "joints", j));
        if (!node || *node >= toScene.size() || !toScene[static_cast<std::size_t>(*node)])
            throw ktFileError(object, "has a joint outside the scene");
        read.toScene.push_back(*toScene[static_cast<std::size_t>(*node)]);
        ktMatrix bind = ktIdentity;
        if (!inverse.empty()) {
            std::copy_n(inverse.begin() + static_cast<std::ptrdiff_t>(16 * j), 16, bind.begin());
            read.bind.push_back(bind);
        }
        if (!isFinite(ktMultiply(read.toScene.back(), bind)))
            throw ktFileError(object, "has a joint that is not finite");
    }
}

/// The joints of a skin at a node: only those that vertices follow are calculated.
class Joints {
public:
    explicit Joints(const ktRestPose& pose_) : pose(pose_) {}
    std::size_t count() const { return pose.skin->toScene.size(); }
    /// From mesh space to the node's space.
    const ktMatrix& get(std::uint32_t joint) {
        const auto [entry, isNew] = known.try_emplace(joint);
        if (isNew) {
            entry->second = ktMultiply(pose.toNode, pose.skin->toScene[joint]);
            if (!pose.skin->bind.empty())
                entry->second = ktMultiply(entry->second, pose.skin->bind[joint]);
            if (!isFinite(entry->second))
                throw ktFileError(pose.skin->object, "has a joint that is not finite");
        }
        return entry->second;
    }

private:
    const ktRestPose& pose;
    std::unordered_map<std::uint32_t, ktMatrix> known;
};

void addTarget(const ktGltfDocument& document, const ktJson& target, const char* name, double weight,
               const std::uint32_t* source, std::vector<float>& values) {
    const ktJson* reference = ktJsonMember(target, name);
    const auto index = reference ? ktJsonAsWhole(*reference) : std::nullopt;
    if (!index || values.empty())
        return;
    const ktGltfAccessor accessor(document, static_cast<std::size_t>(*index));
    const std::size_t count = values.size() / 3;
    if (accessor.count() < (source ? source[count - 1] + std::size_t(1) : count))
        throw ktFileError(ktPointer("accessors", static_cast<std::size_t>(*index)), "has too few elements");
    std::vector<float> difference(values.size());
    accessor.readFloats(source, count, 3, 0.0f, difference.data());
    for (std::size_t i = 0; i < values.size(); ++i)
        values[i] += static_cast<float>(weight) * difference[i];
}

// Joints and weights of each vertex: four of each for every pair of attributes JOINTS_n and WEIGHTS_n.
struct Influences {
    std::vector<std::uint32_t> joints;
    std::vector<float> weights;
    std::size_t perVertex = 0;
};

Influences influencesOf(const ktGltfDocument& document, const ktJson& attributes, const std::uint32_t* source,
                        std::size_t count) {
    std::vector<Influences> sets;
    for (int n = 0; n < 8; ++n) {
        const auto joints = ktJsonWhole(attributes, ("JOINTS_" + std::to_string(n)).c_str());
        const auto weights = ktJsonWhole(attributes, ("WEIGHTS_" + std::to_string(n)).c_str());
        if (!joints || !weights)
            break;
        const ktGltfAccessor jointAccessor(document, static_cast<std::size_t>(*joints));
        const ktGltfAccessor weightAccessor(document, static_cast<std::size_t>(*weights));
        const std::size_t needed = source ? source[count - 1] + std::size_t(1) : count;
        if (jointAccessor.count() < needed || weightAccessor.count() < needed)
            throw ktFileError(ktPointer("accessors", static_cast<std::size_t>(*joints)), "has too few elements");
        Influences set;
        set.joints.resize(4 * count);
        set.weights.resize(4 * count);
        jointAccessor.readWhole(source, count, 4, set.joints.data());
        weightAccessor.readFloats(source, count, 4, 0.0f, set.weights.data());
        sets.push_back(std::move(set));
    }
    Influences all;
    all.perVertex = 4 * sets.size();
    for (std::size_t i = 0; i < count; ++i)
        for (const Influences& set : sets) {
            const auto at = static_cast<std::ptrdiff_t>(4 * i);
            all.joints.insert(all.joints.end(), set.joints.begin() + at, set.joints.begin() + at + 4);
            all.weights.insert(all.weights.end(), set.weights.begin() + at, set.weights.begin() + at + 4);
        }
    return all;
}

// The weighted mean of the joints' matrices; false if no joint moves the vertex.
bool blend(Joints& joints, const Influences& influences, std::size_t vertex, ktMatrix& mean) {
    mean.fill(0.0);
    double sum = 0.0;
    for (std::size_t k = vertex * influences.perVertex; k < (vertex + 1) * influences.perVertex; ++k) {
        const double weight = influences.weights[k];
        if (!(weight > 0.0) || influences.joints[k] >= joints.count())
            continue;
        const ktMatrix& joint = joints.get(influences.joints[k]);
        for (std::size_t e = 0; e < 16; ++e)
            mean[e] += weight * joint[e];
        sum += weight;
    }
    if (!(sum > 0.0) || !std::isfinite(sum))
        return false;
    for (double& element : mean)
        element /= sum;
    return true;
}

void transform(const ktMatrix& m, float* position) {
    const double p[3] = {position[0], position[1], position[2]};
    for (std::size_t row = 0; row < 3; ++row)
        position[row] = static_cast<float>(m[row] * p[0] + m[4 + row] * p[1] + m[8 + row] * p[2] + m[12 + row]);
}

// Transforms a normal by the cofactor matrix, which is right for any scale.
void transformNormal(const ktMatrix& m, float* normal) {
    const double n[3] = {normal[0], normal[1], normal[2]};
    double out[3];
    for (std::size_t row = 0; row < 3; ++row) {
        const std::size_t i = (row + 1) % 3, j = (row + 2) % 3;
        out[row] = 0.0;
        for (std::size_t c = 0; c < 3; ++c) {
            const std::size_t a = 4 * ((c + 1) % 3), b = 4 * ((c + 2) % 3);
            out[row] += (m[a + i] * m[b + j] - m[a + j] * m[b + i]) * n[c];
        }
    }
    for (std::size_t row = 0; row < 3; ++row)
        normal[row] = static_cast<float>(out[row]);
}

void normalizeAll(std::vector<float>& normals) {
    for (std::size_t i = 0; i < normals.size(); i += 3) {
        const float length = std::hypot(normals[i], normals[i + 1], normals[i + 2]);
        if (length > 0.0f && std::isfinite(length))
            for (std::size_t c = 0; c < 3; ++c)
                normals[i + c] /= length;
    }
}

} // namespace

ktRestPoseReader::ktRestPoseReader(const ktGltfDocument& document_,
                                   const std::vector<std::optional<ktMatrix>>& toScene_, ktFileMessages& messages_)
    : document(document_), toScene(toScene_), messages(messages_) {}

ktRestPose ktRestPoseReader::read(std::size_t node) {
    ktRestPose pose;
    const ktJson& shown = *ktJsonElement(document.json, "nodes", node);
    const ktJson* mesh =
        ktJsonElement(document.json, "meshes", static_cast<std::size_t>(ktJsonWhole(shown, "mesh").value_or(0)));
    if (mesh)
        pose.weights = weightsOf(ktJsonMember(shown, "weights") ? shown : *mesh);
    const auto skin = ktJsonWhole(shown, "skin");
    if (!skin)
        return pose;
    try {
        if (!toScene[node] || !ktInvert(*toScene[node], pose.toNode))
            throw ktFileError(ktPointer("nodes", node), "has no inverse transform, so its skin is left out");
        std::shared_ptr<const ktSkin>& known = skins[static_cast<std::size_t>(*skin)];
        if (!known) {
            auto read = std::make_shared<ktSkin>();
            try {
                readSkin(document, static_cast<std::size_t>(*skin), toScene, *read);
            } catch (const ktFileError& error) {
                read->object = error.object();
                read->problem = error.reason();
            }
            known = std::move(read);
        }
        if (!known->problem.empty())
            throw ktFileError(known->object, known->problem);
        pose.skin = known;
    } catch (const ktFileError& error) {
        messages.warn(error.object(), error.reason());
    }
    return pose;
}

void ktApplyRestPose(const ktGltfDocument& document, const ktJson& primitive, const ktRestPose& pose,
                     const std::uint32_t* source, std::vector<float>& positions, std::vector<float>& normals) {
    for (std::size_t t = 0; t < std::min(pose.weights.size(), ktJsonCount(primitive, "targets")); ++t) {
        const ktJson& target = *ktJsonElement(primitive, "targets", t);
        addTarget(document, target, "POSITION", pose.weights[t], source, positions);
        addTarget(document, target, "NORMAL", pose.weights[t], source, normals);
    }
    const ktJson* attributes = ktJsonMember(primitive, "attributes");
    if (pose.skin && attributes && !positions.empty()) {
        const std::size_t count = positions.size() / 3;
        const Influences influences = influencesOf(document, *attributes, source, count);
        Joints joints(pose);
        ktMatrix mean;
        for (std::size_t i = 0; i < count && influences.perVertex; ++i) {
            if (!blend(joints, influences, i, mean))
                continue;
            transform(mean, &positions[3 * i]);
            if (!normals.empty())
                transformNormal(mean, &normals[3 * i]);
        }
    }
    normalizeAll(normals);
}
