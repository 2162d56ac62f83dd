// SPDX-License-Identifier: LGPL-2.1-or-later
// Reading accessors of glTF files: types, strides, sparse elements and wrong data.
#include "ktFileError.h"
#include "ktGltfAccessor.h"
#include "ktTestGltf.h"

#include <gmock/gmock.h>

using testing::ElementsAre;
using testing::FloatEq;
using testing::HasSubstr;

namespace {

ktGltfDocument inMemory(const ktTestGltf& file) {
    ktGltfDocument document;
    document.json = file.json;
    document.json["buffers"] = ktJson::array({{{"byteLength", file.bytes.size()}}});
    document.buffers.push_back({ktBytes(file.bytes.begin(), file.bytes.end()), ""});
    return document;
}

std::vector<float> all(const ktTestGltf& file, std::size_t accessor, int width, float fill = 0.0f) {
    const ktGltfDocument document = inMemory(file);
    const ktGltfAccessor view(document, accessor);
    std::vector<float> out(view.count() * static_cast<std::size_t>(width));
    view.readFloats(nullptr, view.count(), width, fill, out.data());
    return out;
}

template <class T>
std::vector<float> normalizedScalars(const std::vector<T>& data, int componentType) {
    ktTestGltf file;
    const std::size_t accessor = file.accessor({{"bufferView", file.view(data)},
                                                {"componentType", componentType},
                                                {"normalized", true},
                                                {"count", data.size()},
                                                {"type", "SCALAR"}});
    return all(file, accessor, 1);
}

std::string problemOf(ktJson accessor, const ktJson& viewChanges = ktJson::object()) {
    ktTestGltf file;
    file.view(std::vector<float>(12, 1.0f));
    file.json["bufferViews"][0].update(viewChanges);
    const std::size_t index = file.accessor(std::move(accessor));
    const ktGltfDocument document = inMemory(file);
    try {
        const ktGltfAccessor view(document, index);
        view.readIndices();
        return std::string();
    } catch (const ktFileError& error) {
        return error.object() + " " + error.reason();
    }
}

ktJson vec3(std::size_t count) {
    return {{"bufferView", 0}, {"componentType", 5126}, {"count", count}, {"type", "VEC3"}};
}

} // namespace

TEST(GltfAccessor, GivenNormalizedIntegers_GivesUnitRange) {
    EXPECT_THAT(normalizedScalars<std::int8_t>({-128, -127, 0, 127}, 5120), ElementsAre(-1, -1, 0, 1));
    EXPECT_THAT(normalizedScalars<std::uint8_t>({0, 51, 255}, 5121), ElementsAre(0, FloatEq(0.2f), 1));
    EXPECT_THAT(normalizedScalars<std::int16_t>({-32768, 32767, 0}, 5122), ElementsAre(-1, 1, 0));
    EXPECT_THAT(normalizedScalars<std::uint16_t>({0, 13107, 65535}, 5123), ElementsAre(0, FloatEq(0.2f), 1));
}

TEST(GltfAccessor, GivenPlainIntegers_GivesTheirValue) {
    ktTestGltf file;
    const std::size_t accessor = file.accessor({{"bufferView", file.view(std::vector<std::int16_t>{-5, 300, 7})},
                                                {"componentType", 5122},
                                                {"count", 1},
                                                {"type", "VEC3"}});
    EXPECT_THAT(all(file, accessor, 3), ElementsAre(-5, 300, 7));
}

TEST(GltfAccessor, GivenInterleavedView_StepsByStride) {
    ktTestGltf file;
    const std::size_t view = file.view(std::vector<float>{1, 2, 3, 9, 4, 5, 6, 8}, 16);
    const std::size_t first =
        file.accessor({{"bufferView", view}, {"componentType", 5126}, {"count", 2}, {"type", "VEC3"}});
    const std::size_t second = file.accessor(
        {{"bufferView", view}, {"byteOffset", 12}, {"componentType", 5126}, {"count", 2}, {"type", "SCALAR"}});
    EXPECT_THAT(all(file, first, 3), ElementsAre(1, 2, 3, 4, 5, 6));
    EXPECT_THAT(all(file, second, 1), ElementsAre(9, 8));
}

