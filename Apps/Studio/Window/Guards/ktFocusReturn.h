// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

#include <QObject>
#include <QPointer>
#include <QWidget>

/// Gives the keyboard back to a widget that lost it because it was disabled or hidden for a while. Nothing happens if
/// the user has gone to another widget meanwhile.
class ktFocusReturn : public QObject {
public:
    /// For the widgets of the window, which owns the object.
    explicit ktFocusReturn(QWidget* window);

    /// Call it when widgets can be used again.
    void giveBack();

private:
    QPointer<QWidget> lost;
};
