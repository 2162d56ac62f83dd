// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

#include <memory>
#include <QObject>
#include <QString>
#include <QStringList>

class ktSceneStatistics;
class ktStudioDocument;
class ktStudioRun;

/// Runs Python statements and files that share the scene, the settings and the undo stack with the window. The
/// interpreter starts with the first statement. Main thread only; make one object.
class ktStudioScripts : public QObject {
    Q_OBJECT
public:
    /// @param statistics of the document's file and its last bake
    ktStudioScripts(ktStudioDocument& document, ktStudioRun& run, ktSceneStatistics& statistics);
    ~ktStudioScripts() override;

    /// Whether this program was built with an interpreter.
    static bool isAvailable();
    /// Whether statements run. Meanwhile nothing but they may change the scene. Events are handled.
    bool isRunning() const { return running; }

    /// @return false: the statements are not complete, more lines must follow, and nothing was run
    bool runStatements(const QString& statements);
    void runFile(const QString& path);
    /// Ends the statements with KeyboardInterrupt, and cancels their bake.
    void cancel();
    /// Names that the text can go on with.
    QStringList complete(const QString& text);

signals:
    void runningChanged(bool isRunning);
    void printed(const QString& text, bool isError);

private:
    class Interpreter;
    bool begin();
    void end();

    ktStudioDocument& document;
    ktStudioRun& run;
    ktSceneStatistics& statistics;
    std::unique_ptr<Interpreter> interpreter;
    bool running = false;
};
