// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

#include <QElapsedTimer>
#include <QWidget>

class QLabel;
class QProgressBar;
class QTimer;

/// What the window shows while it reads a file or draws a picture: the time so far, and a button to cancel.
class ktReadingPage : public QWidget {
    Q_OBJECT
public:
    explicit ktReadingPage(QWidget* parent = nullptr);
    /// @param what is done, in words
    void begin(const QString& what);
    void setShare(double share); ///< 0 to 1
    void end();

signals:
    void cancelRequested();

private:
    QLabel* text;
    QProgressBar* bar;
    QTimer* timer;
    QElapsedTimer elapsed;
    QString what;
};
