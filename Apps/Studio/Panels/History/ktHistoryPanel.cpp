// SPDX-License-Identifier: LGPL-2.1-or-later
// Shows the undo stack.
#include "ktHistoryPanel.h"

#include "ktStudioServices.h"
#include "ktUndoStack.h"

#include <QStyle>

ktHistoryPanel::ktHistoryPanel(ktStudioServices& services, QWidget* parent)
    : QUndoView(&services.document.undoStack(), parent) {
    setObjectName("history");
    setEmptyLabel(tr("As opened"));
    setCleanIcon(style()->standardIcon(QStyle::SP_DialogSaveButton));
    setAccessibleName(tr("History"));
    setToolTip(tr("A click goes back or forward to that state. The icon marks what is saved."));
    connect(&services, &ktStudioServices::frozenChanged, this, [this](bool isFrozen) { setDisabled(isFrozen); });
}
