// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

#include <map>
#include <QDateTime>
#include <QObject>
#include <QString>
#include <set>

class QFileSystemWatcher;
class QTimer;

/// Tells when other programs change files. Main thread only.
class ktFileWatch : public QObject {
    Q_OBJECT
public:
    explicit ktFileWatch(QObject* parent = nullptr);

    /// Watches these files: absolute paths, also of files that do not exist. Files that it watches already count as
    /// they were; the others count as they are now.
    void watch(const std::set<QString>& files);
    void clear() { watch({}); }

    /// During its lifetime, the program itself may write watched files.
    class OwnWriting {
    public:
        explicit OwnWriting(ktFileWatch& watch);
        ~OwnWriting();
        OwnWriting(const OwnWriting&) = delete;
        OwnWriting& operator=(const OwnWriting&) = delete;

    private:
        ktFileWatch& watch;
        std::set<QString> changedBefore;
    };

signals:
    /// The file is another one, was written or is there now. Not told of a file that goes: it may come back soon.
    void changed(const QString& path);

private:
    struct State {
        QDateTime time; ///< null: there is no such file
        qint64 size = 0;

        static State of(const QString& path);
        bool operator==(const State& other) const { return time == other.time && size == other.size; }
    };

    std::set<QString> findChanged() const;
    void listen();
    void check();

    std::map<QString, State> known;
    QFileSystemWatcher* watcher;
    QTimer* settle; ///< a program that writes a file changes it many times
    int writings = 0;
};
