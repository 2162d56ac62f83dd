// SPDX-License-Identifier: LGPL-2.1-or-later
// Reads many changed files of several formats as ktbake does, imports apart, and writes and reads again what it could
// read. Built with sanitizers, it finds errors also in the processes that import, and tells ours from those of the
// libraries. For each format it prints how many files were read or refused, and why. Started by a person:
//     ktMutatedFiles --count 10000 [--first N] [--formats obj,ply] FOLDER...
// A number and a format always give the same file and options. Files that show an error, or that a limit ended, remain
// in the current folder.
#include "ktFileMutator.h"
#include "ktFuzzing.h"
#include "ktLogOutput.h"
#include "ktSceneFile.h"
#include "ktSharedCounters.h"

#include <algorithm>
#include <atomic>
#include <csignal>
#include <cstring>
#include <map>
#include <OpenSG/OSGBaseFunctions.h>
#include <poll.h>
#include <QCoreApplication>
#include <sanitizer/asan_interface.h>
#include <sstream>
#include <sys/mman.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

namespace fs = std::filesystem;

extern "C" {
// Names that the sanitizers look for. NOLINTBEGIN(clang-diagnostic-reserved-identifier)
void __ubsan_on_report();
void __ubsan_get_current_report_data(const char** kind, const char** message, const char** file, unsigned* line,
                                     unsigned* column, char** memory);
// NOLINTEND(clang-diagnostic-reserved-identifier)
}

