// SPDX-License-Identifier: LGPL-2.1-or-later
// Appends views, accessors and elements to the glTF document that an imported scene is converted to.
#include "ktAssimpTarget.h"

#include <algorithm>
#include <QFileInfo>

std::string ktFileToImport::nameWithEnding() const {
    const QString ending = QFileInfo(QString::fromStdString(path)).suffix().toLower();
    return ending.toStdString() == format ? path : path + "." + format;
}

std::size_t ktAssimpTarget::addView(const void* data, std::size_t size, int target) {
    bytes.resize((bytes.size() + 3) / 4 * 4);
    ktJson view = {{"buffer", 0}, {"byteOffset", bytes.size()}, {"byteLength", size}};
    if (target)
        view["target"] = target;
    const auto* first = static_cast<const std::uint8_t*>(data);
    bytes.insert(bytes.end(), first, first + size);
    return add("bufferViews", std::move(view));
}

std::size_t ktAssimpTarget::addFloats(const std::vector<float>& data, const char* type, int width, bool limits,
                                      int target) {
    ktJson accessor = {{"bufferView", addView(data.data(), data.size() * sizeof(float), target)},
                       {"componentType", 5126},
                       {"count", data.size() / static_cast<std::size_t>(width)},
                       {"type", type}};
    for (int c = 0; limits && c < width; ++c) {
        float low = data[c], high = data[c];
        for (std::size_t i = c; i < data.size(); i += static_cast<std::size_t>(width)) {
            low = std::min(low, data[i]);
            high = std::max(high, data[i]);
        }
        accessor["min"].push_back(static_cast<double>(low));
        accessor["max"].push_back(static_cast<double>(high));
    }
    return add("accessors", std::move(accessor));
}

std::size_t ktAssimpTarget::addIndices(const std::vector<std::uint32_t>& indices) {
    return add("accessors", {{"bufferView", addView(indices.data(), indices.size() * sizeof(std::uint32_t), 34963)},
                             {"componentType", 5125},
                             {"count", indices.size()},
                             {"type", "SCALAR"}});
}

std::size_t ktAssimpTarget::add(const char* collection, ktJson element) {
    ktJson& array = json[collection];
    array.push_back(std::move(element));
    return array.size() - 1;
}

void ktAssimpTarget::useExtension(const char* name) {
    ktJson& used = json["extensionsUsed"];
    if (std::find(used.begin(), used.end(), name) == used.end())
        used.push_back(name);
}
