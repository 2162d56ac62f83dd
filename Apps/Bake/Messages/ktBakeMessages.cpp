// SPDX-License-Identifier: LGPL-2.1-or-later
// Writes ktbake's messages to standard error, as text or as one JSON object a line.
#include "ktBakeMessages.h"

#include "ktBakeExit.h"

#include <chrono>
#include <cstdio>
#include <iostream>
#include <QJsonDocument>
#include <QtGlobal>

namespace {

const char* const levelNames[] = {"error", "warning", "info"};

struct State {
    bool isJson = false;
    bool isHeld = false;
    std::vector<std::string> held;
    std::vector<std::pair<std::string, std::string>> shownNames; // paths and what messages show instead
    QJsonObject result;
    std::chrono::steady_clock::time_point started = std::chrono::steady_clock::now();
};

State& state() {
    // Never destroyed: destructors of other static objects may still log.
    static State* const instance = new State;
    return *instance;
}

thread_local const ktBakeMessages::Fields* fieldsOfLine = nullptr; // of the line that is being logged

void writeLine(const std::string& line) {
    // A single call, so that lines of several threads do not mix.
    const std::string whole = line + '\n';
    std::fwrite(whole.data(), 1, whole.size(), stderr);
    std::fflush(stderr);
}

void insert(QJsonObject& object, const ktBakeMessages::Fields& fields) {
    for (const auto& [name, value] : fields)
        if (!value.empty())
            object.insert(name, QString::fromStdString(ktBakeMessages::shown(value)));
}

void writeJson(const char* level, const std::string& text, QJsonObject object) {
    object.insert("level", level);
    object.insert("text", QString::fromStdString(ktBakeMessages::shown(text)));
    writeLine(QJsonDocument(object).toJson(QJsonDocument::Compact).toStdString());
}

void onLogged(ktLogLevel level, const std::string& line) {
    if (state().isHeld) {
        state().held.push_back(line);
        return;
    }
    const int number = static_cast<int>(level);
    if (!state().isJson) {
        writeLine((level == ktLogLevel::Info ? "" : levelNames[number] + std::string(": ")) +
                  ktBakeMessages::shown(line));
        return;
    }
    QJsonObject object;
    if (fieldsOfLine)
        insert(object, *fieldsOfLine);
    writeJson(levelNames[number], line, object);
}

/// Qt's warnings, for instance of its readers of pictures, are messages as all others.
void onQtMessage(QtMsgType type, const QMessageLogContext& context, const QString& text) {
    const bool isError = type == QtCriticalMsg || type == QtFatalMsg;
    if (!isError && ktLogOutput::isQuiet())
        return;
    if (state().isJson)
        writeJson(isError ? "error" : type == QtWarningMsg ? "warning" : "info", text.toStdString(), {});
    else
        writeLine(qFormatLogMessage(type, context, text).toStdString());
}

} // namespace

namespace ktBakeMessages {

void begin(bool isJson) {
    state().isJson = isJson;
    ktLogOutput::setSink(onLogged);
    qInstallMessageHandler(onQtMessage);
}

bool isJson() {
    return state().isJson;
}

void showAs(const std::string& path, const std::string& name) {
    state().shownNames.emplace_back(path, name);
}

std::string shown(const std::string& text) {
    std::string result = text;
    for (const auto& [path, name] : state().shownNames)
        for (size_t at = result.find(path); at != std::string::npos; at = result.find(path, at + name.size()))
            result.replace(at, path.size(), name);
    return result;
}

void dropCalculationOutput() {
    // The calculation writes through this stream; Python does not.
    std::cout.setstate(std::ios::failbit);
}

void hold() {
    state().isHeld = true;
}

std::vector<std::string> release() {
    state().isHeld = false;
    return std::exchange(state().held, {});
}

void log(ktLogLevel level, const std::string& text, const Fields& fields) {
    fieldsOfLine = &fields;
    ktLogOutput::write(level, text);
    fieldsOfLine = nullptr;
}

void logReason(ktLogLevel level, const std::string& file, const std::string& reason) {
    log(level, file + ": " + reason, {{"file", file}, {"reason", reason}});
}

void writeProgress(const std::string& text, QJsonObject fields) {
    if (state().isJson)
        writeJson("progress", text, std::move(fields));
}

void writeUsageError(const std::string& text, const std::string& hint, const Fields& fields) {
    if (!state().isJson) {
        writeLine("ktbake: " + text + "\n" + hint);
        return;
    }
    QJsonObject object;
    insert(object, fields);
    writeJson("error", text, object);
}

void addToResult(const char* field, const std::string& value) {
    insert(state().result, {{field, value}});
}

void end(int exitCode) {
    if (!state().isJson || (exitCode == ktBakeExit::done && ktLogOutput::isQuiet()))
        return;
    QJsonObject result = state().result;
    // Another code is one that the script chose.
    const std::string name =
        result.contains("result") ? result["result"].toString().toStdString() : std::string("scriptFailed");
    ktBakeExit::Description end = {exitCode, name.c_str(), "the script failed", ""};
    for (const ktBakeExit::Description& description : ktBakeExit::descriptions)
        if (result.contains("result") ? description.name == name : description.code == exitCode)
            end = description;
    result.insert("result", end.name);
    result.insert("exitCode", exitCode);
    result.insert("seconds", std::chrono::duration<double>(std::chrono::steady_clock::now() - state().started).count());
    result.insert("warnings", static_cast<double>(ktLogOutput::getCount(ktLogLevel::Warning)));
    writeJson("result", end.inShort, result);
}

} // namespace ktBakeMessages