namespace {

constexpr std::uintmax_t largestSample = 1 << 16;
constexpr int patience_ms = 300000; // for one file; the processes that import have their own limits

/// Shared with the processes that read and that import.
struct Report {
    std::atomic<bool> isThere;
    char text[1 << 16];
};
Report* report = nullptr;

void keepReport(const char* text) {
    if (report && !report->isThere.exchange(true))
        std::snprintf(report->text, sizeof report->text, "%s", text);
}

/// Whether an error is in a library that imports: one of its innermost functions is there, or called abort() there.
bool isForeign(const std::string& text) {
    std::istringstream lines(text);
    int functions = 0;
    for (std::string line; std::getline(lines, line);) {
        const std::size_t at = line.find_first_not_of(' ');
        if (at == std::string::npos || line[at] != '#' || line.find("/libc.so") != std::string::npos)
            continue;
        if (++functions > 4)
            return false;
        for (const char* library : {"libassimp", "libdraco", "libminizip", "libpugixml", "libirrxml", "libz."})
            if (line.find(library) != std::string::npos)
                return true;
    }
    return false;
}

struct Format {
    std::string ending;
    std::vector<std::string> samples;
    std::map<std::string, long> ends; // by what happened
    long read = 0, refused = 0, limited = 0, crashed = 0, foreign = 0, found = 0;
};

std::string lower(std::string text) {
    std::transform(text.begin(), text.end(), text.begin(),
                   [](unsigned char c) { return static_cast<char>(std::tolower(c)); });
    return text;
}

Format findSamples(const std::string& ending, const std::vector<std::string>& folders) {
    Format format;
    format.ending = ending;
    std::vector<fs::path> paths;
    for (const std::string& folder : folders)
        for (const auto& entry : fs::recursive_directory_iterator(folder))
            if (lower(entry.path().extension().string()) == "." + ending && entry.is_regular_file() &&
                entry.file_size() <= largestSample)
                paths.push_back(entry.path());
    std::sort(paths.begin(), paths.end());
    for (const fs::path& path : paths) {
        std::ostringstream bytes;
        bytes << std::ifstream(path, std::ios::binary).rdbuf();
        if (ending != "gltf" || bytes.str().find(".bin\"") == std::string::npos) // its data would be missing
            format.samples.push_back(bytes.str());
    }
    return format;
}

/// File number `number` of a format.
std::string makeFile(const Format& format, long number) {
    const std::uint64_t seed = std::hash<std::string>()(format.ending) ^ static_cast<std::uint64_t>(number);
    return ktFileMutator(format.samples, seed).make();
}

/// What a text says about any file: no numbers and no names.
std::string generalized(const std::string& reason) {
    std::string text;
    bool isQuoted = false;
    for (const char c : reason) {
        if (c == '\'' || c == '"')
            isQuoted = !isQuoted;
        if (isQuoted || (c >= '0' && c <= '9'))
            text += text.empty() || text.back() != '#' ? "#" : "";
        else
            text += static_cast<unsigned char>(c) < 32 ? ' ' : c;
    }
    return text.substr(0, 80);
}

/// The ending under which a file is read. Every eighth says nothing about the format.
std::string endingOf(const Format& format, long number) {
    return number % 8 == 7 ? "dat" : format.ending;
}

/// Some files are read with an up axis and a unit that are not those of the file.
ktOpenOptions optionsOf(long number) {
    ktOpenOptions options;
    const char* const axes[] = {"x", "-y", "z"};
    if (number % 4 == 2)
        options.up = ktParseUpAxis(axes[number / 4 % 3]);
    if (number % 16 == 1)
        options.unit = ktParseLengthUnit("inch").value_or(ktLengthUnit());
    return options;
}

/// Reads a file as ktbake does. What happened: "read", "! WHAT" for an error of ours, or why it was refused.
std::string readAndWrite(const fs::path& path, const ktOpenOptions& options) {
    ktFileReport opened;
    const auto file = ktSceneFile::open(QString::fromStdString(path.string()), options, opened);
    if (static_cast<bool>(file) != opened.isGood())
        return "! no scene and no error, or both";
    if (!file)
        return opened.errorReason.empty() || opened.errorObject.empty() ? "! refused without a reason"
                                                                        : generalized(opened.errorReason);
    file->loadPictures(opened);
    const fs::path output = fuzzFolder() / "out.glb";
    ktFileReport saved;
    if (!file->save(QString::fromStdString(output.string()), {}, saved))
        return "! was read and cannot be written: " + saved.error;
    ktFileReport again;
    if (!ktSceneFile::open(QString::fromStdString(output.string()), {}, again))
        return "! was written and cannot be read: " + again.error;
    return "read";
}

void sayTo(int pipe, std::string line) {
    std::replace(line.begin(), line.end(), '\n', ' ');
    line += '\n';
    require(write(pipe, line.data(), line.size()) == static_cast<ssize_t>(line.size()), "the pipe is broken");
}

bool isLimit(const std::string& what) {
    return what.find("took too long") != std::string::npos || what.find("too much memory") != std::string::npos;
}

/// Keeps a file that shows an error of ours, or that a limit ended.
void keep(const Format& format, long number, const std::string& what) {
    const std::string name = (isLimit(what) ? "limit-" : "found-") + std::to_string(number) + "." +
                             endingOf(format, number),
                      file = makeFile(format, number);
    writeInput(name, reinterpret_cast<const std::uint8_t*>(file.data()), file.size());
    std::printf("%s: %s\n%s\n", name.c_str(), what.c_str(), report->isThere ? report->text : "");
    std::fflush(stdout);
}

/// The process that reads files: one line for each, with a mark before it: '!' an error of ours, '?' one of a library.
[[noreturn]] void readFiles(const Format& format, long first, long end, int pipe) {
    int count = 1;
    char name[] = "ktMutatedFiles";
    char* arguments[] = {name, nullptr};
    const QCoreApplication application(count, arguments);
    osg::osgInit(count, arguments);
    ktLogOutput::setQuiet(true);
    for (long number = first; number < end; ++number) {
        emptyFuzzFolder();
        const fs::path path = fuzzFolder() / ("in." + endingOf(format, number));
        const std::string file = makeFile(format, number);
        writeInput(path, reinterpret_cast<const std::uint8_t*>(file.data()), file.size());
        std::string what = readAndWrite(path, optionsOf(number));
        const bool isOurs = what[0] == '!' || (report->isThere && !isForeign(report->text));
        if (isOurs || isLimit(what))
            keep(format, number, what);
        what.insert(0, 1, isOurs ? '!' : report->isThere ? '?' : ' ');
        report->isThere = false;
        sayTo(pipe, what);
    }
    _exit(0);
}

/// Counts what happened to a file. @param line as readFiles() writes it
void count(Format& format, const std::string& line) {
    const std::string what = line.substr(1);
    ++format.ends[what];
    format.found += line[0] == '!' ? 1 : 0;
    format.foreign += line[0] == '?' ? 1 : 0;
    if (what == "read")
        ++format.read;
    else if (isLimit(what))
        ++format.limited;
    else if (what.find("the importer failed on it") != std::string::npos)
        ++format.crashed;
    else
        ++format.refused;
}

/// Reads files until one ends the process or its time is up. @return the number after the last one
long readSome(Format& format, long first, long end) {
    int ends[2];
    require(pipe(ends) == 0, "no pipe");
    std::fflush(nullptr);
    const pid_t process = fork();
    require(process >= 0, "no process");
    if (process == 0) {
        close(ends[0]);
        readFiles(format, first, end, ends[1]);
    }
    close(ends[1]);
    std::string text, problem = "!the process ended";
    long number = first;
    pollfd waited = {ends[0], POLLIN, 0};
    for (char buffer[4096]; number < end;) {
        if (poll(&waited, 1, patience_ms) != 1) {
            problem = "!takes too long";
            kill(process, SIGKILL);
            break;
        }
        const ssize_t size = read(ends[0], buffer, sizeof buffer);
        if (size <= 0)
            break;
        text.append(buffer, static_cast<std::size_t>(size));
        for (std::size_t line = 0; (line = text.find('\n')) != std::string::npos; text.erase(0, line + 1)) {
            count(format, text.substr(0, line));
            ++number;
        }
    }
    close(ends[0]);
    waitpid(process, nullptr, 0);
    if (number < end) {
        keep(format, number, problem);
        count(format, problem);
        ++number;
    }
    report->isThere = false;
    return number;
}

void print(const Format& format) {
    std::printf("%s: %ld read, %ld refused, %ld ended by a limit, %ld with a failed importer (%ld reports of the "
                "sanitizers in libraries), %ld errors\n",
                format.ending.c_str(), format.read, format.refused, format.limited, format.crashed, format.foreign,
                format.found);
    for (const auto& [what, number] : format.ends)
        if (what != "read")
            std::printf("    %6ld %s\n", number, what.c_str());
    std::fflush(stdout);
}

double processorSeconds() {
    double sum = 0;
    for (const int who : {RUSAGE_SELF, RUSAGE_CHILDREN}) {
        rusage usage = {};
        getrusage(who, &usage);
        for (const timeval& time : {usage.ru_utime, usage.ru_stime})
            sum += static_cast<double>(time.tv_sec) + 1e-6 * static_cast<double>(time.tv_usec);
    }
    return sum;
}

} // namespace

