// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

#include <QWidget>

class ktScriptInput;
class ktStudioServices;
class QPlainTextEdit;
class QPushButton;

/// The console: output, and below it the input.
class ktScriptPanel : public QWidget {
    Q_OBJECT
public:
    explicit ktScriptPanel(ktStudioServices& services, QWidget* parent = nullptr);

private:
    void enter();
    void complete();
    void interrupt();
    void chooseFile();
    void print(const QString& text, bool isError);

    ktStudioServices& services;
    QPlainTextEdit* output;
    ktScriptInput* input;
};
