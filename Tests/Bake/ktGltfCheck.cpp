// SPDX-License-Identifier: LGPL-2.1-or-later
// Checks a glTF document and its data for faults, without any code of the baker.
#include "ktGltfCheck.h"

#include <algorithm>
#include <cmath>
#include <cstring>
#include <functional>
#include <map>
#include <optional>

namespace {

using Json = nlohmann::json;

const std::map<int, size_t> componentSizes = {{5120, 1}, {5121, 1}, {5122, 2}, {5123, 2}, {5125, 4}, {5126, 4}};
const std::map<std::string, size_t> widths = {{"SCALAR", 1}, {"VEC2", 2}, {"VEC3", 3}, {"VEC4", 4},
                                              {"MAT2", 4},   {"MAT3", 9}, {"MAT4", 16}};

/// An accessor's elements.
struct Values {
    size_t width = 0, count = 0;
    int componentType = 0;
    bool isNormalized = false;
    std::vector<double> numbers; ///< as stored, `width` per element
};

class Check {
public:
    explicit Check(const ktBakedFile& file_) : file(file_), json(file_.json) {}

    std::vector<std::string> run() {
        checkViews();
        for (size_t i = 0; i < countOf("accessors"); ++i)
            checkAccessor(i);
        for (size_t m = 0; m < countOf("meshes"); ++m)
            for (size_t p = 0; p < json["meshes"][m].at("primitives").size(); ++p)
                checkPrimitive("/meshes/" + std::to_string(m) + "/primitives/" + std::to_string(p),
                               json["meshes"][m]["primitives"][p]);
        checkNodes();
        return faults;
    }

private:
    const ktBakedFile& file;
    const Json& json;
    std::vector<std::string> faults;

    size_t countOf(const char* list) const { return json.contains(list) ? json.at(list).size() : 0; }
    void fault(const std::string& place, const std::string& what) { faults.push_back(place + ": " + what); }
    /// If an index refers to nothing, adds a fault and returns false.
    bool exists(const std::string& place, const char* list, const Json& index) {
        if (index.is_number_unsigned() && index.get<size_t>() < countOf(list))
            return true;
        fault(place, "refers to " + std::string(list) + " " + index.dump() + ", which does not exist");
        return false;
    }

    void checkViews() {
        for (size_t i = 0; i < countOf("bufferViews"); ++i) {
            const Json& view = json["bufferViews"][i];
            const std::string place = "/bufferViews/" + std::to_string(i);
            if (!exists(place, "buffers", view.at("buffer")))
                continue;
            if (view.value("byteOffset", size_t(0)) + view.at("byteLength").get<size_t>() >
                file.buffers.at(view["buffer"].get<size_t>()).size())
                fault(place, "reaches beyond its buffer");
            const size_t stride = view.value("byteStride", size_t(4));
            if (stride < 4 || stride > 252 || stride % 4 != 0)
                fault(place, "has a stride of " + std::to_string(stride));
        }
    }

    std::optional<Values> read(size_t index, const std::string& place) {
        const Json& accessor = json["accessors"][index];
        Values values;
        values.componentType = accessor.at("componentType").get<int>();
        values.width = widths.at(accessor.at("type").get<std::string>());
        values.count = accessor.at("count").get<size_t>();
        values.isNormalized = accessor.value("normalized", false);
        if (values.count == 0)
            fault(place, "has no elements");
        if (!accessor.contains("bufferView") || accessor.contains("sparse") ||
            !exists(place, "bufferViews", accessor["bufferView"]))
            return std::nullopt;
        const Json& view = json["bufferViews"][accessor["bufferView"].get<size_t>()];
        const size_t size = componentSizes.at(values.componentType);
        const size_t offset = accessor.value("byteOffset", size_t(0));
        const size_t viewOffset = view.value("byteOffset", size_t(0));
        const size_t stride = view.value("byteStride", size * values.width);
        if (offset % size != 0 || (viewOffset + offset) % size != 0 || stride % size != 0)
            fault(place, "is not aligned to its component size");
        if (stride < size * values.width)
            fault(place, "has elements that overlap");
        if (offset + stride * (values.count - 1) + size * values.width > view.at("byteLength").get<size_t>()) {
            fault(place, "reaches beyond its view");
            return std::nullopt;
        }
        const std::string& bytes = file.buffers.at(view["buffer"].get<size_t>());
        if (viewOffset + view["byteLength"].get<size_t>() > bytes.size())
            return std::nullopt;
        for (size_t i = 0; i < values.count * values.width; ++i)
            values.numbers.push_back(
                number(bytes.data() + viewOffset + offset + stride * (i / values.width) + size * (i % values.width),
                       values.componentType));
        return values;
    }

    template <class Type>
    static double numberOf(const char* data) {
        Type value;
        std::memcpy(&value, data, sizeof value);
        return static_cast<double>(value);
    }

    static double number(const char* data, int componentType) {
        switch (componentType) {
        case 5120:
            return numberOf<std::int8_t>(data);
        case 5121:
            return numberOf<std::uint8_t>(data);
        case 5122:
            return numberOf<std::int16_t>(data);
        case 5123:
            return numberOf<std::uint16_t>(data);
        case 5125:
            return numberOf<std::uint32_t>(data);
        default:
            return numberOf<float>(data);
        }
    }

