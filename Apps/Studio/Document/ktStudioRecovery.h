// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

#include <memory>
#include <QDateTime>
#include <QObject>
#include <QString>
#include <QTimer>
#include <vector>

class ktStudioDocument;
class ktStudioRun;
class QLockFile;

/// Copies of what was baked and not saved, for the case that the process ends without a question. Each process has a
/// folder below `recovery` in the user's preferences folder, and a lock that the system releases with the process.
class ktStudioRecovery : public QObject {
    Q_OBJECT
public:
    /// A copy that a process has left behind.
    struct Copy {
        QString folder;
        QString scene; ///< the file that was baked
        QDateTime time;
    };

    /// Makes a copy after each run that leaves something unsaved; removes it when all is saved, undone or closed.
    ktStudioRecovery(ktStudioDocument& document, ktStudioRun& run);
    ~ktStudioRecovery() override;

    /// Copies of processes that have ended, the newest first. Removes those that cannot be opened.
    std::vector<Copy> findAbandoned() const;
    /// Opens a copy in place of the scene that it was made of, as unsaved. On failure the copy stays.
    bool open(const Copy& copy);
    static void discard(const Copy& copy);

private:
    void keep();
    void remove();

    ktStudioDocument& document;
    QString folder;
    std::unique_ptr<QLockFile> lock;
    QTimer later; ///< after a cancelled run
};
