// SPDX-License-Identifier: LGPL-2.1-or-later
// Builds the help texts of the Python functions from tables of their parameters.
#include "ktAmbientOcclusionPythonHelp.h"

#include <vector>

namespace {

struct Parameter {
    const char* keyword;
    const char* description;
    const char* type;
};

// Positions 1 to 9, which both functions share.
const std::vector<Parameter> commonParameters = {
    {"quality", "The quality level (value from 0 to 5) for the ambient occlusion calculation.", "unsigned integer"},
    {"minDistance", "The minimum distance a ray searches for intersections.", "float"},
    {"maxDistance", "The maximum distance a ray searches for intersections.", "float"},
    {"indirectIllumination", "Turns indirect illumination on or off.", "bool"},
    {"colorBleeding", "Turns color bleeding on or off.", "bool"},
    {"gatherQuality", "The quality level (value from 0 to 4) for the indirect illumination gathering passes.",
     "unsigned integer"},
    {"numIndirections", "The number of bounces (gathering passes) for the indirect illumination.", "unsigned integer"},
    {"subdivide", "Turns geometry subdivision on or off.", "bool"},
    {"minEdgeLength", "Sets the minimum length an edge may have after subdivision.", "float"},
};

const std::vector<Parameter> computeParameters = {
    {"overrideMaterialColor", "Turns material color override on or off (Optional).", "bool"},
    {"materialColorR", "Red component of the material override color (Optional).", "float"},
    {"materialColorG", "Green component of the material override color (Optional).", "float"},
    {"materialColorB", "Blue component of the material override color (Optional).", "float"},
    {"subdivisionQuality", "The quality level (value from 0 to 2) for the subdivision of the geometry (Optional).",
     "int"},
    {"intensityThreshold", "Sets the intensity threshold for a subdivision (Optional).", "float"},
};

const std::vector<Parameter> computeMissingParameters = {
    {"intensityThreshold", "Sets the intensity threshold for a subdivision.", "float"},
    {"overrideMaterialColor", "Turns material color override on or off.", "bool"},
    {"materialColorR", "Red component of the material override color.", "float"},
    {"materialColorG", "Green component of the material override color.", "float"},
    {"materialColorB", "Blue component of the material override color", "float"},
    {"subdivisionQuality", "The quality level (value from 0 to 2) for the subdivision of the geometry (Optional).",
     "int"},
};

std::string join(const std::vector<std::string>& paragraphs) {
    std::string text;
    for (const std::string& paragraph : paragraphs)
        text += (text.empty() ? "" : "\n\n") + paragraph;
    return text;
}

void append(std::vector<std::string>& paragraphs, const std::vector<Parameter>& parameters) {
    for (const Parameter& parameter : parameters) {
        paragraphs.push_back(std::string("@param ") + parameter.keyword + ": " + parameter.description);
        paragraphs.push_back(std::string("@type ") + parameter.keyword + ": " + parameter.type);
    }
}

// "name(first, second, ...)": the common parameters, then the first `count` parameters of `own`.
std::string callForm(const char* name, const std::vector<Parameter>& own, std::size_t count) {
    std::string form = std::string(name) + "(";
    for (const Parameter& parameter : commonParameters)
        form += (form.back() == '(' ? "" : ", ") + std::string(parameter.keyword);
    for (std::size_t i = 0; i < count; ++i)
        form += std::string(", ") + own[i].keyword;
    return form + ")";
}

} // namespace

ktAmbientOcclusionPythonHelp::ktAmbientOcclusionPythonHelp() {
    std::vector<std::string> paragraphs = {
        "Calculates ambient occlusion and indirect illumination including color bleeding. There are three valid sets "
        "of parameters:",
        callForm("computeAmbientOcclusion", computeParameters, 0),
        callForm("computeAmbientOcclusion", computeParameters, 4),
        callForm("computeAmbientOcclusion", computeParameters, 6),
    };
    append(paragraphs, commonParameters);
    append(paragraphs, computeParameters);
    computeAmbientOcclusion = join(paragraphs);

    paragraphs = {
        "Calculates ambient occlusion and indirect illumination including color bleeding for the selected nodes that "
        "do not have a calculation yet. There are two valid sets of parameters:",
        callForm("computeMissingAmbientOcclusion", computeMissingParameters, 5),
        callForm("computeMissingAmbientOcclusion", computeMissingParameters, 6),
    };
    append(paragraphs, commonParameters);
    append(paragraphs, computeMissingParameters);
    computeMissingAmbientOcclusion = join(paragraphs);

    setAmbientOcclusionMode =
        join({"Sets the ambient occlusion mode. Accepted modes are KT_AO_MODE_CLASSIC, KT_AO_MODE_SHADOWS and "
              "KT_AO_MODE_LIGHT_AND_SHADOWS",
              "@param mode: The new mode.", "@type mode: integer"}) +
        "\n\n";
    getAmbientOcclusionMode =
        join({"Returns the current ambient occlusion mode. The modes are KT_AO_MODE_CLASSIC, KT_AO_MODE_SHADOWS and "
              "KT_AO_MODE_LIGHT_AND_SHADOWS",
              "@return: The current mode.", "@rtype: integer"});
}
