// SPDX-License-Identifier: LGPL-2.1-or-later
// Writes the manual page of ktbake from the description of the options.
#include "ktBakeManualPage.h"

#include "ktBakeExit.h"

#include <cctype>

namespace {

/// Text as man(7) prints it. A line may not begin with a dot or an apostrophe, which are requests.
std::string escaped(const std::string& text) {
    std::string result;
    for (const char c : text) {
        if (c == '\\')
            result += "\\e";
        else if (c == '-')
            result += "\\-";
        else if (c == '\'')
            result += "\\(aq";
        else
            result += c;
    }
    return result.empty() || result[0] != '.' ? result : "\\&" + result;
}

std::string bold(const std::string& text) {
    return "\\fB" + escaped(text) + "\\fR";
}

std::string italic(const std::string& text) {
    return "\\fI" + escaped(text) + "\\fR";
}

std::string asSentence(std::string text) {
    text[0] = static_cast<char>(std::toupper(static_cast<unsigned char>(text[0])));
    return escaped(text) + (text.back() == '.' ? "\n" : ".\n");
}

std::string makeEntry(const ktBakeOptionInfo& option) {
    std::string entry = ".TP\n";
    for (const std::string& name : option.names)
        entry += (name == option.names.front() ? "" : ", ") + (option.isScene() ? italic(name) : bold(name));
    if (!option.isFlag())
        entry += " " + italic(option.argument);
    entry += "\n" + asSentence(option.help);
    if (!option.defaultValue.empty())
        entry += "Default: " + escaped(option.defaultValue) + ".\n";
    return entry;
}

constexpr const char* description = R"(.SH DESCRIPTION
.B ktbake
reads a scene, calculates for each vertex how much light reaches it, and writes the scene with the results.
The input is glTF 2.0 or a format that Assimp reads; the output is glTF 2.0.
Results are the vertex attribute
.B _AO
(one number, 1 in the open) and, with bounced light,
.B _INDIRECT
(three numbers).
The vertex colours are multiplied by the light, so that every viewer shows it.
.PP
A
.I SCENE
named
.B \-
is a .glb file from standard input;
.B \-\-output \-
writes one to standard output.
With
.B \-\-output\-folder
there may be many scenes;
.I @LIST
is a file with one name a line.
After
.B \-\-
there are no options.
With
.BR \-\-script ,
what follows are the arguments of the script.
)";

constexpr const char* rest = R"(.SH OUTPUT
Messages and progress go to standard error, the report of the calculation to standard output.
With
.BR \-\-quiet ,
a run that succeeds prints nothing.
With
.BR \-\-json ,
each line on standard error is one JSON object.
Its
.I level
is error, warning, info, progress or result;
.I text
is the message;
.IR file ,
.IR object ,
.IR option ,
.I value
and
.I reason
are there where they are known.
The last line has
.I exitCode
and
.IR result .
.PP
After a failure or a cancel, an existing output file is unchanged.
.SH ENVIRONMENT
.TP
.B KT_PREFERENCES_DIR
Folder of the file
.IR aotemplates.xml ,
which keeps the presets.
.SH EXAMPLES
.TP
.B ktbake car.glb \-o car\-baked.glb \-\-preview car.png
Bakes a scene and draws a picture of it.
.TP
.B ktbake car.fbx \-\-unit cm \-\-shadow\-quality 4 \-\-max\-distance 3%
Surfaces farther than 3 % of the scene's diagonal do not occlude.
.TP
.B ktbake \- \-o \- \-\-quiet < car.glb > car\-baked.glb
Bakes inside a pipeline.
)";

} // namespace

std::string makeManualPage(const std::vector<ktBakeOptionInfo>& options, const std::string& version) {
    std::string page = ".\\\" Made from the description of the options when ktbake is built.\n";
    page += ".TH KTBAKE 1 \"\" \"ktbake " + version + "\" \"User Commands\"\n";
    page += ".SH NAME\nktbake \\- bake ambient occlusion and indirect light into the vertices of a scene\n";
    page += ".SH SYNOPSIS\n.B ktbake\n[\\fIOPTIONS\\fR] \\fISCENE\\fR\n.br\n"
            ".B ktbake\n[\\fIOPTIONS\\fR] \\fISCENE\\fR ... \\fB\\-\\-output\\-folder\\fR \\fIDIR\\fR\n.br\n.B ktbake "
            "\\-\\-list\\-presets\n.br\n"
            ".B ktbake \\-\\-script\n\\fIFILE.py\\fR [\\fISCENE\\fR] [\\fB\\-\\-\\fR \\fIARGUMENTS\\fR]\n";
    page += description;
    page += ".SH OPTIONS\n" + escaped(ktBakeText::lengths) + "\n";
    std::string group;
    for (const ktBakeOptionInfo& option : options) {
        if (option.group != group)
            page += ".SS " + option.group + "\n";
        group = option.group;
        page += makeEntry(option);
    }
    page += ".SH EXIT STATUS\n";
    for (const ktBakeExit::Description& code : ktBakeExit::descriptions)
        page += ".TP\n.B " + std::to_string(code.code) + "\n" + asSentence(code.meaning);
    return page + rest;
}
