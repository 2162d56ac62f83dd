// SPDX-License-Identifier: LGPL-2.1-or-later
// The console's widgets: what statements print, their input, and a button to cancel them.
#include "ktScriptPanel.h"

#include "ktScriptInput.h"
#include "ktStudioPreferences.h"
#include "ktStudioServices.h"

#include <QFileDialog>
#include <QFontDatabase>
#include <QHBoxLayout>
#include <QPlainTextEdit>
#include <QPushButton>
#include <QScrollBar>
#include <QVBoxLayout>

static const char* const historyKey = "script/history";
static constexpr int mostLines = 10000;

ktScriptPanel::ktScriptPanel(ktStudioServices& services_, QWidget* parent)
    : QWidget(parent), services(services_), output(new QPlainTextEdit(this)), input(new ktScriptInput(this)) {
    output->setObjectName("scriptOutput");
    output->setReadOnly(true);
    output->setMaximumBlockCount(mostLines);
    output->setFont(QFontDatabase::systemFont(QFontDatabase::FixedFont));
    output->setMinimumHeight(3 * output->fontMetrics().lineSpacing()); // the dock may be low
    output->setAccessibleName(tr("Output of the statements"));
    output->setToolTip(output->accessibleName());
    input->setObjectName("scriptInput");
    input->setToolTip(tr("Python: Enter runs a statement, Tab completes a name, up and down bring earlier ones"));
    input->setHistory(ktStudioPreferences::the().get(historyKey).toStringList());
    auto* file = new QPushButton(tr("Run a file…"), this);
    file->setObjectName("runScriptFile");
    auto* cancel = new QPushButton(tr("Cancel"), this);
    cancel->setObjectName("cancelScript");
    cancel->setEnabled(false);
    auto* clear = new QPushButton(tr("Clear"), this);
    clear->setObjectName("clearScript");
    file->setToolTip(tr("Run a Python script with the scene of this window"));
    cancel->setToolTip(tr("Stop the statements that run"));
    clear->setToolTip(tr("Remove what was printed"));

    auto* rows = new QVBoxLayout(this);
    rows->setContentsMargins(4, 4, 4, 4);
    rows->addWidget(output, 1);
    auto* line = new QHBoxLayout;
    line->addWidget(input, 1);
    for (QPushButton* button : {file, cancel, clear})
        line->addWidget(button, 0, Qt::AlignTop);
    rows->addLayout(line);

    ktStudioScripts& scripts = services.scripts;
    connect(&scripts, &ktStudioScripts::printed, this, &ktScriptPanel::print);
    connect(&scripts, &ktStudioScripts::runningChanged, cancel, &QWidget::setEnabled);
    connect(input, &ktScriptInput::entered, this, &ktScriptPanel::enter);
    connect(input, &ktScriptInput::completionRequested, this, &ktScriptPanel::complete);
    connect(input, &ktScriptInput::interrupted, this, &ktScriptPanel::interrupt);
    connect(cancel, &QPushButton::clicked, &scripts, &ktStudioScripts::cancel);
    connect(clear, &QPushButton::clicked, output, &QPlainTextEdit::clear);
    connect(file, &QPushButton::clicked, this, &ktScriptPanel::chooseFile);
    connect(&services, &ktStudioServices::frozenChanged, file, [file](bool isFrozen) { file->setDisabled(isFrozen); });
    if (!ktStudioScripts::isAvailable()) {
        input->setEnabled(false);
        file->setEnabled(false);
        print(tr("This ktstudio was built without Python.") + "\n", true);
    }
}

void ktScriptPanel::enter() {
    QString text = input->toPlainText();
    if (services.isFrozen() || text.trimmed().isEmpty())
        return;
    // A block of several lines ends with an empty line, as in the interpreter's own console.
    const bool isBlock = text.contains('\n');
    if (isBlock && !input->textBeforeCursor().trimmed().isEmpty()) {
        input->continueLine();
        return;
    }
    while (text.endsWith(' ') || text.endsWith('\n'))
        text.chop(1);
    const QString echo = ">>> " + QString(text).replace("\n", "\n... ") + "\n";
    if (isBlock)
        text += "\n\n";
    output->moveCursor(QTextCursor::End);
    const int before = output->document()->characterCount();
    output->insertPlainText(echo);
    if (!services.scripts.runStatements(text)) {
        // Nothing was run: take the echo back.
        QTextCursor cursor(output->document());
        cursor.setPosition(before - 1);
        cursor.movePosition(QTextCursor::End, QTextCursor::KeepAnchor);
        cursor.removeSelectedText();
        input->continueLine();
        return;
    }
    input->accept();
    ktStudioPreferences::the().set(historyKey, input->getHistory());
}

void ktScriptPanel::complete() {
    if (services.isFrozen())
        return;
    const QStringList names = services.scripts.complete(input->textBeforeCursor());
    if (names.isEmpty())
        return;
    QString common = names.first();
    for (const QString& name : names)
        while (!name.startsWith(common))
            common.chop(1);
    input->insertCompletion(common);
    if (names.size() > 1)
        print(names.join("  ") + "\n", false);
}

void ktScriptPanel::interrupt() {
    if (services.scripts.isRunning())
        services.scripts.cancel();
    else
        input->clear();
}

void ktScriptPanel::chooseFile() {
    auto* dialog = new QFileDialog(this, tr("Run a Python file"), {}, tr("Python (*.py);;All files (*)"));
    dialog->setFileMode(QFileDialog::ExistingFile);
    dialog->setAttribute(Qt::WA_DeleteOnClose);
    connect(
        dialog, &QFileDialog::fileSelected, this,
        [this](const QString& path) {
            print(">>> " + path + "\n", false);
            services.scripts.runFile(path);
        },
        Qt::QueuedConnection);
    dialog->open();
}

void ktScriptPanel::print(const QString& text, bool isError) {
    QTextCursor cursor(output->document());
    cursor.movePosition(QTextCursor::End);
    QTextCharFormat format;
    if (isError)
        format.setForeground(output->palette().color(QPalette::Base).lightness() < 128 ? QColor(0xff, 0x8a, 0x80)
                                                                                       : QColor(0xb0, 0x1c, 0x10));
    cursor.insertText(text, format);
    output->verticalScrollBar()->setValue(output->verticalScrollBar()->maximum());
}
