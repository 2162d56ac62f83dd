// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

#include <QObject>

class QWidget;

/// Keeps the wheel of the mouse from changing values below the pointer while a panel is scrolled: numbers, sliders and
/// lists of a panel take the wheel only if they have the focus.
class ktWheelGuard : public QObject {
public:
    /// Guards what the panel holds now. The panel owns the guard.
    explicit ktWheelGuard(QWidget* panel);

protected:
    bool eventFilter(QObject* watched, QEvent* event) override;
};
