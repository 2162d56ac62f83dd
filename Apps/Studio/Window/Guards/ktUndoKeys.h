// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

#include <QObject>

class QWidget;

/// Lets the keys for undo and redo reach the window while a field has the keyboard: a field takes them only if it has
/// text of its own to take back, which is not accepted yet.
class ktUndoKeys : public QObject {
public:
    /// For the fields that the panel holds now. The panel owns the object.
    explicit ktUndoKeys(QWidget* panel);

protected:
    bool eventFilter(QObject* watched, QEvent* event) override;
};
