// SPDX-License-Identifier: LGPL-2.1-or-later
// Runs shells and readers of manual pages for tests.
#include "ktShellProcess.h"

#include <fstream>
#include <gtest/gtest.h>
#include <QProcess>
#include <QProcessEnvironment>
#include <sstream>

std::vector<std::string> ktShellResult::lines() const {
    std::vector<std::string> list;
    for (const QString& line : QString::fromStdString(out).split('\n', Qt::SkipEmptyParts))
        list.push_back(line.toStdString());
    return list;
}

ktShellResult runShell(const std::filesystem::path& folder, const std::string& program,
                       const std::vector<std::string>& arguments) {
    std::filesystem::create_directories(folder / "preferences");
    QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
    const std::filesystem::path programs = std::filesystem::path(KT_BAKE).parent_path();
    environment.insert("PATH", QString::fromStdString(programs.string()) + ":" + environment.value("PATH"));
    environment.insert("HOME", QString::fromStdString(folder.string()));
    environment.insert("KT_PREFERENCES_DIR", QString::fromStdString((folder / "preferences").string() + "/"));
    QProcess process;
    process.setProcessEnvironment(environment);
    process.setWorkingDirectory(QString::fromStdString(folder.string()));
    QStringList list;
    for (const std::string& argument : arguments)
        list << QString::fromStdString(argument);
    process.start(QString::fromStdString(program), list);
    ktShellResult result;
    if (!process.waitForFinished(60000)) {
        ADD_FAILURE() << program << " does not end: " << process.errorString().toStdString();
        process.kill();
        process.waitForFinished();
        return result;
    }
    result.out = process.readAllStandardOutput().toStdString();
    result.error = process.readAllStandardError().toStdString();
    if (process.exitStatus() == QProcess::NormalExit)
        result.exitCode = process.exitCode();
    return result;
}

std::string readMade(const std::string& name) {
    std::ifstream stream(std::filesystem::path(KT_MANUAL_FOLDER) / name, std::ios::binary);
    std::stringstream content;
    content << stream.rdbuf();
    EXPECT_NE(content.str(), "") << name;
    return content.str();
}
