// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

#include <QWidget>

class QLabel;
class QProgressBar;
class QTimer;

/// A row below the scene while a file is written, pictures are read or drawn: what is done, its progress, and a button
/// to cancel. Hidden otherwise; shown only for what takes longer than a moment.
class ktWorkBar : public QWidget {
    Q_OBJECT
public:
    explicit ktWorkBar(QWidget* parent = nullptr);
    void begin(const QString& what);
    /// Share of what is done, 0 to 1. Without a call the bar only shows that something is done.
    void setShare(double share);
    void end();

signals:
    void cancelRequested();

private:
    QLabel* text;
    QProgressBar* bar;
    QTimer* delay;
    int depth = 0; ///< of work inside other work
};
