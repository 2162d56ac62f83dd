// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

#include <QUndoView>

class ktStudioServices;

/// The undo stack as a list: a click goes to that state. An icon marks the saved one.
class ktHistoryPanel : public QUndoView {
    Q_OBJECT
public:
    explicit ktHistoryPanel(ktStudioServices& services, QWidget* parent = nullptr);
};
