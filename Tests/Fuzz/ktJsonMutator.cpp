// SPDX-License-Identifier: LGPL-2.1-or-later
// Changes inputs of the fuzzers that read glTF: mostly values, members and places of its JSON, so that the text stays
// JSON and the file stays a .glb file; sometimes any bytes.
#include <cstdint>
#include <cstring>
#include <nlohmann/json.hpp>
#include <random>
#include <string>
#include <vector>

extern "C" std::size_t LLVMFuzzerMutate(std::uint8_t* data, std::size_t size, std::size_t most);
extern "C" std::size_t LLVMFuzzerCustomMutator(std::uint8_t* data, std::size_t size, std::size_t most, unsigned seed);

namespace {

using Json = nlohmann::ordered_json;

const std::size_t headerSize = 20; // of a .glb file with the header of its JSON
const std::size_t lengthAt = 8, jsonSizeAt = 12;

const Json numbers = {
    0,    1,    2,    3,     4,   5,    7,    -1,   255,   256,  65535, 65536, 2147483647, 4294967295, 9007199254740992,
    0.5,  -0.5, 1e-9, 1e-40, 1e9, 1e30, 1e38, 1e39, 1e300, 5120, 5121,  5123,  5125,       5126,       9728,
    33071};
const Json values = {
    nullptr,  true,   false,  "",     "x",    Json::array(), Json::object(), Json::array({0}), Json::array({1, 1, 1}),
    "SCALAR", "VEC2", "VEC3", "VEC4", "MAT4", "spot",        "BLEND",        "data:,",         "../a.bin"};
const char* const keys[] = {"extensions", "extras",     "children", "mesh",     "skin",  "weights",    "targets",
                            "matrix",     "scale",      "sparse",   "indices",  "mode",  "bufferView", "byteOffset",
                            "byteStride", "normalized", "uri",      "material", "index", "texCoord",   "camera",
                            "COLOR_0",    "NORMAL",     "_AO",      "_INDIRECT"};

class Mutation {
public:
    Mutation(Json& root_, unsigned seed) : root(root_), random(seed) { collect(root, 0); }

    void make() {
        Json& chosen = *any();
        switch (below(8)) {
        case 0:
            chosen = numbers[below(numbers.size())];
            break;
        case 1:
            chosen = values[below(values.size())];
            break;
        case 2: {
            Json copy = *any();
            chosen = std::move(copy);
            break;
        }
        case 3:
            if (chosen.is_structured() && !chosen.empty())
                chosen.erase(std::next(chosen.begin(), static_cast<std::ptrdiff_t>(below(chosen.size()))));
            break;
        case 4:
            if (chosen.is_array() && !chosen.empty()) {
                Json copy = chosen[below(chosen.size())];
                chosen.push_back(std::move(copy));
            }
            break;
        case 5:
            if (chosen.is_number_integer())
                chosen = chosen.get<std::int64_t>() / 2 + static_cast<std::int64_t>(below(5)) - 2;
            else if (chosen.is_number())
                chosen = -chosen.get<double>() * (below(2) ? 1000 : 0.001);
            break;
        case 6:
            if (chosen.is_object()) {
                Json copy = *any();
                chosen[keys[below(std::size(keys))]] = std::move(copy);
            }
            break;
        default: {
            Json copy = *any();
            if (chosen.is_structured() && !chosen.empty())
                *std::next(chosen.begin(), static_cast<std::ptrdiff_t>(below(chosen.size()))) = std::move(copy);
        }
        }
    }

private:
    void collect(Json& value, int depth) {
        all.push_back(&value);
        if (value.is_structured() && depth < 100)
            for (Json& part : value)
                collect(part, depth + 1);
    }
    Json* any() { return all[below(all.size())]; }
    std::size_t below(std::size_t count) { return random() % count; }

    Json& root;
    std::minstd_rand random;
    std::vector<Json*> all; // not used after the mutation
};

std::uint32_t wordAt(const std::uint8_t* data, std::size_t place) {
    std::uint32_t word = 0;
    std::memcpy(&word, data + place, sizeof word);
    return word;
}

void setWord(std::string& file, std::size_t place, std::size_t word) {
    const auto small = static_cast<std::uint32_t>(word);
    std::memcpy(&file[place], &small, sizeof small);
}

} // namespace

extern "C" std::size_t LLVMFuzzerCustomMutator(std::uint8_t* data, std::size_t size, std::size_t most, unsigned seed) {
    const bool isGlb = size >= headerSize && std::memcmp(data, "glTF", 4) == 0;
    const std::size_t begin = isGlb ? headerSize : 0,
                      end = isGlb ? std::min<std::size_t>(size, headerSize + wordAt(data, jsonSizeAt)) : size;
    if (seed % 8 == 0)
        return LLVMFuzzerMutate(data, size, most);
    Json json = Json::parse(data + begin, data + end, nullptr, false);
    if (json.is_discarded())
        return LLVMFuzzerMutate(data, size, most);
    Mutation(json, seed / 8).make();
    std::string text = json.dump(-1, ' ', false, Json::error_handler_t::replace);
    if (isGlb) {
        text.resize((text.size() + 3) / 4 * 4, ' ');
        std::string file(reinterpret_cast<const char*>(data), headerSize);
        setWord(file, jsonSizeAt, text.size());
        file += text;
        file.append(reinterpret_cast<const char*>(data) + end, size - end);
        setWord(file, lengthAt, file.size());
        text = std::move(file);
    }
    if (text.size() > most)
        return LLVMFuzzerMutate(data, size, most);
    std::memcpy(data, text.data(), text.size());
    return text.size();
}
