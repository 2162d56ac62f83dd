// SPDX-License-Identifier: LGPL-2.1-or-later
// Recognises the format of a file by its ending or its first bytes, and says what converts formats that are not read.
#include "ktImportFormat.h"

#include "ktFileError.h"

#include <assimp/Importer.hpp>
#include <cstring>
#include <QFile>
#include <QFileInfo>
#include <regex>

namespace {

constexpr qint64 headSize = 1 << 16; // of a STEP file, all of its header; of an OBJ file, some vertices

struct Head {
    std::string bytes;
    qint64 fileSize = 0;

    bool begins(const char* text) const { return bytes.compare(0, std::strlen(text), text) == 0; }
    bool contains(const char* text) const { return bytes.find(text) != std::string::npos; }
    std::uint32_t number(std::size_t place) const { // little-endian, 4 bytes
        std::uint32_t value = 0;
        for (std::size_t i = 4; i-- > 0;)
            value = value << 8 | static_cast<unsigned char>(place + i < bytes.size() ? bytes[place + i] : 0);
        return value;
    }
    /// The pattern has no unbounded repeats: std::regex needs stack for each.
    bool hasLine(const std::string& pattern) const {
        return std::regex_search(bytes, std::regex("(^|[\r\n])[ \t]{0,9}" + pattern));
    }
};

Head readHead(const QString& path) {
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly))
        return {};
    return {file.read(headSize).toStdString(), file.size()};
}

struct Signature {
    const char* start;
    const char* format;
};

constexpr Signature signatures[] = {{"ply\n", "ply"},
                                    {"ply\r", "ply"},
                                    {"Kaydara FBX Binary", "fbx"},
                                    {"; FBX ", "fbx"},
                                    {"OFF", "off"},
                                    {"COFF", "off"},
                                    {"NOFF", "off"},
                                    {"BLENDER", "blend"},
                                    {"AC3D", "ac"},
                                    {"xof 0", "x"},
                                    {"BB3D", "b3d"},
                                    {"IDP2", "md2"},
                                    {"IDP3", "md3"},
                                    {"MD5Version", "md5mesh"},
                                    {"MS3D000000", "ms3d"},
                                    {"INTERQUAKEMODEL", "iqm"},
                                    {"Caligari ", "cob"},
                                    {"LWSC", "lws"},
                                    {"*3DSMAX_ASCIIEXPORT", "ase"}};

constexpr Signature elements[] = {
    {"<COLLADA", "dae"}, {"<X3D", "x3d"}, {"<amf", "amf"}, {"<irr_scene", "irr"}, {"irrlicht.sourceforge", "irrmesh"}};

bool isStepWithoutBuilding(const Head& head) {
    static const std::regex schema("FILE_SCHEMA\\s{0,9}\\(\\s{0,9}\\(\\s{0,9}'IFC");
    return head.begins("ISO-10303-21") && !std::regex_search(head.bytes, schema);
}

std::string formatByContent(const Head& head) {
    for (const Signature& signature : signatures)
        if (head.begins(signature.start))
            return signature.format;
    if (head.bytes.size() >= 84 && head.fileSize == 84 + qint64(50) * head.number(80))
        return "stl";
    if (head.begins("solid") && head.contains("facet"))
        return "stl";
    if (head.begins("MM") && head.fileSize == head.number(2))
        return "3ds";
    if (head.begins("FORM") && (head.bytes.compare(8, 3, "LWO") == 0 || head.bytes.compare(8, 4, "LWLO") == 0))
        return "lwo";
    if (head.begins("PK\x03\x04"))
        return head.contains(".model") ? "3mf" : head.contains(".dae") ? "zae" : "";
    if (head.begins("ISO-10303-21"))
        return "ifc";
    if (head.hasLine("<"))
        for (const Signature& element : elements)
            if (head.contains(element.start))
                return element.format;
    const std::string number = "[ \t]{1,9}-?[0-9.]{1,24}(e[-+]?[0-9]{1,3})?";
    if (head.hasLine("v" + number + number + number))
        return "obj";
    return head.hasLine("0[\r\n]{1,2}[ \t]{0,9}SECTION[\r\n]") ? "dxf" : "";
}

/// Formats that Assimp does not read: their endings, what the message calls them, and what can be done.
struct Unread {
    std::initializer_list<const char*> endings;
    const char* name;
    const char* advice;
};

constexpr const char* exactSurfaces =
    "holds exact surfaces and no triangles. Convert it to glTF or OBJ, for example with FreeCAD";
constexpr const char* withBlender = "is not supported. Convert it to glTF, for example with Blender";
constexpr const char* fromProgram = "is not supported. Export glTF, OBJ or FBX from the program";

const Unread unreadFormats[] = {
    {{"step", "stp", "p21", "stpz"}, "STEP", exactSurfaces},
    {{"iges", "igs"}, "IGES", exactSurfaces},
    {{"brep", "brp"}, "BREP", exactSurfaces},
    {{"usd", "usda", "usdc", "usdz"}, "USD", withBlender},
    {{"abc"}, "Alembic", withBlender},
    {{"wrl", "vrml", "wrz"}, "VRML", withBlender},
    {{"fcstd"}, "FreeCAD's format", fromProgram},
    {{"3dm"}, "Rhino's format", fromProgram},
    {{"skp"}, "SketchUp's format", fromProgram},
    {{"max"}, "the format of 3ds Max", fromProgram},
    {{"ma", "mb"}, "Maya's format", fromProgram},
    {{"c4d"}, "the format of Cinema 4D", fromProgram},
    {{"rvt", "rfa"}, "Revit's format", "is not supported. Export IFC or FBX from the program"},
    {{"dwg"}, "DWG", "is not supported. Export DXF, OBJ or FBX from a CAD program"},
    {{"jt", "x_t", "x_b", "sat", "sab", "catpart", "catproduct", "cgr", "sldprt", "sldasm", "ipt", "iam", "prt",
      "3dxml"},
     "this CAD format",
     "is not supported. Export glTF or OBJ from a CAD program; or STEP, which FreeCAD converts to glTF"}};

void refuse(const std::string& format) {
    for (const Unread& unread : unreadFormats)
        for (const char* ending : unread.endings)
            if (format == ending)
                throw ktFileError("file", std::string("cannot be read: ") + unread.name + " " + unread.advice);
}

} // namespace

std::string ktFindImportFormat(const QString& path) {
    std::string ending = QFileInfo(path).suffix().toLower().toStdString();
    const Assimp::Importer importer;
    if (!ending.empty() && importer.IsExtensionSupported(ending)) {
        // Assimp reads the buildings among STEP files.
        if ((ending == "step" || ending == "stp") && isStepWithoutBuilding(readHead(path)))
            refuse(ending);
        return ending;
    }
    refuse(ending);
    const Head head = readHead(path);
    if (isStepWithoutBuilding(head))
        refuse("step");
    std::string format = formatByContent(head);
    if (format.empty() || !importer.IsExtensionSupported(format))
        throw ktFileError("file", "is no glTF, and files of the kind '." + ending + "' cannot be imported");
    return format;
}
