// SPDX-License-Identifier: LGPL-2.1-or-later
// Converts Assimp's animations to glTF.
#include "ktAssimpTarget.h"

#include <cmath>

namespace {

// Keys of one channel as lists of times and values. Times ascend without repeats; all numbers are finite.
class Keys {
public:
    explicit Keys(double ticksPerSecond) : ticks(ticksPerSecond > 0.0 ? ticksPerSecond : 25.0) {}

    void add(double time_ticks, std::initializer_list<float> value) {
        const auto time = static_cast<float>(time_ticks / ticks);
        bool usable = std::isfinite(time) && time >= 0.0f && (times.empty() || time > times.back());
        for (const float component : value)
            usable = usable && std::isfinite(component);
        if (!usable)
            return;
        times.push_back(time);
        values.insert(values.end(), value);
    }

    std::vector<float> times, values;

private:
    double ticks;
};

void addChannel(ktAssimpTarget& target, ktJson& animation, const Keys& keys, const char* type, int width,
                std::size_t node, const char* path) {
    if (keys.times.empty())
        return;
    animation["samplers"].push_back({{"input", target.addFloats(keys.times, "SCALAR", 1, true)},
                                     {"output", target.addFloats(keys.values, type, width, false)}});
    animation["channels"].push_back(
        {{"sampler", animation["samplers"].size() - 1}, {"target", {{"node", node}, {"path", path}}}});
}

void addNodeChannels(ktAssimpTarget& target, ktJson& animation, const aiNodeAnim& channel, double ticks) {
    const auto node = target.nodeOfName.find(channel.mNodeName.C_Str());
    if (node == target.nodeOfName.end())
        return;
    Keys places(ticks), turns(ticks), scales(ticks);
    for (unsigned k = 0; k < channel.mNumPositionKeys; ++k) {
        const aiVector3D& v = channel.mPositionKeys[k].mValue;
        places.add(channel.mPositionKeys[k].mTime, {v.x, v.y, v.z});
    }
    for (unsigned k = 0; k < channel.mNumRotationKeys; ++k) {
        aiQuaternion q = channel.mRotationKeys[k].mValue;
        q.Normalize();
        turns.add(channel.mRotationKeys[k].mTime, {q.x, q.y, q.z, q.w});
    }
    for (unsigned k = 0; k < channel.mNumScalingKeys; ++k) {
        const aiVector3D& v = channel.mScalingKeys[k].mValue;
        scales.add(channel.mScalingKeys[k].mTime, {v.x, v.y, v.z});
    }
    addChannel(target, animation, places, "VEC3", 3, node->second, "translation");
    addChannel(target, animation, turns, "VEC4", 4, node->second, "rotation");
    addChannel(target, animation, scales, "VEC3", 3, node->second, "scale");
}

} // namespace

void ktConvertAssimpAnimations(ktAssimpTarget& target) {
    for (unsigned a = 0; a < target.scene.mNumAnimations; ++a) {
        const aiAnimation& source = *target.scene.mAnimations[a];
        ktJson animation = ktJson::object();
        if (source.mName.length)
            animation["name"] = source.mName.C_Str();
        for (unsigned c = 0; c < source.mNumChannels; ++c)
            addNodeChannels(target, animation, *source.mChannels[c], source.mTicksPerSecond);
        if (animation.contains("channels"))
            target.add("animations", std::move(animation));
    }
}