/// The handlers of signals stay when a process that imports takes its own away: they tell where it crashed.
extern "C" const char* __asan_default_options() {
    return "handle_segv=2:handle_sigbus=2:handle_sigfpe=2:handle_sigill=2:handle_abort=2:symbolize=0:detect_leaks=0:"
           "max_allocation_size_mb=1024";
}

extern "C" void __ubsan_on_report() {
    const char *kind = "", *message = "", *file = "";
    unsigned line = 0, column = 0;
    char* memory = nullptr;
    __ubsan_get_current_report_data(&kind, &message, &file, &line, &column, &memory);
    keepReport((std::string(file) + ":" + std::to_string(line) + ": " + message).c_str());
}

int main(int argc, char** argv) {
    long first = 0, count = 1000;
    std::string formats = "glb,gltf,obj,ply,stl,x3d,dae,off,3ds,fbx";
    std::vector<std::string> folders;
    for (int i = 1; i < argc; ++i) {
        const std::string argument = argv[i];
        const char* const next = i + 1 < argc ? argv[i + 1] : "";
        if (argument == "--count")
            count = std::atol(next);
        else if (argument == "--first")
            first = std::atol(next);
        else if (argument == "--formats")
            formats = next;
        else {
            folders.push_back(argument);
            continue;
        }
        ++i;
    }
    report =
        static_cast<Report*>(mmap(nullptr, sizeof(Report), PROT_READ | PROT_WRITE, MAP_SHARED | MAP_ANONYMOUS, -1, 0));
    require(report != MAP_FAILED, "no memory");
    shareCounters();
    __asan_set_error_report_callback(keepReport);
    fuzzFolder();
    long found = 0, all = 0;
    std::istringstream endings(formats);
    for (std::string ending; std::getline(endings, ending, ',');) {
        Format format = findSamples(ending, folders);
        require(!format.samples.empty(), "no file of the format " + ending);
        for (long number = first; number < first + count;)
            number = readSome(format, number, first + count);
        print(format);
        found += format.found;
        all += count;
    }
    std::printf("%ld files, %ld errors, %.0f s of processor time\n", all, found, processorSeconds());
    return found == 0 ? 0 : 1;
}