TEST(GltfAccessor, GivenFewerComponentsThanRequested_FillsTheRest) {
    ktTestGltf file;
    const std::size_t accessor = file.floats({1, 2, 3, 4, 5, 6}, 3);
    EXPECT_THAT(all(file, accessor, 4, 1.0f), ElementsAre(1, 2, 3, 1, 4, 5, 6, 1));
    EXPECT_THAT(all(file, accessor, 2), ElementsAre(1, 2, 4, 5));
}

TEST(GltfAccessor, GivenSparse_ReplacesElements) {
    ktTestGltf file;
    const std::size_t indices = file.view(std::vector<std::uint8_t>{1, 3});
    const std::size_t values = file.view(std::vector<float>{7, 8});
    const ktJson sparse = {{"count", 2},
                           {"indices", {{"bufferView", indices}, {"componentType", 5121}}},
                           {"values", {{"bufferView", values}}}};
    const std::size_t base = file.view(std::vector<float>{0.5f, 1, 2, 3});
    const std::size_t over = file.accessor(
        {{"bufferView", base}, {"componentType", 5126}, {"count", 4}, {"type", "SCALAR"}, {"sparse", sparse}});
    const std::size_t alone =
        file.accessor({{"componentType", 5126}, {"count", 4}, {"type", "SCALAR"}, {"sparse", sparse}});
    EXPECT_THAT(all(file, over, 1), ElementsAre(0.5f, 7, 2, 8));
    EXPECT_THAT(all(file, alone, 1), ElementsAre(0, 7, 0, 8));
}

TEST(GltfAccessor, GivenSelection_ReadsThoseElements) {
    ktTestGltf file;
    const std::size_t accessor = file.floats({1, 2, 3, 4}, 1);
    const ktGltfDocument document = inMemory(file);
    const std::uint32_t which[] = {3, 0, 3};
    float out[3];
    ktGltfAccessor(document, accessor).readFloats(which, 3, 1, 0.0f, out);
    EXPECT_THAT(out, ElementsAre(4, 1, 4));
}

TEST(GltfAccessor, GivenBadReference_NamesTheObject) {
    EXPECT_THAT(problemOf(vec3(5)), HasSubstr("/accessors/0 reaches beyond the end of its bufferView"));
    EXPECT_THAT(problemOf(vec3(4), {{"byteLength", 1000}}), HasSubstr("/bufferViews/0 reaches beyond"));
    EXPECT_THAT(problemOf(vec3(4), {{"byteStride", 4}}), HasSubstr("byteStride"));
    EXPECT_THAT(problemOf(vec3(4), {{"buffer", 1}}), HasSubstr("/bufferViews/0 has no valid buffer"));
    EXPECT_THAT(problemOf({{"bufferView", 7}, {"componentType", 5126}, {"count", 1}, {"type", "VEC3"}}),
                HasSubstr("/bufferViews/7 does not exist"));
    EXPECT_THAT(problemOf(vec3(0)), HasSubstr("count"));
    EXPECT_THAT(problemOf(vec3(4)), HasSubstr("used for indices"));
}

TEST(GltfAccessor, GivenAbsurdNumbers_RefusesWithoutAllocating) {
    EXPECT_THAT(problemOf({{"componentType", 5125}, {"count", 4000000000u}, {"type", "SCALAR"}}),
                HasSubstr("without data"));
    EXPECT_THAT(problemOf({{"componentType", 5125}, {"count", 1e18}, {"type", "SCALAR"}}), HasSubstr("count"));
    ktJson far = vec3(1);
    far["byteOffset"] = 9007199254740991;
    EXPECT_THAT(problemOf(far), HasSubstr("reaches beyond"));
    EXPECT_THAT(problemOf(vec3(4000000000u)), HasSubstr("reaches beyond"));
}

TEST(GltfAccessor, GivenUnorderedSparseIndices_Refuses) {
    ktTestGltf file;
    const std::size_t indices = file.view(std::vector<std::uint8_t>{3, 1});
    const std::size_t values = file.view(std::vector<float>{7, 8});
    const std::size_t accessor = file.accessor({{"componentType", 5126},
                                                {"count", 4},
                                                {"type", "SCALAR"},
                                                {"sparse",
                                                 {{"count", 2},
                                                  {"indices", {{"bufferView", indices}, {"componentType", 5121}}},
                                                  {"values", {{"bufferView", values}}}}}});
    const ktGltfDocument document = inMemory(file);
    EXPECT_THROW(ktGltfAccessor(document, accessor), ktFileError);
}
