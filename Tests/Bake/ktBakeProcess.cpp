// SPDX-License-Identifier: LGPL-2.1-or-later
// Runs ktbake as a process for tests, also with an interrupt, and collects its output and exit code.
#include "ktBakeProcess.h"

#include <csignal>
#include <fstream>
#include <gtest/gtest.h>
#include <QProcess>
#include <QProcessEnvironment>
#include <sstream>

namespace {

constexpr int patience = 240000; // milliseconds; a run takes a second, longer with sanitizers

void start(QProcess& process, const std::filesystem::path& folder, const std::vector<std::string>& arguments,
           const std::string& before = {}) {
    QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
    environment.insert("KT_PREFERENCES_DIR", QString::fromStdString((folder / "preferences").string() + "/"));
    process.setProcessEnvironment(environment);
    process.setWorkingDirectory(QString::fromStdString(folder.string()));
    QStringList list;
    for (const std::string& argument : arguments)
        list << QString::fromStdString(argument);
    if (before.empty())
        process.start(KT_BAKE, list);
    else
        process.start("/bin/sh",
                      QStringList{"-c", QString::fromStdString(before) + "; exec \"$0\" \"$@\"", KT_BAKE} + list);
    if (!process.waitForStarted(patience))
        ADD_FAILURE() << "ktbake does not start: " << process.errorString().toStdString();
}

ktBakeResult finish(QProcess& process, std::string errorSoFar) {
    ktBakeResult result;
    if (!process.waitForFinished(patience)) {
        ADD_FAILURE() << "ktbake does not end";
        process.kill();
        process.waitForFinished();
        return result;
    }
    result.out = process.readAllStandardOutput().toStdString();
    result.error = std::move(errorSoFar) + process.readAllStandardError().toStdString();
    if (process.exitStatus() == QProcess::NormalExit)
        result.exitCode = process.exitCode();
    return result;
}

} // namespace

ktBakeResult runBake(const std::filesystem::path& folder, const std::vector<std::string>& arguments,
                     const std::string& before) {
    QProcess process;
    start(process, folder, arguments, before);
    return finish(process, {});
}

ktBakeResult interruptBake(const std::filesystem::path& folder, const std::vector<std::string>& arguments,
                           const std::string& marker) {
    QProcess process;
    start(process, folder, arguments);
    process.setReadChannel(QProcess::StandardError);
    std::string error;
    while (error.find(marker) == std::string::npos) {
        if (!process.waitForReadyRead(patience)) {
            ADD_FAILURE() << "ktbake never prints \"" << marker << "\": " << error;
            break;
        }
        error += process.readAllStandardError().toStdString();
    }
    ::kill(static_cast<pid_t>(process.processId()), SIGINT);
    return finish(process, error);
}

static std::filesystem::path makeFolder() {
    const auto* test = testing::UnitTest::GetInstance()->current_test_info();
    std::filesystem::path folder =
        std::filesystem::path(testing::TempDir()) / (std::string(test->test_suite_name()) + "." + test->name());
    std::filesystem::remove_all(folder);
    std::filesystem::create_directories(folder / "preferences");
    return folder;
}

ktTestFolder::ktTestFolder() : path(makeFolder()) {}

ktTestFolder::~ktTestFolder() {
    std::error_code error;
    std::filesystem::remove_all(path, error);
}

std::string ktTestFolder::write(const std::string& name, const std::string& content) const {
    std::ofstream(path / name, std::ios::binary) << content;
    return file(name);
}

std::string readFile(const std::filesystem::path& file) {
    std::ifstream stream(file, std::ios::binary);
    std::stringstream content;
    content << stream.rdbuf();
    return content.str();
}

std::string model(const std::string& name) {
    std::string path = std::string(KT_MODELS) + "/" + name;
    EXPECT_TRUE(std::filesystem::exists(path)) << path;
    return path;
}
