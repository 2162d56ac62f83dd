// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

#include <QWidget>

class QProcess;
class QVBoxLayout;

/// What an empty window shows: what to do, scenes to begin with, and recent files.
class ktEmptyPage : public QWidget {
    Q_OBJECT
public:
    explicit ktEmptyPage(QWidget* parent = nullptr);

signals:
    void openRequested();
    void fileChosen(const QString& path);
    void failed(const QString& reason);

private:
    void listRecentFiles();
    /// Makes the example scenes if they are not there yet, then opens one.
    void openExample(const QString& name);

    QVBoxLayout* recent;
    QProcess* maker = nullptr;
};