    void checkAccessor(size_t index) {
        const std::string place = "/accessors/" + std::to_string(index);
        const Json& accessor = json["accessors"][index];
        const auto values = read(index, place);
        if (!values)
            return;
        if (!std::all_of(values->numbers.begin(), values->numbers.end(), [](double v) { return std::isfinite(v); }))
            fault(place, "has numbers that are not finite");
        for (const char* limit : {"min", "max"}) {
            if (!accessor.contains(limit))
                continue;
            const bool isMin = std::strcmp(limit, "min") == 0;
            for (size_t c = 0; c < values->width; ++c) {
                double extreme = values->numbers[c];
                for (size_t i = c; i < values->numbers.size(); i += values->width)
                    extreme = isMin ? std::min(extreme, values->numbers[i]) : std::max(extreme, values->numbers[i]);
                const double given = accessor[limit].at(c).get<double>();
                if (values->componentType == 5126 ? static_cast<float>(given) != static_cast<float>(extreme)
                                                  : given != extreme)
                    fault(place, std::string(limit) + " is not that of the data");
            }
        }
    }

    void checkPrimitive(const std::string& place, const Json& primitive) {
        const Json& attributes = primitive.at("attributes");
        std::optional<size_t> count;
        for (const auto& [name, index] : attributes.items()) {
            std::string here = place;
            here.append("/attributes/").append(name);
            if (!exists(here, "accessors", index))
                continue;
            const Json& accessor = json["accessors"][index.get<size_t>()];
            const auto own = accessor.at("count").get<size_t>();
            if (count && *count != own)
                fault(here, "has another count than the others");
            count = own;
            if (name == "POSITION" && !(accessor.contains("min") && accessor.contains("max")))
                fault(here, "positions have no limits");
            checkAttribute(here, name, index.get<size_t>());
        }
        if (primitive.contains("indices") && exists(place + "/indices", "accessors", primitive["indices"]))
            checkIndices(place + "/indices", primitive["indices"].get<size_t>(), count.value_or(0));
        if (primitive.contains("material"))
            exists(place + "/material", "materials", primitive["material"]);
    }

    void checkAttribute(const std::string& place, const std::string& name, size_t index) {
        const Json& accessor = json["accessors"][index];
        const std::string type = accessor.at("type");
        const int component = accessor.at("componentType").get<int>();
        const std::map<std::string, std::string> results = {
            {"_AO", "SCALAR"}, {"_INDIRECT", "VEC3"}, {"_BAKED_LIGHT", "VEC4"}};
        if (results.count(name) > 0 && (type != results.at(name) || component != 5126))
            fault(place, "is of the wrong type");
        if (name == "COLOR_0" && (type.compare(0, 3, "VEC") != 0 || type == "VEC2"))
            fault(place, "is no colour");
        if (accessor.contains("bufferView")) {
            const Json& view = json["bufferViews"].at(accessor["bufferView"].get<size_t>());
            if (view.value("target", 34962) != 34962)
                fault(place, "lies in a view for indices");
            if (view.value("byteStride", componentSizes.at(component) * widths.at(type)) % 4 != 0)
                fault(place, "has vertices that are not aligned to four bytes");
        }
        std::vector<std::string> ignored;
        ignored.swap(faults); // the accessor's check reports them
        const auto values = read(index, place);
        ignored.swap(faults);
        if (!values)
            return;
        const auto each = [&](const char* what, const std::function<bool(double)>& isGood) {
            if (!std::all_of(values->numbers.begin(), values->numbers.end(), isGood))
                fault(place, what);
        };
        if (name == "_AO")
            each("has results that are not above 0 and at most 1", [](double v) { return v > 0 && v <= 1; });
        if (name == "_INDIRECT" || name == "_BAKED_LIGHT")
            each("has light below 0", [](double v) { return v >= 0; });
        if (name == "COLOR_0" && component == 5126)
            each("has colours out of 0 to 1", [](double v) { return v >= 0 && v <= 1; });
        if (name == "NORMAL" && component == 5126)
            for (size_t i = 0; i + 2 < values->numbers.size(); i += 3) {
                const double* const n = &values->numbers[i];
                if (std::fabs(std::hypot(n[0], n[1], n[2]) - 1) > 1e-3) {
                    fault(place, "has normals that are no unit vectors");
                    break;
                }
            }
    }

    void checkIndices(const std::string& place, size_t index, size_t vertexCount) {
        const Json& accessor = json["accessors"][index];
        const int component = accessor.at("componentType").get<int>();
        if (accessor.at("type") != "SCALAR" || (component != 5121 && component != 5123 && component != 5125))
            fault(place, "are no unsigned numbers");
        if (accessor.contains("bufferView")) {
            const Json& view = json["bufferViews"].at(accessor["bufferView"].get<size_t>());
            if (view.contains("byteStride") || view.value("target", 34963) != 34963)
                fault(place, "lie in a view for vertices");
        }
        std::vector<std::string> ignored;
        ignored.swap(faults);
        const auto values = read(index, place);
        ignored.swap(faults);
        if (!values)
            return;
        // The largest number of a type is reserved for primitive restart.
        const double reserved = component == 5121 ? 255 : component == 5123 ? 65535 : 4294967295.0;
        for (const double value : values->numbers)
            if (value >= static_cast<double>(vertexCount) || value == reserved) {
                fault(place, "are out of range");
                break;
            }
    }

    void checkNodes() {
        for (size_t n = 0; n < countOf("nodes"); ++n) {
            const std::string place = "/nodes/" + std::to_string(n);
            const Json& node = json["nodes"][n];
            for (const auto& [member, list] :
                 std::map<std::string, const char*>{{"mesh", "meshes"}, {"skin", "skins"}, {"camera", "cameras"}})
                if (node.contains(member))
                    exists(place, list, node[member]);
            for (const Json& child : node.value("children", Json::array()))
                exists(place, "nodes", child);
        }
        for (size_t s = 0; s < countOf("scenes"); ++s)
            for (const Json& root : json["scenes"][s].value("nodes", Json::array()))
                exists("/scenes/" + std::to_string(s), "nodes", root);
    }
};

} // namespace

std::vector<std::string> ktCheckGltf(const ktBakedFile& file) {
    return Check(file).run();
}
