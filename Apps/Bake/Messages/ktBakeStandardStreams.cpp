// SPDX-License-Identifier: LGPL-2.1-or-later
// Reads the scene from standard input and writes the baked scene to standard output.
#include "ktBakeStandardStreams.h"

#include "ktBakeExit.h"
#include "ktBakeLastWords.h"
#include "ktBakeMessages.h"
#include "ktBakeOptions.h"

#include <cerrno>
#include <csignal>
#include <cstdlib>
#include <cstring>
#include <fcntl.h>
#include <QDir>
#include <QFile>
#include <system_error>
#include <unistd.h>

namespace {

constexpr const char* standardStream = "-";

std::string lastError() {
    return std::generic_category().message(errno);
}

bool writeAll(int file, const char* bytes, size_t count) {
    while (count > 0) {
        const ssize_t written = ::write(file, bytes, count);
        if (written < 0 && errno != EINTR)
            return false;
        if (written > 0) {
            bytes += written;
            count -= static_cast<size_t>(written);
        }
    }
    return true;
}

/// Copies a file or a pipe to its end. The reason of a failure; empty: none.
std::string copyAll(int from, int to) {
    std::string buffer(1 << 20, '\0');
    for (;;) {
        const ssize_t count = ::read(from, buffer.data(), buffer.size());
        if (count == 0)
            return {};
        if (count < 0 && errno == EINTR)
            continue;
        if (count < 0 || !writeAll(to, buffer.data(), static_cast<size_t>(count)))
            return lastError();
    }
}

int fail(int exitCode, const std::string& stream, const std::string& reason) {
    ktBakeMessages::log(ktLogLevel::Error, "-: " + stream + " " + reason,
                        {{"file", standardStream}, {"reason", stream + " " + reason}});
    return exitCode;
}

} // namespace

ktBakeStandardStreams::~ktBakeStandardStreams() {
    for (const int file : {input, output})
        if (file >= 0)
            ::close(file);
}

std::string ktBakeStandardStreams::readInput() {
    std::string name = QFile::encodeName(QDir::tempPath() + "/ktbake-XXXXXX").toStdString();
    input = mkostemp(name.data(), O_CLOEXEC);
    if (input < 0)
        return "cannot be stored: " + lastError();
    // No name, so that nothing remains if the process is killed.
    ::unlink(name.c_str());
    if (const std::string reason = copyAll(STDIN_FILENO, input); !reason.empty())
        return "cannot be read: " + reason;
    char magic[4] = {};
    if (::pread(input, magic, sizeof magic, 0) != sizeof magic || std::memcmp(magic, "glTF", sizeof magic) != 0)
        return "holds no .glb file; give the name of a file of another format";
    return {};
}

int ktBakeStandardStreams::begin(ktBakeOptions& options) {
    if (options.scene == standardStream) {
        if (::isatty(STDIN_FILENO))
            return fail(ktBakeExit::badInput, "standard input", "is a terminal; send it a .glb file");
        if (const std::string reason = readInput(); !reason.empty())
            return fail(ktBakeExit::badInput, "standard input", reason);
        options.scene = "/proc/self/fd/" + std::to_string(input);
        ktBakeMessages::showAs(options.scene, standardStream);
    }
    if (options.output == standardStream) {
        if (::isatty(STDOUT_FILENO))
            return fail(ktBakeExit::notWritten, "standard output", "is a terminal; send it to a file or a program");
        folder.emplace();
        output = ::fcntl(STDOUT_FILENO, F_DUPFD_CLOEXEC, 3);
        ktBakeLastWords::deleteAtEnd(QFile::encodeName(folder->path()).toStdString());
        if (!folder->isValid() || output < 0 || ::dup2(STDERR_FILENO, STDOUT_FILENO) < 0)
            return fail(ktBakeExit::notWritten, "standard output", "cannot be kept: " + lastError());
        if (ktBakeMessages::isJson())
            ktBakeMessages::dropCalculationOutput(); // its lines are no JSON
        outputFile = QFile::encodeName(folder->filePath("baked.glb")).toStdString();
        ktBakeLastWords::deleteAtEnd(outputFile);
        options.output = outputFile;
        ktBakeMessages::showAs(outputFile, standardStream);
    }
    return ktBakeExit::done;
}

int ktBakeStandardStreams::end() {
    if (output < 0)
        return ktBakeExit::done;
    const int file = ::open(outputFile.c_str(), O_RDONLY | O_CLOEXEC);
    if (file < 0)
        return fail(ktBakeExit::notWritten, "standard output", "cannot be written: " + lastError());
    for (const int signal : {SIGINT, SIGTERM}) // the reader may be slow
        std::signal(signal, SIG_DFL);
    ktBakeLastWords::listen();
    // A reader that has ended is an error of writing, with a message.
    std::signal(SIGPIPE, SIG_IGN);
    const std::string reason = copyAll(file, output);
    ::close(file);
    if (!reason.empty())
        return fail(ktBakeExit::notWritten, "standard output", "cannot be written: " + reason);
    return ktBakeExit::done;
}
